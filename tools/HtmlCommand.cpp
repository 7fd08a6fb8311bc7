#include "foundation/Data.h"
#include "foundation/Unicode.h"
#include "tools/Commands.h"
#include "tools/Documents.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

namespace quarry::tools {

namespace {

constexpr std::size_t kLongestPage = std::size_t{256} << 20;

/// Everything on standard input; nullopt, with a message, when it cannot be read or is too long.
std::optional<halden::Data> standardInput() {
    std::vector<std::uint8_t> bytes;
    for (;;) {
        std::uint8_t buffer[65536];
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 || bytes.size() > kLongestPage) {
            printError(fmt::format("standard input: {}", count < 0 ? std::strerror(errno) : "too long"));
            return std::nullopt;
        }
        if (count == 0) {
            return halden::Data(std::move(bytes));
        }
        bytes.insert(bytes.end(), buffer, buffer + count);
    }
}

std::optional<halden::Data> pageOf(const std::string& file) {
    if (!pathOfDocument(file)) {
        return std::nullopt;
    }
    auto data = halden::Data::contentsOfFile(file, kLongestPage);
    if (!data) {
        printError(fmt::format("{}: cannot be read", shownName(file)));
    }
    return data;
}

std::optional<std::u16string> textOrNil(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(halden::utf16FromUtf8(text));
}

}  // namespace

Status htmlCommand(const Invocation& invocation) {
    if (invocation.output.empty()) {
        printError("html: -o says which package to write, and is missing");
        return Status::usage;
    }
    // Before the helper starts: from then on there is no standard input, which processes it starts might wait for.
    std::optional<halden::Data> input;
    if (std::ranges::find(invocation.files, "-") != invocation.files.end()) {
        input = standardInput();
        if (!input) {
            return Status::none;
        }
    }
    return forEachFile(invocation, [&](HelperSession& session, const std::string& file) {
        const auto page = file == "-" ? input : pageOf(file);
        if (!page) {
            return Status::none;
        }
        auto answer = session.ask([&](halden::HaldenImExportProxy& proxy) {
            return proxy.RTFDWithHTML(*page, textOrNil(invocation.page.baseURL), textOrNil(invocation.page.charset),
                                      {.allowRemoteRequest = invocation.page.allowRemote});
        });
        if (const auto* failure = std::get_if<HelperFailure>(&answer)) {
            printError(fmt::format("{}: {}", shownName(file), failure->explanation));
            return Status::failed;
        }
        const std::optional<halden::Data>& rtfd = std::get<0>(answer);
        Status status = Status::none;
        const bool written = rtfd && writeRtfd(session, *rtfd, invocation.output, status);
        print(written ? "YES\n" : "NO\n");
        return written ? Status::result : status;
    });
}

}  // namespace quarry::tools
