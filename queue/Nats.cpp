#include "queue/Nats.h"

#include "tools/Output.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace quarry::queue {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::int64_t kConnectMilliseconds = 5000;
constexpr std::int64_t kReconnectMilliseconds = 500;
constexpr int kReconnectBuffer = 8 << 20;
constexpr std::int64_t kMostPending = 4000;  // publications whose answers are awaited
constexpr std::int64_t kStallMilliseconds = 10'000;

std::vector<std::string> partsOf(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        parts.emplace_back(list.substr(0, comma));
        list = comma == list.npos ? std::string_view() : list.substr(comma + 1);
    }
    return parts;
}

OptionsOwner optionsOf(const ServerOptions& server) {
    natsOptions* made = nullptr;
    check(natsOptions_Create(&made), "options");
    OptionsOwner options(made);
    const std::vector<std::string> servers = partsOf(server.url);
    std::vector<const char*> names;
    names.reserve(servers.size());
    for (const std::string& name : servers) {
        names.push_back(name.c_str());
    }
    check(natsOptions_SetServers(made, names.data(), static_cast<int>(names.size())), server.url);
    check(natsOptions_SetName(made, "quarry"), "name");
    check(natsOptions_SetTimeout(made, kConnectMilliseconds), "time limit");
    check(natsOptions_SetMaxReconnect(made, -1), "reconnecting");
    check(natsOptions_SetReconnectWait(made, kReconnectMilliseconds), "reconnecting");
    check(natsOptions_SetReconnectBufSize(made, kReconnectBuffer), "reconnecting");
    if (!server.credentials.empty()) {
        check(natsOptions_SetUserCredentialsFromFiles(made, server.credentials.c_str(), nullptr), server.credentials);
    }
    if (!server.authority.empty()) {
        check(natsOptions_SetSecure(made, true), "TLS");
        check(natsOptions_LoadCATrustedCertificates(made, server.authority.c_str()), server.authority);
    }
    return options;
}

/// Whether the server may come up yet; one that refuses will go on refusing.
bool mayBeLate(natsStatus status) noexcept {
    return status == NATS_NO_SERVER || status == NATS_TIMEOUT || status == NATS_IO_ERROR ||
           status == NATS_CONNECTION_CLOSED || status == NATS_CONNECTION_DISCONNECTED;
}

/// Addresses without the passwords in them.
std::string shownAddress(const std::string& url) {
    std::string shown;
    for (std::string part : partsOf(url)) {
        const std::size_t scheme = part.find("://");
        const std::size_t at = part.rfind('@');
        if (scheme != part.npos && at != part.npos && at > scheme) {
            part.erase(scheme + 3, at - scheme - 2);
        }
        shown += (shown.empty() ? "" : ",") + part;
    }
    return shown;
}

}  // namespace

void check(natsStatus status, std::string_view what, jsErrCode code) {
    if (status == NATS_OK) {
        return;
    }
    const char* detail = nats_GetLastError(nullptr);
    std::string reason = natsStatus_GetText(status);
    if (detail != nullptr && *detail != '\0' && reason != detail) {
        reason += fmt::format(" ({})", detail);
    }
    if (code != static_cast<jsErrCode>(0)) {
        reason += fmt::format(" [{}]", static_cast<int>(code));
    }
    throw QueueError(fmt::format("{}: {}", what, reason), status);
}

Connection::Connection(const ServerOptions& server) {
    const OptionsOwner options = optionsOf(server);
    const Clock::time_point end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(server.patience));
    const std::string address = shownAddress(server.url);
    for (auto pause = 250ms;; pause = std::min<std::chrono::milliseconds>(pause * 2, 8s)) {
        natsConnection* made = nullptr;
        const natsStatus status = natsConnection_Connect(&made, options.get());
        connection_.reset(made);
        if (status == NATS_OK) {
            return;
        }
        if (!mayBeLate(status) || Clock::now() + pause > end) {
            check(status, address);
        }
        tools::printError(fmt::format("{}: {}; trying again", address, natsStatus_GetText(status)));
        std::this_thread::sleep_for(pause);
    }
}

ContextOwner Connection::context(jsPubAckHandler acknowledged, void* closure) const {
    jsOptions options;
    check(jsOptions_Init(&options), "options");
    options.PublishAsync.MaxPending = kMostPending;
    options.PublishAsync.StallWait = kStallMilliseconds;
    options.PublishAsync.AckHandler = acknowledged;
    options.PublishAsync.AckHandlerClosure = closure;
    jsCtx* made = nullptr;
    check(natsConnection_JetStream(&made, connection_.get(), &options), "streams");
    return ContextOwner(made);
}

std::size_t Connection::largestMessage() const {
    return static_cast<std::size_t>(std::max<std::int64_t>(natsConnection_GetMaxPayload(connection_.get()), 4096));
}

}  // namespace quarry::queue
