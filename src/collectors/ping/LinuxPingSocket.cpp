#include "collectors/ping/LinuxPingSocket.h"

#include "foundation/Log.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace corvane {

namespace {

constexpr int kReceiveBuffer = 51200;
// Linux numbers, which differ from those of other systems.
static_assert(IPV6_RECVHOPLIMIT == 51 && IPV6_HOPLIMIT == 52 && IP_RECVTTL == 12);

// The refusal is a machine setting, so one line per process says what to change.
void logRangeRefusalOnce() {
    static std::atomic<bool> logged{false};
    if (!logged.exchange(true))
        CVBLog("ping: the group %u is outside net.ipv4.ping_group_range and raw sockets are not "
               "allowed; widen the range (sysctl net.ipv4.ping_group_range=\"0 2147483647\")",
               static_cast<unsigned>(::getegid()));
}

std::string addressText(const sockaddr_storage& from) {
    char text[INET6_ADDRSTRLEN] = {};
    const void* address =
        from.ss_family == AF_INET6
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in6&>(from).sin6_addr)
            : &reinterpret_cast<const sockaddr_in&>(from).sin_addr;
    return ::inet_ntop(from.ss_family, address, text, sizeof text) ? text : "";
}

int icmpProtocol(int family) {
    return family == AF_INET6 ? int{IPPROTO_ICMPV6} : int{IPPROTO_ICMP};
}

int ttlFromControl(msghdr& header) {
    for (cmsghdr* c = CMSG_FIRSTHDR(&header); c; c = CMSG_NXTHDR(&header, c)) {
        const bool ttl = c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_TTL;
        const bool hops = c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_HOPLIMIT;
        if ((ttl || hops) && c->cmsg_len >= CMSG_LEN(sizeof(int))) {
            int value = -1;
            std::memcpy(&value, CMSG_DATA(c), sizeof value);
            return value;
        }
    }
    return -1;
}

} // namespace

LinuxPingSocket::~LinuxPingSocket() {
    close();
}

PingTransport::Open LinuxPingSocket::open(int family, std::uint16_t identifier) {
    close();
    family_ = family;
    if (openDatagram(family, identifier))
        return Open::Ok;
    if (errno != EACCES && errno != EPERM)
        return Open::Failed;
    if (openRaw(family))
        return Open::Ok;
    logRangeRefusalOnce();
    return Open::Refused;
}

bool LinuxPingSocket::openDatagram(int family, std::uint16_t identifier) {
    const int protocol = icmpProtocol(family);
    descriptor_ = ::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, protocol);
    if (descriptor_ < 0)
        return false;
    // The kernel writes the bound port into the identifier field: bind it to the one we send.
    sockaddr_storage local{};
    socklen_t length = 0;
    if (family == AF_INET6) {
        auto& v6 = reinterpret_cast<sockaddr_in6&>(local);
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(identifier);
        length = sizeof v6;
    } else {
        auto& v4 = reinterpret_cast<sockaddr_in&>(local);
        v4.sin_family = AF_INET;
        v4.sin_port = htons(identifier);
        length = sizeof v4;
    }
    if (::bind(descriptor_, reinterpret_cast<sockaddr*>(&local), length) != 0) {
        const int error = errno;
        close();
        errno = error;
        return false;
    }
    raw_ = false;
    setOptions(family);
    return true;
}

bool LinuxPingSocket::openRaw(int family) {
    const int protocol = icmpProtocol(family);
    descriptor_ = ::socket(family, SOCK_RAW | SOCK_CLOEXEC, protocol);
    if (descriptor_ < 0)
        return false;
    raw_ = true;
    setOptions(family);
    return true;
}

void LinuxPingSocket::setOptions(int family) {
    const int on = 1;
    ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    if (family == AF_INET6) {
        icmp6_filter filter;
        ICMP6_FILTER_SETBLOCKALL(&filter);
        ICMP6_FILTER_SETPASS(ICMP6_ECHO_REPLY, &filter);
        ::setsockopt(descriptor_, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter);
        ::setsockopt(descriptor_, IPPROTO_IPV6, IPV6_RECVHOPLIMIT, &on, sizeof on);
    } else {
        ::setsockopt(descriptor_, IPPROTO_IP, IP_RECVTTL, &on, sizeof on);
    }
}

int LinuxPingSocket::send(const ping::Bytes& packet, const sockaddr_storage& to, socklen_t length) {
    const ssize_t sent = ::sendto(descriptor_, packet.data(), packet.size(), 0,
                                  reinterpret_cast<const sockaddr*>(&to), length);
    if (sent < 0)
        return errno;
    return static_cast<std::size_t>(sent) == packet.size() ? 0 : EMSGSIZE;
}

int LinuxPingSocket::receive(Reply& reply, double seconds) {
    pollfd wait{descriptor_, POLLIN, 0};
    const int ready = ::poll(&wait, 1, static_cast<int>(std::max(0.0, seconds) * 1000.0 + 0.5));
    if (ready < 0)
        return errno == EINTR ? EAGAIN : errno;
    if (ready == 0)
        return EAGAIN;
    std::uint8_t buffer[65535];
    alignas(cmsghdr) char control[256];
    sockaddr_storage from{};
    iovec vector{buffer, sizeof buffer};
    msghdr header{};
    header.msg_name = &from;
    header.msg_namelen = sizeof from;
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const ssize_t got = ::recvmsg(descriptor_, &header, MSG_DONTWAIT);
    if (got < 0)
        return errno == EWOULDBLOCK ? EAGAIN : errno;
    std::span<const std::uint8_t> message(buffer, static_cast<std::size_t>(got));
    reply.ttl = ttlFromControl(header);
    // Only a raw IPv4 socket hands over the IP header, with the TTL inside it.
    if (raw_ && family_ == AF_INET) {
        int ttl = -1;
        const auto offset = ping::icmpHeaderOffsetInIPv4Packet(message, ttl);
        if (!offset) {
            reply.message.clear();
            return 0;
        }
        message = message.subspan(*offset);
        reply.ttl = ttl;
    }
    reply.message.assign(message.begin(), message.end());
    reply.bytes = message.size();
    reply.address = addressText(from);
    return 0;
}

void LinuxPingSocket::close() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
    descriptor_ = -1;
}

double LinuxPingSocket::now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void LinuxPingSocket::sleep(double seconds) {
    if (seconds > 0)
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

} // namespace corvane
