// Standard output and standard error of the command.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quarry::tools {

/// Statuses the command ends with.
enum class Status { result = 0, none = 1, usage = 2, failed = 3 };

/// The one that matters more, when there are several.
[[nodiscard]] inline Status worse(Status a, Status b) noexcept {
    return a < b ? b : a;
}

/// Opens the standard files that the command was started without, so that nothing else takes their numbers. Writing to
/// a standard output that was closed fails.
void openStandardFiles();

/// Keeps standard output for `print`: what this process's children, or libraries in it, write there goes to standard
/// error instead. Standard input becomes empty for them.
void keepStandardOutput();

/// Writes `text` to standard output as it is, at once: whoever reads the results has each as soon as it is there.
/// Returns whether everything could be written so far.
bool print(std::string_view text);

/// Where `print` writes to, for those who write much.
[[nodiscard]] int standardOutput() noexcept;

/// Whether a person is looking at standard error.
[[nodiscard]] bool errorIsTerminal();

/// Shows `text` on a terminal's last line in the place of what was shown there before; empty text takes it away.
void showProgress(std::string_view text);

/// When something could not be written, says so (unless the reader just went away) and returns false.
[[nodiscard]] bool finishOutput();

/// A file's name to be shown on standard error: on a terminal, without control characters.
[[nodiscard]] std::string shownName(std::string_view file);

/// "quarry: MESSAGE" on standard error, always. Takes the place of a progress line.
void printError(std::string_view message);

/// "quarry: MESSAGE" on standard error when a person is looking at it.
void printWarning(std::string_view message);

/// Messages of the libraries appear as errors and warnings of the command, unless QUARRY_LOG says what becomes of them.
void takeOverLog();

/// "[3/10] FILE" on a terminal's last line while the command works on several files. Shows nothing when standard error
/// is no terminal, or when standard output is one (the results show how far the command is).
class Progress {
public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(std::size_t number, std::string_view file);

private:
    std::size_t total_;
    bool shown_;
};

}  // namespace quarry::tools
