#include "tools/Manual.h"

#include <fmt/format.h>

#include <vector>

namespace quarry::tools {

namespace {

/// All options that a command takes.
std::vector<OptionText> optionsOf(const CommandText& command) {
    std::vector<OptionText> options(command.options.begin(), command.options.end());
    if (command.opensDocuments) {
        const auto shared = manual().documentOptions;
        options.insert(options.end(), shared.begin(), shared.end());
    }
    return options;
}

std::string optionNames(std::span<const OptionText> options) {
    std::string names;
    for (const OptionText& option : options) {
        names += names.empty() ? "" : " ";
        names += option.name;
    }
    return names;
}

std::string commandNames(std::string_view separator) {
    std::string names;
    for (const CommandText& command : manual().commands) {
        names += names.empty() ? "" : separator;
        names += command.name;
    }
    return names;
}

/// `text` inside single quotes of a shell.
std::string quoted(std::string_view text) {
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

/// The first sentence of a description, in the form that zsh's _arguments takes between brackets.
std::string bracketed(std::string_view description) {
    std::string out;
    for (const char c : description.substr(0, description.find_first_of(".;:"))) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    return out;
}

std::string zshOption(const OptionText& option) {
    std::string spec = fmt::format("{}[{}]", option.name, bracketed(option.description));
    if (!option.argument.empty()) {
        spec += fmt::format(":{}:", option.argument);
        if (!option.choices.empty()) {
            spec += fmt::format("({})", option.choices);
        }
    }
    return quoted(spec);
}

}  // namespace

std::string bashCompletion() {
    const Manual& text = manual();
    std::string out = fmt::format(
        "# bash completion for {0}\n"
        "_{0}() {{\n"
        "    local word=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}} command= i\n"
        "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
        "        case ${{COMP_WORDS[i]}} in\n"
        "            {1}) command=${{COMP_WORDS[i]}}; break ;;\n"
        "        esac\n"
        "    done\n"
        "    COMPREPLY=()\n"
        "    case $command$previous in\n",
        text.name, commandNames("|"));
    // What follows an option that takes an argument.
    for (const CommandText& command : text.commands) {
        for (const OptionText& option : optionsOf(command)) {
            if (!option.argument.empty()) {
                const std::string words =
                    option.choices.empty() ? ":"
                                           : fmt::format("COMPREPLY=($(compgen -W '{}' -- \"$word\"))", option.choices);
                out +=
                    fmt::format("        {}{}) compopt +o default; {}; return ;;\n", command.name, option.name, words);
            }
        }
    }
    // Where nothing is put into COMPREPLY, the shell completes file names itself.
    out += "    esac\n    case $command in\n";
    for (const CommandText& command : text.commands) {
        out += fmt::format("        {}) [[ $word == -* ]] && COMPREPLY=($(compgen -W '{}' -- \"$word\"))", command.name,
                           optionNames(optionsOf(command)));
        out += command.opensDocuments ? " ;;\n" : "; compopt +o default ;;\n";
    }
    out +=
        fmt::format("        *) compopt +o default; COMPREPLY=($(compgen -W '{} {}' -- \"$word\")) ;;\n    esac\n}}\n",
                    commandNames(" "), optionNames(text.programOptions));
    out += fmt::format("complete -o default -F _{0} {0}\n", text.name);
    return out;
}

std::string zshCompletion() {
    const Manual& text = manual();
    std::string out = fmt::format("#compdef {0}\n\n_{0}() {{\n    local -a commands=(\n", text.name);
    for (const CommandText& command : text.commands) {
        out += fmt::format("        {}\n", quoted(fmt::format("{}:{}", command.name, command.summary)));
    }
    out += "    )\n    local state line\n    _arguments -C \\\n";
    for (const OptionText& option : text.programOptions) {
        out += fmt::format("        {} \\\n", zshOption(option));
    }
    out +=
        "        '1:command:->command' \\\n        '*::argument:->argument'\n"
        "    case $state in\n"
        "        command) _describe command commands ;;\n"
        "        argument)\n"
        "            case $line[1] in\n";
    for (const CommandText& command : text.commands) {
        out += fmt::format("                {})\n                    _arguments", command.name);
        for (const OptionText& option : optionsOf(command)) {
            out += fmt::format(" \\\n                        {}", zshOption(option));
        }
        if (command.opensDocuments) {
            out += " \\\n                        '*:file:_files'";
        }
        out += " ;;\n";
    }
    out += fmt::format("            esac ;;\n    esac\n}}\n\n_{0} \"$@\"\n", text.name);
    return out;
}

}  // namespace quarry::tools
