#include "queue/Nats.h"

#include "tools/Output.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace quarry::queue {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr std::int64_t kConnectMilliseconds = 5000;
constexpr std::int64_t kReconnectMilliseconds = 500;
constexpr int kReconnectBuffer = 8 << 20;
// A network that is lost says nothing. Without an answer to so many questions the connection is made anew; a message
// that the system does not take is given up.
constexpr std::int64_t kPingMilliseconds = 3000;
constexpr int kMostPings = 2;
constexpr std::int64_t kWriteMilliseconds = 5000;
constexpr std::int64_t kMostPending = 4000;  // publications whose answers are awaited
constexpr std::int64_t kStallMilliseconds = 10'000;

bool isSecure(std::string_view address) {
    return address.starts_with("tls://");
}

std::vector<std::string> partsOf(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        parts.emplace_back(list.substr(0, comma));
        list = comma == list.npos ? std::string_view() : list.substr(comma + 1);
    }
    return parts;
}

/// What the server of this process last did not permit. It says so beside the calls, which wait for an answer that
/// never comes; and the library may say so after the end of a connection, so this has no end.
struct Refusal {
    std::mutex mutex;
    std::string text;
};

Refusal& lastRefusal() {
    static auto& refusal = *new Refusal;
    return refusal;
}

/// What the library knows of the last failure in this thread, without the place in its source that it begins with.
std::string lastDetail() {
    const char* text = nats_GetLastError(nullptr);
    std::string_view detail = text != nullptr ? text : "";
    const std::size_t place = detail.find("): ");
    if (detail.starts_with('(') && place != detail.npos) {
        detail.remove_prefix(place + 3);
    }
    return std::string(detail);
}

void noteRefusal(natsConnection*, natsSubscription*, natsStatus status, void*) {
    if (status == NATS_NOT_PERMITTED) {
        const std::scoped_lock lock(lastRefusal().mutex);
        lastRefusal().text = lastDetail();
    }
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
    check(natsOptions_SetPingInterval(made, kPingMilliseconds), "time limit");
    check(natsOptions_SetMaxPingsOut(made, kMostPings), "time limit");
    check(natsOptions_SetWriteDeadline(made, kWriteMilliseconds), "time limit");
    check(natsOptions_SetErrorHandler(made, noteRefusal, nullptr), "error handler");
    // The library itself would take tls:// for a wish, and tell a server without TLS the password.
    if (!server.authority.empty() || std::ranges::any_of(servers, [](const auto& name) { return isSecure(name); })) {
        check(natsOptions_SetSecure(made, true), "TLS");
    }
    if (!server.authority.empty()) {
        check(natsOptions_LoadCATrustedCertificates(made, server.authority.c_str()), server.authority);
    }
    return options;
}

/// Whether the server may come up yet; one that refuses will go on refusing.
bool mayBeLate(natsStatus status) noexcept {
    return status == NATS_NO_SERVER || status == NATS_TIMEOUT || status == NATS_IO_ERROR ||
           status == NATS_CONNECTION_CLOSED || status == NATS_CONNECTION_DISCONNECTED;
}

/// Growing pauses, for so many seconds in all.
class Patience {
public:
    explicit Patience(double seconds)
        : end_(Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))) {}

    [[nodiscard]] bool isAtItsEnd() const { return Clock::now() + pause_ > end_; }
    void pause() {
        std::this_thread::sleep_for(pause_);
        pause_ = std::min<std::chrono::milliseconds>(pause_ * 2, 8s);
    }

private:
    Clock::time_point end_;
    std::chrono::milliseconds pause_ = 250ms;
};

/// What a user can do about a server that refuses; empty where its words say it.
std::string hintFor(natsStatus status, const ServerOptions& server) {
    if (status == NATS_SSL_ERROR && server.authority.empty()) {
        return "; the server uses TLS: --ca names the file of the authority that signed its certificate";
    }
    if (status == NATS_CONNECTION_AUTH_FAILED && server.credentials.empty()) {
        return server.url.find('@') == server.url.npos
                   ? "; neither the address nor --credentials names a user and a password"
                   : "; the server does not know this user with this password";
    }
    return {};
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
    const std::string detail = lastDetail();
    std::string reason = natsStatus_GetText(status);
    if (status == NATS_TIMEOUT) {
        const std::scoped_lock lock(lastRefusal().mutex);
        if (!lastRefusal().text.empty()) {
            throw QueueError(fmt::format("{}: {}", what, lastRefusal().text), NATS_NOT_PERMITTED);
        }
    }
    if (!detail.empty() && reason != detail) {
        reason += fmt::format(" ({})", detail);
    }
    if (code != static_cast<jsErrCode>(0)) {
        reason += fmt::format(" [{}]", static_cast<int>(code));
    }
    throw QueueError(fmt::format("{}: {}", what, reason), status);
}

Connection::Connection(const ServerOptions& server) : address_(shownAddress(server.url)), patience_(server.patience) {
    {
        const std::scoped_lock lock(lastRefusal().mutex);
        lastRefusal().text.clear();
    }
    const OptionsOwner options = optionsOf(server);
    for (Patience patience(patience_);; patience.pause()) {
        natsConnection* made = nullptr;
        const natsStatus status = natsConnection_Connect(&made, options.get());
        connection_.reset(made);
        if (status == NATS_OK) {
            return;
        }
        if (!mayBeLate(status) || patience.isAtItsEnd()) {
            try {
                check(status, address_);
            } catch (const QueueError& error) {
                throw QueueError(error.what() + hintFor(status, server), status);
            }
        }
        tools::printError(fmt::format("{}: {}; trying again", address_, natsStatus_GetText(status)));
    }
}

void Connection::ask(const std::function<void()>& question) const {
    for (Patience patience(patience_);; patience.pause()) {
        try {
            return question();
        } catch (const QueueError& error) {
            if (!mayBeLate(error.status()) || patience.isAtItsEnd()) {
                throw;
            }
            tools::printError(fmt::format("{}; trying again", error.what()));
        }
        throwIfRefused();
    }
}

void Connection::throwIfRefused() const {
    {
        const std::scoped_lock lock(lastRefusal().mutex);
        if (!lastRefusal().text.empty()) {
            throw QueueError(lastRefusal().text, NATS_NOT_PERMITTED);
        }
    }
    if (natsConnection_IsClosed(connection_.get())) {
        const char* reason = nullptr;
        const natsStatus status = natsConnection_GetLastError(connection_.get(), &reason);
        throw QueueError(fmt::format("{}: {}", address_, reason != nullptr ? reason : natsStatus_GetText(status)),
                         NATS_CONNECTION_CLOSED);
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
