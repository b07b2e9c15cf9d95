#pragma once

#include "collectors/ping/PingPacket.h"

#include <cstdint>
#include <string>
#include <sys/socket.h>

namespace corvane {

// The system calls and the clock of one ping run, so that the send/wait loop is tested on
// scripted replies and virtual time. Used from the run's own thread only.
class PingTransport {
public:
    enum class Open { Ok, Refused, Failed };

    struct Reply {
        ping::Bytes message;   // the ICMP message, never an IP header
        int ttl = -1;          // TTL or hop limit; -1 when the kernel did not tell
        std::string address;   // the source, as text
        std::size_t bytes = 0; // the length of the ICMP message
    };

    virtual ~PingTransport() = default;

    // An ICMP socket of the family (AF_INET or AF_INET6) whose replies carry `identifier`.
    virtual Open open(int family, std::uint16_t identifier) = 0;
    // 0 or the errno of sending the packet.
    virtual int send(const ping::Bytes& packet, const sockaddr_storage& to, socklen_t length) = 0;
    // Waits at most `seconds` for a datagram: 0 with the reply, EAGAIN when none came, or errno.
    virtual int receive(Reply& reply, double seconds) = 0;
    virtual void close() = 0;
    // A steady clock in seconds and a sleep on it.
    virtual double now() const = 0;
    virtual void sleep(double seconds) = 0;
};

} // namespace corvane
