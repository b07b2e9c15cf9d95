#pragma once

#include "collectors/network/NetworkStoreSource.h"
#include "collectors/network/RtnetlinkMessages.h"
#include "foundation/SysRoot.h"

#include <glib.h>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace corvane {

// A netlink route socket, closed with its owner.
class NetlinkSocket {
public:
    // `groups`: the RTMGRP_* multicast groups to hear; 0 for a socket that only asks.
    explicit NetlinkSocket(unsigned groups = 0);
    ~NetlinkSocket();
    NetlinkSocket(const NetlinkSocket&) = delete;
    NetlinkSocket& operator=(const NetlinkSocket&) = delete;

    bool valid() const { return fd_ >= 0; }
    int fd() const { return fd_; }
    // Links, addresses and default routes; nothing when the kernel cannot be asked.
    std::optional<network::NetlinkDump> dumpAll();
    // Whatever messages wait, without blocking.
    std::vector<std::uint8_t> drain();

private:
    bool dump(std::uint16_t type, std::span<const std::uint8_t> body, network::NetlinkDump& into);

    int fd_ = -1;
    std::uint32_t sequence_ = 0;
};

// The store from rtnetlink: links, addresses and routes; DNS from resolved's file, else
// /etc/resolv.conf. Changes arrive through the link, address and route groups.
class RtnetlinkSource final : public NetworkStoreSource {
public:
    explicit RtnetlinkSource(SysRoot root);
    ~RtnetlinkSource() override;

    NetworkStore store() override;
    std::optional<NetworkStatCollector::WifiNetwork> wifiNetwork(const std::string& bsd) override;
    void watch(ChangeHandler changed) override;
    const char* name() const override { return "rtnetlink"; }

private:
    static gboolean readable(gint fd, GIOCondition condition, gpointer self);
    bool isWireless(const std::string& name) const;

    SysRoot root_;
    NetlinkSocket query_;
    std::unique_ptr<NetlinkSocket> events_;
    std::optional<NetworkStore> store_;
    ChangeHandler changed_;
    guint watchId_ = 0;
};

} // namespace corvane
