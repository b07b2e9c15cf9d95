#pragma once

#include "collectors/ping/PingTransport.h"

#include <cerrno>
#include <deque>
#include <functional>

namespace corvane::test {

// Sockets on a script and a virtual clock: each send may queue replies that arrive later, and
// waiting moves the clock instead of time passing.
class ScriptedTransport final : public PingTransport {
public:
    // Decides, per packet sent, the errno of the send and may queue replies.
    std::function<int(ScriptedTransport&, const ping::Bytes&)> onSend =
        [](ScriptedTransport&, const ping::Bytes&) { return 0; };
    Open openResult = Open::Ok;
    double clock = 0;
    std::vector<ping::Bytes> sent;
    std::deque<std::pair<double, Reply>> inbox; // by arrival time

    // The echo reply to a request, arriving after `delay` seconds.
    void answer(const ping::Bytes& request, double delay, std::uint16_t identifierChange = 0,
                std::uint16_t sequenceChange = 0) {
        const std::uint16_t identifier =
            static_cast<std::uint16_t>((request[4] << 8 | request[5]) + identifierChange);
        const std::uint16_t sequence =
            static_cast<std::uint16_t>((request[6] << 8 | request[7]) - sequenceChange);
        Reply reply;
        reply.message = ping::pingPacketWithType(ping::kEchoRequest, identifier, sequence, false);
        reply.message[0] = ping::kEchoReply;
        const std::uint16_t sum = ping::internetChecksum(reply.message);
        reply.message[2] = static_cast<std::uint8_t>(sum >> 8);
        reply.message[3] = static_cast<std::uint8_t>(sum & 0xff);
        reply.bytes = reply.message.size();
        reply.ttl = 64;
        reply.address = "192.0.2.7";
        inbox.emplace_back(clock + delay, reply);
    }

    Open open(int, std::uint16_t) override { return openResult; }
    int send(const ping::Bytes& packet, const sockaddr_storage&, socklen_t) override {
        sent.push_back(packet);
        return onSend(*this, packet);
    }
    int receive(Reply& reply, double seconds) override {
        if (!inbox.empty() && inbox.front().first <= clock + seconds) {
            clock = std::max(clock, inbox.front().first);
            reply = inbox.front().second;
            inbox.pop_front();
            return 0;
        }
        clock += seconds;
        return EAGAIN;
    }
    void close() override {}
    double now() const override { return clock; }
    void sleep(double seconds) override { clock += seconds; }
};

} // namespace corvane::test
