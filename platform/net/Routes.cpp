#include "platform/net/Routes.h"

#include "platform/net/LocalUrl.h"

#include <linux/rtnetlink.h>
#include <netinet/in.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>

namespace halden {
namespace {

class Socket {
public:
    Socket() : descriptor_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {
        const timeval limit{1, 0};
        if (descriptor_ >= 0) setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }
    ~Socket() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

private:
    int descriptor_;
};

struct Question {
    nlmsghdr header;
    rtmsg route;
    rtattr attribute;
    unsigned char address[16];
};

std::uint32_t flagsOfAnswer(const nlmsghdr* header) {
    if (header->nlmsg_type != RTM_NEWROUTE || header->nlmsg_len < NLMSG_LENGTH(sizeof(rtmsg))) return 0;
    const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(header));
    switch (route->rtm_type) {
        case RTN_LOCAL:
            return kHostIsReachable | kHostIsLocalAddress | kHostIsDirect;
        case RTN_UNICAST:
        case RTN_BROADCAST:
        case RTN_MULTICAST:
        case RTN_ANYCAST:
            break;
        default:
            return 0;
    }
    auto length = static_cast<int>(RTM_PAYLOAD(header));
    for (const rtattr* attribute = RTM_RTA(route); RTA_OK(attribute, length); attribute = RTA_NEXT(attribute, length)) {
        // Several next hops are gateways, too: somebody balances between them.
        if (attribute->rta_type == RTA_GATEWAY || attribute->rta_type == RTA_VIA ||
            attribute->rta_type == RTA_MULTIPATH || attribute->rta_type == RTA_ENCAP)
            return kHostIsReachable;
    }
    return kHostIsReachable | kHostIsDirect;
}

}  // namespace

std::uint32_t flagsOfRouteTo(const sockaddr* address) {
    Question question{};
    std::size_t length = 0;
    if (address->sa_family == AF_INET) {
        length = 4;
        std::memcpy(question.address, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, length);
    } else if (address->sa_family == AF_INET6) {
        const in6_addr& host = reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr;
        // Goes out over IPv4 after all.
        if (IN6_IS_ADDR_V4MAPPED(&host)) {
            sockaddr_in mapped{};
            mapped.sin_family = AF_INET;
            std::memcpy(&mapped.sin_addr, host.s6_addr + 12, 4);
            return flagsOfRouteTo(reinterpret_cast<const sockaddr*>(&mapped));
        }
        length = 16;
        std::memcpy(question.address, &host, length);
    } else {
        return 0;
    }
    question.header.nlmsg_len = static_cast<std::uint32_t>(NLMSG_LENGTH(sizeof(rtmsg)) + RTA_LENGTH(length));
    question.header.nlmsg_type = RTM_GETROUTE;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.route.rtm_family = static_cast<unsigned char>(address->sa_family);
    question.route.rtm_dst_len = static_cast<unsigned char>(length * 8);
    question.attribute.rta_type = RTA_DST;
    question.attribute.rta_len = static_cast<unsigned short>(RTA_LENGTH(length));
    const Socket socket;
    if (socket.descriptor() < 0 ||
        send(socket.descriptor(), &question, question.header.nlmsg_len, 0) != question.header.nlmsg_len)
        return 0;
    alignas(nlmsghdr) char buffer[8192];
    const ssize_t count = recv(socket.descriptor(), buffer, sizeof buffer, 0);
    const auto* header = reinterpret_cast<const nlmsghdr*>(buffer);
    if (count <= 0 || !NLMSG_OK(header, static_cast<std::size_t>(count))) return 0;
    return flagsOfAnswer(header);
}

}  // namespace halden
