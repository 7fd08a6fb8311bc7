#include "tools/Arguments.h"

#include "tools/Manual.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace quarry::tools {

namespace {

/// A year: longer limits are no limits, and shorter ones fit every clock.
constexpr double kLongestTimeout = 31536000;

/// The values of the options while they are parsed. Options are made from the manual by name; a name without a place
/// here is a flag or a text that the caller looks up.
struct Values {
    std::string timeout;
    std::string memory;
    std::string data;
    std::string output;
    std::string generate;
    bool shared = false;
    bool json = false;
    bool list = false;
    bool jsonl = false;
    bool help = false;
    bool version = false;

    [[nodiscard]] std::string* text(std::string_view name) noexcept {
        return name == "--timeout"  ? &timeout
               : name == "--memory" ? &memory
               : name == "--data"   ? &data
               : name == "-o"       ? &output
                                    : nullptr;
    }
    [[nodiscard]] bool* flag(std::string_view name) noexcept {
        return name == "--shared"    ? &shared
               : name == "--json"    ? &json
               : name == "--list"    ? &list
               : name == "--jsonl"   ? &jsonl
               : name == "--help"    ? &help
               : name == "--version" ? &version
                                     : nullptr;
    }
};

/// CLI11's form of a check: what is wrong, or nothing.
std::string notEmpty(const std::string& value) {
    return value.empty() ? "it needs a value" : std::string();
}

void addOptions(CLI::App& app, std::span<const OptionText> options, Values& values) {
    for (const OptionText& option : options) {
        const std::string name(option.name == "--help" ? "-h,--help" : option.name);
        if (std::string* text = values.text(option.name)) {
            app.add_option(name, *text)
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
                ->check(notEmpty)
                ->type_name(std::string(option.argument));
        } else if (bool* flag = values.flag(option.name)) {
            app.add_flag(name, *flag)->disable_flag_override();
        }
    }
}

/// CLI11 takes its arguments in reverse.
std::vector<std::string> reversed(std::span<const std::string> arguments) {
    return {arguments.rbegin(), arguments.rend()};
}

std::string choicesOf(const CommandText& command, std::string_view name) {
    const auto option = std::ranges::find(command.options, name, &OptionText::name);
    return option == command.options.end() ? std::string() : std::string(option->choices);
}

std::optional<double> secondsFromText(std::string_view text) {
    double seconds = 0;
    const auto [rest, error] =
        std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
    if (error != std::errc() || rest != text.data() + text.size() || !(seconds >= 0) || seconds > kLongestTimeout) {
        return std::nullopt;
    }
    return seconds;
}

/// The option values as the command needs them.
Parsed checked(const CommandText& command, const Values& values, Invocation invocation) {
    if (!values.timeout.empty()) {
        const auto seconds = secondsFromText(values.timeout);
        if (!seconds) {
            return UsageError{fmt::format("--timeout: '{}' is no number of seconds", values.timeout)};
        }
        invocation.document.timeout = *seconds;
    }
    if (!values.memory.empty()) {
        const auto bytes = bytesFromSize(values.memory);
        if (!bytes) {
            return UsageError{fmt::format("--memory: '{}' is no size (such as 512M)", values.memory)};
        }
        invocation.document.memory = *bytes;
    }
    invocation.document.shared = values.shared;
    if (values.shared && invocation.document.memory != 0) {
        return UsageError{"--shared and --memory do not go together"};
    }
    if (values.data == "base64") {
        invocation.data = halden::JsonData::base64;
    } else if (!values.data.empty() && values.data != "summary") {
        return UsageError{fmt::format("--data: '{}' is none of: {}", values.data, choicesOf(command, "--data"))};
    }
    invocation.output = values.output;
    invocation.json = values.json;
    invocation.list = values.list;
    invocation.jsonl = values.jsonl;
    return invocation;
}

bool looksLikeOption(const std::string& argument) {
    return argument.size() > 1 && argument.starts_with('-');
}

/// Where the words begin that are taken as they are.
auto endOfOptions(const CommandText& command, std::span<const std::string> arguments) {
    return std::ranges::find_if(arguments, [&](const std::string& argument) {
        return argument == "--" || (command.operandsEndOptions && !looksLikeOption(argument));
    });
}

Parsed parseCommand(const CommandText& command, std::span<const std::string> arguments, Values& values) {
    CLI::App app;
    app.set_help_flag();
    Invocation invocation;
    invocation.command = command.name;
    addOptions(app, command.options, values);
    if (command.opensDocuments) {
        addOptions(app, manual().documentOptions, values);
    } else if (!values.timeout.empty() || !values.memory.empty() || values.shared) {
        return UsageError{fmt::format("{} takes no document options", command.name)};
    }
    // The parser gives some words a meaning of their own ("{}", "++"): files are what it leaves over, and what follows
    // "--" never gets there.
    app.allow_extras();
    const auto separator = endOfOptions(command, arguments);
    app.parse(reversed(arguments.first(static_cast<std::size_t>(separator - arguments.begin()))));
    if (values.help) {
        return Answer{commandHelp(command)};
    }
    invocation.files = app.remaining();
    const auto unknown = std::ranges::find_if(invocation.files, looksLikeOption);
    if (unknown != invocation.files.end()) {
        return UsageError{fmt::format("{}: there is no option '{}'", command.name, *unknown)};
    }
    if (separator != arguments.end()) {
        const auto rest = *separator == "--" ? separator + 1 : separator;
        invocation.files.insert(invocation.files.end(), rest, arguments.end());
    }
    if (command.arguments.empty() && !invocation.files.empty()) {
        return UsageError{fmt::format("{} takes no arguments", command.name)};
    }
    if (command.name == "apply") {
        if (values.list + values.jsonl + !invocation.files.empty() != 1) {
            return UsageError{"apply takes an operation, or one of --list and --jsonl"};
        }
    } else if (!command.arguments.empty() && invocation.files.empty()) {
        return UsageError{fmt::format("{}: no file is named", command.name)};
    } else if ((command.arguments == "FILE" || command.arguments == "DATA") && invocation.files.size() > 1) {
        return UsageError{fmt::format("{} takes one file", command.name)};
    }
    return checked(command, values, std::move(invocation));
}

Parsed generated(std::string_view what) {
    if (what == "man") {
        return Answer{manPage()};
    }
    if (what == "bash") {
        return Answer{bashCompletion()};
    }
    if (what == "zsh") {
        return Answer{zshCompletion()};
    }
    return UsageError{fmt::format("--generate: '{}' is none of: man bash zsh", what)};
}

Parsed parseProgram(std::span<const std::string> arguments) {
    CLI::App app;
    app.set_help_flag();
    app.prefix_command();  // parsing stops at the command
    Values values;
    addOptions(app, manual().programOptions, values);
    addOptions(app, manual().documentOptions, values);
    app.add_option("--generate", values.generate);  // for the build: man page and completions
    app.parse(reversed(arguments));
    if (values.help) {
        return Answer{programHelp()};
    }
    if (values.version) {
        return Answer{fmt::format("{} {}\n", manual().name, QUARRY_VERSION)};
    }
    if (!values.generate.empty()) {
        return generated(values.generate);
    }
    const std::vector<std::string> rest = app.remaining();
    if (rest.empty()) {
        return UsageError{"no command is named"};
    }
    const CommandText* command = findCommand(rest.front());
    if (command == nullptr) {
        const std::string_view kind = rest.front().starts_with('-') ? "option" : "command";
        return UsageError{fmt::format("there is no {} '{}'", kind, rest.front())};
    }
    return parseCommand(*command, arguments.last(rest.size() - 1), values);
}

}  // namespace

Parsed parseArguments(std::span<const std::string> arguments) {
    try {
        return parseProgram(arguments);
    } catch (const CLI::ParseError& error) {
        return UsageError{error.what()};
    }
}

}  // namespace quarry::tools
