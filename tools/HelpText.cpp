#include "tools/Manual.h"

#include <fmt/format.h>

namespace quarry::tools {

namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kTermColumn = 22;

/// Appends `text` with its words wrapped; `column` is where the first word stands already.
void appendWrapped(std::string& out, std::string_view text, std::size_t indent, std::size_t column) {
    bool first = true;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(" \n");
        const std::string_view word = text.substr(0, end);
        const bool paragraph = text.substr(word.size()).starts_with("\n\n");
        if (!first && column + 1 + word.size() > kWidth) {
            out += '\n';
            out.append(indent, ' ');
            column = indent;
        } else if (!first && column > indent) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        first = false;
        text.remove_prefix(word.size());
        if (paragraph) {
            out += "\n\n";
            out.append(indent, ' ');
            column = indent;
            first = true;
            text.remove_prefix(2);
        } else if (!text.empty()) {
            text.remove_prefix(1);
        }
    }
    out += '\n';
}

void appendTerm(std::string& out, std::string_view term, std::string_view description) {
    std::string head = fmt::format("  {}", term);
    if (head.size() + 2 > kTermColumn) {
        head += '\n';
        head.append(kTermColumn, ' ');
    } else {
        head.append(kTermColumn - head.size(), ' ');
    }
    out += head;
    appendWrapped(out, description, kTermColumn, kTermColumn);
}

std::string optionTerm(const OptionText& option) {
    return option.argument.empty() ? std::string(option.name) : fmt::format("{} {}", option.name, option.argument);
}

void appendOptions(std::string& out, std::string_view title, std::span<const OptionText> options) {
    if (options.empty()) {
        return;
    }
    out += fmt::format("\n{}:\n", title);
    for (const OptionText& option : options) {
        appendTerm(out, optionTerm(option), option.description);
    }
}

void appendTerms(std::string& out, std::string_view title, std::span<const TermText> terms) {
    out += fmt::format("\n{}:\n", title);
    for (const TermText& term : terms) {
        appendTerm(out, term.term, term.description);
    }
}

}  // namespace

std::string programHelp() {
    const Manual& text = manual();
    std::string out = fmt::format("Usage: {0} COMMAND [OPTION]... [FILE]...\n{0}: {1}.\n\n", text.name, text.summary);
    appendWrapped(out, text.description, 0, 0);
    out += "\nCommands:\n";
    for (const CommandText& command : text.commands) {
        appendTerm(out, fmt::format("{} {}", command.name, command.arguments), fmt::format("{}.", command.summary));
    }
    appendOptions(out, "Options", text.programOptions);
    appendOptions(out, "Options of every command that takes files", text.documentOptions);
    appendTerms(out, "Exit status", text.exitStatus);
    appendTerms(out, "Environment", text.environment);
    out += fmt::format("\n'{} COMMAND --help' says more of a command.\n", text.name);
    return out;
}

std::string commandHelp(const CommandText& command) {
    const Manual& text = manual();
    std::string out = fmt::format("Usage: {} {} [OPTION]...{}{}\n{}.\n\n", text.name, command.name,
                                  command.arguments.empty() ? "" : " ", command.arguments, command.summary);
    appendWrapped(out, command.description, 0, 0);
    appendOptions(out, "Options", command.options);
    if (command.opensDocuments) {
        appendOptions(out, "Helper", text.documentOptions);
    }
    appendTerms(out, "Exit status", text.exitStatus);
    return out;
}

}  // namespace quarry::tools
