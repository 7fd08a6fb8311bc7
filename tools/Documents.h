// What all commands that open documents have in common: a helper, and one file after the other.
#pragma once

#include "foundation/Data.h"
#include "tools/Arguments.h"
#include "tools/HelperSession.h"
#include "tools/Output.h"

#include <fmt/format.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace quarry::tools {

/// Calls `perFile` with each file in its order, and gives the worst status. Whatever way this ends, the helpers that
/// were launched for it end too.
[[nodiscard]] Status forEachFile(const Invocation& invocation,
                                 const std::function<Status(HelperSession&, const std::string& file)>& perFile);

/// The absolute path of a document (a file, or a folder that is a package) as helpers take it; nullopt, with a message
/// on standard error, when it cannot be opened.
[[nodiscard]] std::optional<std::u16string> pathOfDocument(const std::string& file);

/// Lets a helper write the RTFD data as a package at `output`, as it was named; returns whether it did. When the helper
/// fails, a message is on standard error and `status` says what this means.
[[nodiscard]] bool writeRtfd(HelperSession& session, const halden::Data& rtfd, const std::string& output,
                             Status& status);

/// What `request` returns when it is given a helper's proxy and the file's path; nullopt, with a message on standard
/// error and the `status` that this means, when the file cannot be opened or the helper fails.
template <class Request>
auto answerAbout(HelperSession& session, const std::string& file, Status& status, Request request)
    -> std::optional<std::invoke_result_t<Request, halden::HaldenImExportProxy&, std::u16string_view>> {
    status = Status::none;
    const auto path = pathOfDocument(file);
    if (!path) {
        return std::nullopt;
    }
    auto answer = session.ask([&](halden::HaldenImExportProxy& proxy) { return request(proxy, *path); });
    if (const auto* failure = std::get_if<HelperFailure>(&answer)) {
        printError(fmt::format("{}: {}", shownName(file), failure->explanation));
        status = Status::failed;
        return std::nullopt;
    }
    return std::move(std::get<0>(answer));
}

}  // namespace quarry::tools
