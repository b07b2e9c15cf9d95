#pragma once

#include "collectors/ping/PingItemBase.h"

#include <array>
#include <netinet/in.h>

namespace corvane {

// Pings a host over IPv6 only, once a second, with the send time carried in the packet.
class HLVPingItem6 final : public PingItemBase {
public:
    using PingItemBase::PingItemBase;
    ~HLVPingItem6() override { stopAndWait(); }

    void run(const std::string& host) override;

    // Type 128, identifier and sequence in host byte order, the send time at offset 8.
    ping::Bytes packet(double sendTime) const;
    // A reply to this item: type 129, code 0, the identifier and sequence in host byte order.
    bool unpack(std::span<const std::uint8_t> message) const;

    static constexpr std::size_t datalen = 56;
    sockaddr_in6 pingaddr{};
    double tmin = 18446744073709551616.0; // 2^64: any trip is shorter
    double tmax = 0;
    double tsum = 0;
    std::array<std::uint8_t, 128> rcvd_tbl{}; // a bit per sequence seen, modulo 1024

private:
    bool resolve(const std::string& name);
    void failed(const std::string& error);
    void received(const PingTransport::Reply& reply, double sendTime);
};

} // namespace corvane
