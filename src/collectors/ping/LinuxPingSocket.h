#pragma once

#include "collectors/ping/PingTransport.h"

namespace corvane {

// ICMP echo over the Linux kernel: an unprivileged datagram socket (net.ipv4.ping_group_range)
// bound to the identifier, so that the kernel keeps it; a raw socket when the range refuses us
// but the process holds CAP_NET_RAW.
class LinuxPingSocket final : public PingTransport {
public:
    LinuxPingSocket() = default;
    ~LinuxPingSocket() override;
    LinuxPingSocket(const LinuxPingSocket&) = delete;
    LinuxPingSocket& operator=(const LinuxPingSocket&) = delete;

    Open open(int family, std::uint16_t identifier) override;
    int send(const ping::Bytes& packet, const sockaddr_storage& to, socklen_t length) override;
    int receive(Reply& reply, double seconds) override;
    void close() override;
    double now() const override;
    void sleep(double seconds) override;

    bool isRaw() const { return raw_; }

private:
    bool openDatagram(int family, std::uint16_t identifier);
    bool openRaw(int family);
    void setOptions(int family);

    int descriptor_ = -1;
    int family_ = 0;
    bool raw_ = false;
};

} // namespace corvane
