#include "platform/worker/exec/Request.h"

#include <charconv>
#include <string_view>

namespace halden::exec {
namespace {

template <class Number>
bool readNumber(std::string_view text, Number& number) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

bool setOption(JobRequest& request, std::string_view name, std::string_view value) {
    if (name == "--parent") return readNumber(value, request.parent);
    if (name == "--address-space") return readNumber(value, request.addressSpace);
    if (name == "--cpu") return readNumber(value, request.cpuSeconds);
    if (name == "--file-size") return readNumber(value, request.fileSize);
    if (name == "--time") return readNumber(value, request.timeMilliseconds);
    if (name == "--folder") {
        request.folder = value;
        return true;
    }
    if (name == "--env") {
        request.environment.emplace_back(value);
        return value.find('=') != std::string_view::npos;
    }
    return false;
}

}  // namespace

std::optional<JobRequest> parseJobRequest(std::span<char* const> arguments) {
    JobRequest request;
    std::size_t next = 0;
    for (; next < arguments.size() && std::string_view(arguments[next]) != "--"; ++next) {
        const std::string_view name = arguments[next];
        if (name == "--no-network") {
            request.withoutNetwork = true;
            continue;
        }
        if (++next == arguments.size() || !setOption(request, name, arguments[next])) return std::nullopt;
    }
    for (++next; next < arguments.size(); ++next)
        request.commandLine.emplace_back(arguments[next]);
    if (request.commandLine.empty() || request.parent <= 1 || !request.folder.starts_with('/')) return std::nullopt;
    return request;
}

}  // namespace halden::exec
