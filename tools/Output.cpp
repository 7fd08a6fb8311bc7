#include "tools/Output.h"

#include "foundation/Log.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace quarry::tools {

namespace {

/// Returns 0, or what went wrong.
int writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        }
    }
    return 0;
}

int outputFile = STDOUT_FILENO;
int outputError = 0;

/// A progress line stands on the terminal.
std::atomic<bool> progressVisible = false;

constexpr std::string_view kEraseLine = "\r\x1b[K";

}  // namespace

void openStandardFiles() {
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(file, F_GETFD) < 0) {
            // The lowest free number is this one.
            [[maybe_unused]] const int opened = ::open("/dev/null", file == STDERR_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

void keepStandardOutput() {
    if (outputFile != STDOUT_FILENO) {
        return;
    }
    const int copy = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (copy >= 0) {
        outputFile = copy;
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing >= 0) {
        ::dup2(nothing, STDIN_FILENO);
        ::close(nothing);
    }
}

int standardOutput() noexcept {
    return outputFile;
}

bool errorIsTerminal() {
    static const bool terminal = ::isatty(STDERR_FILENO) == 1;
    return terminal;
}

void showProgress(std::string_view text) {
    const bool wasVisible = progressVisible.exchange(!text.empty());
    if (wasVisible || !text.empty()) {
        writeAll(STDERR_FILENO, fmt::format("{}{}", kEraseLine, text));
    }
}

bool print(std::string_view text) {
    if (outputError == 0) {
        outputError = writeAll(outputFile, text);
    }
    return outputError == 0;
}

bool finishOutput() {
    if (outputError != 0 && outputError != EPIPE) {
        printError(fmt::format("standard output: {}", std::strerror(outputError)));
    }
    return outputError == 0;
}

std::string shownName(std::string_view file) {
    std::string name(file);
    if (errorIsTerminal()) {
        std::ranges::replace_if(
            name, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
    }
    return name;
}

void printError(std::string_view message) {
    // One write, so that lines of several processes do not mix.
    const std::string_view start = progressVisible.exchange(false) ? kEraseLine : std::string_view();
    writeAll(STDERR_FILENO, fmt::format("{}quarry: {}\n", start, message));
}

void printWarning(std::string_view message) {
    if (errorIsTerminal()) {
        printError(message);
    }
}

void takeOverLog() {
    if (const char* wanted = std::getenv("QUARRY_LOG"); wanted != nullptr && *wanted != '\0') {
        return;
    }
    halden::setLogSink([](halden::LogLevel level, std::string_view message) {
        if (level == halden::LogLevel::error) {
            printError(message);
        } else if (level == halden::LogLevel::warning) {
            printWarning(message);
        }
    });
}

Progress::Progress(std::size_t total)
    : total_(total), shown_(total > 1 && errorIsTerminal() && ::isatty(outputFile) == 0) {}

Progress::~Progress() {
    if (progressVisible.exchange(false)) {
        writeAll(STDERR_FILENO, kEraseLine);
    }
}

void Progress::show(std::size_t number, std::string_view file) {
    if (!shown_) {
        return;
    }
    constexpr std::size_t kLongest = 60;
    const bool cut = file.size() > kLongest;
    progressVisible = true;
    const std::string name = shownName(cut ? file.substr(file.size() - kLongest) : file);
    writeAll(STDERR_FILENO, fmt::format("{}[{}/{}] {}{}", kEraseLine, number, total_, cut ? "..." : "", name));
}

}  // namespace quarry::tools
