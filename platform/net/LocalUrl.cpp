#include "platform/net/LocalUrl.h"

#include "foundation/Unicode.h"
#include "platform/net/Routes.h"

#include <netdb.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

namespace halden {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kLongestLookUp = 1s;
constexpr auto kRemembered = 30s;
constexpr std::size_t kMostRemembered = 1024;
/// Look-ups cannot be called off; a page that names thousands of hosts shall not have as many threads.
constexpr int kMostLookUps = 16;

constexpr std::uint32_t kWhere = kHostIsLocalAddress | kHostIsDirect;

/// What holds for every address of the host that there is a route to.
std::uint32_t lookUp(const std::string& host, int hints) {
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = hints;
    addrinfo* addresses = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &wanted, &addresses) != 0) return 0;
    std::uint32_t common = ~std::uint32_t{0};
    bool isReachable = false;
    for (const addrinfo* address = addresses; address != nullptr; address = address->ai_next) {
        const std::uint32_t flags = flagsOfRouteTo(address->ai_addr);
        if (flags == 0) continue;
        common &= flags;
        isReachable = true;
    }
    freeaddrinfo(addresses);
    return isReachable ? common : 0;
}

class Names {
public:
    static Names& shared() {
        static auto* names = new Names;  // a look-up may outlast everything else
        return *names;
    }

    std::uint32_t flags(const std::string& host) {
        std::unique_lock lock(mutex_);
        const auto now = Clock::now();
        if (known_.size() > kMostRemembered) known_.clear();
        auto [entry, isNew] = known_.try_emplace(host);
        if (!isNew && entry->second->isOver && now - entry->second->time > kRemembered) {
            entry->second = nullptr;
            isNew = true;
        }
        if (isNew) entry->second = std::make_shared<Name>();
        const std::shared_ptr<Name> name = entry->second;
        if (isNew && !start(host, name)) {
            known_.erase(entry);
            return 0;
        }
        if (name->isSlow) return name->isOver ? name->flags : 0;
        name->isSlow = !changed_.wait_until(lock, now + kLongestLookUp, [&] { return name->isOver; });
        return name->isOver ? name->flags : 0;
    }

private:
    struct Name {
        std::uint32_t flags = 0;
        bool isOver = false;
        bool isSlow = false;  // somebody has waited in vain: nobody else does
        Clock::time_point time;
    };

    bool start(const std::string& host, const std::shared_ptr<Name>& name) {
        if (running_ >= kMostLookUps) return false;
        try {
            std::thread([this, host, name] {
                const std::uint32_t flags = lookUp(host, 0);
                const std::lock_guard lock(mutex_);
                name->flags = flags;
                name->isOver = true;
                name->time = Clock::now();
                --running_;
                changed_.notify_all();
            }).detach();
        } catch (const std::system_error&) {
            return false;
        }
        ++running_;
        return true;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, std::shared_ptr<Name>> known_;
    int running_ = 0;
};

}  // namespace

std::uint32_t connectionFlagsForHost(const char* host) {
    if (host == nullptr || *host == 0) return 0;
    const std::string name(host);
    // Addresses need nobody's help, and are asked for anew: networks come and go.
    if (const std::uint32_t flags = lookUp(name, AI_NUMERICHOST); flags != 0) return flags;
    return Names::shared().flags(name);
}

bool isLocalURL(const Url& url) {
    if (url.isFileURL()) return true;
    const std::u16string host = url.host();
    if (host.empty()) return true;
    return (connectionFlagsForHost(utf8FromUtf16(host).c_str()) & kWhere) != 0;
}

}  // namespace halden
