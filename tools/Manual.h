// What the command says of itself. Help, man page, shell completion and the parsing of arguments are all made from the
// one table in Manual.cpp, so that they cannot disagree.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quarry::tools {

/// One option of a command.
struct OptionText {
    std::string_view name;      ///< with its dashes: "--timeout"
    std::string_view argument;  ///< "SECONDS"; empty for a flag
    std::string_view choices;   ///< the words that the argument may be, separated by blanks; empty for any
    std::string_view description;
    bool repeats = false;  ///< may be given several times
};

/// A heading with paragraphs, which are separated by empty lines.
struct SectionText {
    std::string_view title;
    std::string_view text;
};

/// A word or number with its meaning.
struct TermText {
    std::string_view term;
    std::string_view description;
};

/// One subcommand.
struct CommandText {
    std::string_view name;
    std::string_view arguments;    ///< "FILE..."; empty when the command takes none
    std::string_view summary;      ///< one line, no full stop
    std::string_view description;  ///< paragraphs, separated by empty lines
    bool opensDocuments = false;   ///< works through a helper and so takes the document options
    std::span<const OptionText> options;
    /// After the first operand every word is one, dashes or not.
    bool operandsEndOptions = false;
};

/// Everything about the program.
struct Manual {
    std::string_view name;
    std::string_view summary;
    std::string_view description;
    std::span<const CommandText> commands;
    std::span<const OptionText> programOptions;   ///< of the program itself
    std::span<const OptionText> documentOptions;  ///< of every command that opens documents
    std::span<const TermText> exitStatus;
    std::span<const TermText> environment;
    std::span<const TermText> files;
    std::span<const TermText> examples;  ///< a command line and what it does
};

[[nodiscard]] const Manual& manual() noexcept;

/// The command of that name, or a null pointer.
[[nodiscard]] const CommandText* findCommand(std::string_view name) noexcept;

/// Help for a terminal of 80 columns: of the program, or of one command.
[[nodiscard]] std::string programHelp();
[[nodiscard]] std::string commandHelp(const CommandText& command);

/// The man page of section 1, in the man macros.
[[nodiscard]] std::string manPage();

/// Completion functions for bash and zsh.
[[nodiscard]] std::string bashCompletion();
[[nodiscard]] std::string zshCompletion();

}  // namespace quarry::tools
