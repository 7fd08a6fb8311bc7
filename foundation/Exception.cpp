#include "foundation/Exception.h"

#include "foundation/Log.h"

#include <execinfo.h>

#include <cstdlib>
#include <memory>
#include <typeinfo>

namespace halden {
namespace {

constexpr int kMaxFrames = 64;

std::string demangledName(const char* mangled) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                           &std::free);
    return status == 0 && name ? name.get() : mangled;
}

std::string joinedByLineFeeds(const std::vector<std::string>& lines) {
    std::string joined;
    for (const auto& line : lines) {
        if (!joined.empty()) joined += '\n';
        joined += line;
    }
    return joined;
}

}  // namespace

Exception::Exception(std::string name, std::string reason)
    : name_(std::move(name)), reason_(std::move(reason)), what_(name_ + ": " + reason_), frames_(kMaxFrames) {
    frames_.resize(static_cast<std::size_t>(backtrace(frames_.data(), kMaxFrames)));
}

std::vector<std::string> Exception::callStackSymbols() const {
    const std::unique_ptr<char*, decltype(&std::free)> symbols(
        backtrace_symbols(frames_.data(), static_cast<int>(frames_.size())), &std::free);
    if (!symbols) return {};
    return {symbols.get(), symbols.get() + frames_.size()};
}

CaughtException describeCaughtException() {
    try {
        throw;
    } catch (const Exception& exception) {
        return {exception.name(), exception.reason(), joinedByLineFeeds(exception.callStackSymbols())};
    } catch (const std::exception& exception) {
        return {demangledName(typeid(exception).name()), exception.what(), {}};
    } catch (...) {
        const std::type_info* type = abi::__cxa_current_exception_type();
        return {type != nullptr ? demangledName(type->name()) : "unknown", {}, {}};
    }
}

void logCaughtException(std::string_view selector, std::string_view receiverClass) noexcept {
    try {
        const CaughtException caught = describeCaughtException();
        std::string line;
        line.append(selector).append(" (").append(receiverClass).append("):\n");
        line.append(caught.name).append("\n").append(caught.reason).append("\n").append(caught.callStack);
        logError(line);
    } catch (...) {
        // Out of memory while describing the fault: the fault itself is handled by the caller, only the line is lost.
        logError(selector);
    }
}

}  // namespace halden
