#include "tools/Manual.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace quarry::tools {

namespace {

/// `text` as roff source: backslashes and hyphens keep their looks, no line is taken for a request.
std::string escaped(std::string_view text) {
    std::string out;
    bool lineStart = true;
    for (const char c : text) {
        if (lineStart && (c == '.' || c == '\'')) {
            out += "\\&";
        }
        switch (c) {
            case '\\':
                out += "\\e";
                break;
            case '-':
                out += "\\-";
                break;
            case '\'':
                out += "\\(aq";
                break;
            default:
                out += c;
        }
        lineStart = c == '\n';
    }
    return out;
}

void appendSection(std::string& out, std::string_view title) {
    out += fmt::format(".SH {}\n", escaped(title));
}

void appendParagraphs(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find("\n\n");
        out += escaped(text.substr(0, end)) + "\n";
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 2);
        if (!text.empty()) {
            out += ".PP\n";
        }
    }
}

void appendOptions(std::string& out, std::span<const OptionText> options) {
    for (const OptionText& option : options) {
        out += fmt::format(".TP\n\\fB{}\\fR", escaped(option.name));
        if (!option.argument.empty()) {
            out += fmt::format(" \\fI{}\\fR", escaped(option.argument));
        }
        out += fmt::format("\n{}\n", escaped(option.description));
    }
}

void appendTerms(std::string& out, std::string_view title, std::span<const TermText> terms) {
    appendSection(out, title);
    for (const TermText& term : terms) {
        out += fmt::format(".TP\n\\fB{}\\fR\n{}\n", escaped(term.term), escaped(term.description));
    }
}

}  // namespace

std::string manPage() {
    const Manual& text = manual();
    std::string title(text.name);
    std::ranges::transform(title, title.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });

    std::string out = fmt::format(".TH {} 1 \"\" \"{} {}\" \"User Commands\"\n", title, text.name, QUARRY_VERSION);
    appendSection(out, "NAME");
    out += fmt::format("{} \\- {}\n", escaped(text.name), escaped(text.summary));
    appendSection(out, "SYNOPSIS");
    for (const CommandText& command : text.commands) {
        out += fmt::format("\\fB{} {}\\fR [\\fIOPTION\\fR]... \\fI{}\\fR\n.br\n", escaped(text.name),
                           escaped(command.name), escaped(command.arguments));
    }
    appendSection(out, "DESCRIPTION");
    appendParagraphs(out, text.description);
    appendSection(out, "COMMANDS");
    for (const CommandText& command : text.commands) {
        out += fmt::format(".SS {} {}\n{}.\n.PP\n", escaped(command.name), escaped(command.arguments),
                           escaped(command.summary));
        appendParagraphs(out, command.description);
        appendOptions(out, command.options);
    }
    appendSection(out, "OPTIONS");
    appendOptions(out, text.programOptions);
    out += ".SS Options of every command that takes files\n";
    appendOptions(out, text.documentOptions);
    appendTerms(out, "EXIT STATUS", text.exitStatus);
    appendTerms(out, "ENVIRONMENT", text.environment);
    appendTerms(out, "FILES", text.files);
    appendTerms(out, "EXAMPLES", text.examples);
    return out;
}

}  // namespace quarry::tools
