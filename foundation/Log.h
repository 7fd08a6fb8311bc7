// The system log, or whatever takes its place.
#pragma once

#include <functional>
#include <string_view>

namespace halden {

enum class LogLevel { error, warning, info, debug };

/// Writes `message` (UTF-8, may hold line feeds) to the log when `level` is enabled.
///
/// Goes to the sink when one is set; else to the file that `QUARRY_LOG=LEVEL,FILE` names; else to the system journal
/// when there is one; else to standard error. `QUARRY_LOG=LEVEL` sets the least important level that is written (error,
/// warning, info, debug or none); the default is info. The variable is read once, at the first message.
/// Thread-safe; never throws, blocks on a reader or fails visibly.
void log(LogLevel level, std::string_view message) noexcept;

inline void logError(std::string_view message) noexcept {
    log(LogLevel::error, message);
}
inline void logWarning(std::string_view message) noexcept {
    log(LogLevel::warning, message);
}
inline void logInfo(std::string_view message) noexcept {
    log(LogLevel::info, message);
}
inline void logDebug(std::string_view message) noexcept {
    log(LogLevel::debug, message);
}

using LogSink = std::function<void(LogLevel, std::string_view)>;

/// Lets an embedding application take the messages, whatever their level; an empty function restores the default.
/// The sink is called on the logging thread, one message at a time, and must not log.
void setLogSink(LogSink sink);

/// Whether a message of this level would be written anywhere.
[[nodiscard]] bool isLogged(LogLevel level) noexcept;

}  // namespace halden
