// What the platform throws: an exception with a name, a reason and the place where it was made.
#pragma once

#include <cxxabi.h>

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace halden {

/// Thrown by platform services for faults that are no ordinary result: a task that cannot be launched, a connection
/// that died. Ordinary failures are results (nullopt, false).
class Exception : public std::exception {
public:
    /// `name` and `reason` are UTF-8. The call stack is taken here.
    Exception(std::string name, std::string reason);

    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    [[nodiscard]] const std::string& reason() const noexcept { return reason_; }
    /// The symbols of the frames that led here, innermost first, one string a frame. Resolved on each call.
    [[nodiscard]] std::vector<std::string> callStackSymbols() const;

    /// "NAME: REASON".
    [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }

private:
    std::string name_;
    std::string reason_;
    std::string what_;
    std::vector<void*> frames_;
};

/// What an exception says of itself.
struct CaughtException {
    std::string name;       ///< of a halden::Exception its name, else the C++ type
    std::string reason;     ///< its reason, else its what(), if any
    std::string callStack;  ///< frames joined by line feeds; empty for other types than halden::Exception
};

/// Describes the exception being handled. Call it inside a catch block.
[[nodiscard]] CaughtException describeCaughtException();

/// Logs the exception being handled, as an error, in the form "SELECTOR (CLASS):\nNAME\nREASON\nCALL STACK", the frames
/// joined by line feeds. An exception of another type has its C++ type as name, its what() (if any) as reason, and no
/// call stack. Call it inside a catch block.
void logCaughtException(std::string_view selector, std::string_view receiverClass) noexcept;

/// Runs `body` and returns its result; when it throws any C++ exception, `fallback` is returned instead and nothing is
/// logged. A forced unwind (thread cancellation) and exceptions of other runtimes pass through.
template <class Body, class Result>
Result guarded(Body&& body, Result fallback) {
    try {
        return body();
    } catch (...) {
        // Only C++ exceptions have a type: what has none is a forced unwind or comes from another runtime.
        if (abi::__cxa_current_exception_type() == nullptr) throw;
        return fallback;
    }
}

}  // namespace halden
