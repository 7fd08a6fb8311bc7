#include "foundation/Log.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>

namespace halden {
namespace {

// The native protocol of the journal: one datagram of FIELD=value lines; a value that holds line feeds is preceded by
// its length as a 64-bit little-endian number.
constexpr char kJournalSocket[] = "/run/systemd/journal/socket";
// A datagram beyond this would need a descriptor to travel; cutting a log line is the better bargain.
constexpr std::size_t kMaxMessage = std::size_t{64} << 10;

enum class Threshold { none = -1, error, warning, info, debug };

struct Settings {
    Threshold threshold = Threshold::info;
    int file = -1;
    int journal = -1;
};

std::optional<Threshold> thresholdNamed(std::string_view name) {
    if (name == "none") return Threshold::none;
    if (name == "error") return Threshold::error;
    if (name == "warning") return Threshold::warning;
    if (name == "info") return Threshold::info;
    if (name == "debug") return Threshold::debug;
    return std::nullopt;
}

int openJournal() {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) return -1;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, kJournalSocket, sizeof kJournalSocket);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return descriptor;
    close(descriptor);
    return -1;
}

Settings readSettings() {
    Settings settings;
    if (const char* variable = std::getenv("QUARRY_LOG")) {
        const std::string_view text = variable;
        const std::size_t comma = text.find(',');
        if (const auto named = thresholdNamed(text.substr(0, comma))) settings.threshold = *named;
        if (comma != std::string_view::npos && comma + 1 < text.size()) {
            settings.file = open(variable + comma + 1, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        }
    }
    if (settings.file < 0) settings.journal = openJournal();
    return settings;
}

const Settings& settings() {
    static const Settings instance = readSettings();
    return instance;
}

struct Sink {
    std::mutex mutex;
    LogSink function;
};

Sink& sink() {
    // Never destroyed: other static objects may log while the process exits.
    static auto* instance = new Sink;
    return *instance;
}

const char* nameOf(LogLevel level) noexcept {
    constexpr std::array<const char*, 4> kNames = {"error", "warning", "info", "debug"};
    return kNames[static_cast<std::size_t>(level)];
}

void writeToJournal(int journal, LogLevel level, std::string_view message) {
    constexpr std::array<char, 4> kPriorities = {'3', '4', '6', '7'};
    std::string datagram = "PRIORITY=";
    datagram += kPriorities[static_cast<std::size_t>(level)];
    datagram += "\nSYSLOG_IDENTIFIER=";
    datagram += program_invocation_short_name;
    datagram += "\nMESSAGE\n";
    for (int shift = 0; shift < 64; shift += 8) {
        datagram += static_cast<char>((static_cast<std::uint64_t>(message.size()) >> shift) & 0xFF);
    }
    datagram += message;
    datagram += '\n';
    // A reader that does not keep up costs messages, never time.
    (void)send(journal, datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

void writeLine(int descriptor, LogLevel level, std::string_view message) {
    std::string line = program_invocation_short_name;
    line += ": ";
    line += nameOf(level);
    line += ": ";
    line += message;
    line += '\n';
    // One write, so that lines of several processes do not mix.
    (void)!write(descriptor, line.data(), line.size());
}

bool isEnabled(LogLevel level) {
    return static_cast<int>(level) <= static_cast<int>(settings().threshold);
}

void deliver(LogLevel level, std::string_view message) {
    {
        Sink& current = sink();
        const std::lock_guard lock(current.mutex);
        if (current.function) {
            current.function(level, message);
            return;
        }
    }
    if (!isEnabled(level)) return;
    const std::string_view cut = message.substr(0, kMaxMessage);
    if (settings().file >= 0) {
        writeLine(settings().file, level, cut);
    } else if (settings().journal >= 0) {
        writeToJournal(settings().journal, level, cut);
    } else {
        writeLine(STDERR_FILENO, level, cut);
    }
}

}  // namespace

void log(LogLevel level, std::string_view message) noexcept {
    const int savedErrno = errno;
    try {
        deliver(level, message);
    } catch (...) {
        // A log that cannot be written must not change what the caller does.
    }
    errno = savedErrno;
}

void setLogSink(LogSink function) {
    Sink& current = sink();
    const std::lock_guard lock(current.mutex);
    current.function = std::move(function);
}

bool isLogged(LogLevel level) noexcept {
    {
        const std::lock_guard lock(sink().mutex);
        if (sink().function) return true;
    }
    return isEnabled(level);
}

}  // namespace halden
