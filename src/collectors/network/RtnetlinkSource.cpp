#include "collectors/network/RtnetlinkSource.h"

#include "foundation/Log.h"

#include <cerrno>
#include <cstring>
#include <glib-unix.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace corvane {

NetlinkSocket::NetlinkSocket(unsigned groups) {
    fd_ = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd_ < 0)
        return;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    // A dump must not hang the caller when the kernel never finishes it.
    timeval timeout{1, 0};
    ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    if (::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        CVBLog("network: cannot bind a netlink socket: %s", std::strerror(errno));
        ::close(std::exchange(fd_, -1));
    }
}

NetlinkSocket::~NetlinkSocket() {
    if (fd_ >= 0)
        ::close(fd_);
}

bool NetlinkSocket::dump(std::uint16_t type, std::span<const std::uint8_t> body,
                         network::NetlinkDump& into) {
    std::vector<std::uint8_t> request(NLMSG_SPACE(body.size()));
    nlmsghdr header{};
    header.nlmsg_len = static_cast<std::uint32_t>(NLMSG_LENGTH(body.size()));
    header.nlmsg_type = type;
    header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    header.nlmsg_seq = ++sequence_;
    std::memcpy(request.data(), &header, sizeof header);
    std::memcpy(request.data() + NLMSG_HDRLEN, body.data(), body.size());
    if (::send(fd_, request.data(), header.nlmsg_len, 0) < 0)
        return false;
    std::vector<std::uint8_t> buffer(32768);
    into.done = false;
    while (!into.done && !into.error) {
        const ssize_t got = ::recv(fd_, buffer.data(), buffer.size(), 0);
        if (got <= 0)
            return false;
        network::parseNetlinkMessages({buffer.data(), static_cast<std::size_t>(got)}, into);
    }
    return !into.error;
}

std::optional<network::NetlinkDump> NetlinkSocket::dumpAll() {
    if (fd_ < 0)
        return std::nullopt;
    network::NetlinkDump result;
    ifinfomsg link{};
    ifaddrmsg address{};
    rtmsg route{};
    const auto bytes = [](const auto& value) {
        return std::span(reinterpret_cast<const std::uint8_t*>(&value), sizeof value);
    };
    if (!dump(RTM_GETLINK, bytes(link), result) || !dump(RTM_GETADDR, bytes(address), result) ||
        !dump(RTM_GETROUTE, bytes(route), result))
        return std::nullopt;
    return result;
}

std::vector<std::uint8_t> NetlinkSocket::drain() {
    std::vector<std::uint8_t> all;
    std::vector<std::uint8_t> buffer(32768);
    while (fd_ >= 0) {
        const ssize_t got = ::recv(fd_, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got <= 0)
            break;
        all.insert(all.end(), buffer.begin(), buffer.begin() + got);
    }
    return all;
}

RtnetlinkSource::RtnetlinkSource(SysRoot root)
    : root_(std::move(root)) {}

RtnetlinkSource::~RtnetlinkSource() {
    if (watchId_)
        g_source_remove(watchId_);
}

bool RtnetlinkSource::isWireless(const std::string& name) const {
    const std::string dir = "/sys/class/net/" + name;
    return root_.isDirectory(dir + "/wireless") ||
           root_.readFile(dir + "/uevent", 4096).value_or("").find("DEVTYPE=wlan") !=
               std::string::npos;
}

NetworkStore RtnetlinkSource::store() {
    if (store_)
        return *store_;
    auto dump = query_.dumpAll();
    if (!dump) {
        CVBLog("network: rtnetlink gave no answer; no services");
        return Value::dict();
    }
    for (network::NetlinkLink& link : dump->links)
        link.wireless = isWireless(link.name);
    std::vector<std::string> dns;
    for (const char* file : {"/run/systemd/resolve/resolv.conf", "/etc/resolv.conf"}) {
        if (auto text = root_.readFile(file); text && dns.empty())
            dns = network::nameserversFromResolvConf(*text);
    }
    store_ = network::storeFromNetlink(*dump, dns);
    return *store_;
}

std::optional<NetworkStatCollector::WifiNetwork>
RtnetlinkSource::wifiNetwork(const std::string& bsd) {
    // Without NetworkManager the access point is not known here.
    if (bsd.empty() || !isWireless(bsd))
        return std::nullopt;
    return NetworkStatCollector::WifiNetwork{};
}

void RtnetlinkSource::watch(ChangeHandler changed) {
    changed_ = std::move(changed);
    if (watchId_ || !changed_)
        return;
    events_ =
        std::make_unique<NetlinkSocket>(RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR |
                                        RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE);
    if (events_->valid())
        watchId_ = g_unix_fd_add(events_->fd(), G_IO_IN, &RtnetlinkSource::readable, this);
}

gboolean RtnetlinkSource::readable(gint, GIOCondition, gpointer self) {
    auto* source = static_cast<RtnetlinkSource*>(self);
    source->events_->drain();
    source->store_.reset();
    if (source->changed_)
        source->changed_({"State:/Network/Interface"});
    return G_SOURCE_CONTINUE;
}

} // namespace corvane
