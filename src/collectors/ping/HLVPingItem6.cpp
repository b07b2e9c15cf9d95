#include "collectors/ping/HLVPingItem6.h"

#include "foundation/Log.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <netdb.h>
#include <sys/time.h>

namespace corvane {

namespace {

constexpr double kInterval = 1.0;

std::uint16_t readHost16(std::span<const std::uint8_t> bytes, std::size_t at) {
    std::uint16_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

} // namespace

ping::Bytes HLVPingItem6::packet(double sendTime) const {
    ping::Bytes bytes(ping::kHeaderSize + datalen);
    bytes[0] = ping::kEchoRequest6;
    const auto sequence = static_cast<std::uint16_t>(packetSequence);
    std::memcpy(bytes.data() + 4, &identifier, sizeof identifier);
    std::memcpy(bytes.data() + 6, &sequence, sizeof sequence);
    timeval sent{};
    sent.tv_sec = static_cast<time_t>(sendTime);
    sent.tv_usec = static_cast<suseconds_t>((sendTime - std::floor(sendTime)) * 1e6);
    std::memcpy(bytes.data() + 8, &sent, sizeof sent);
    return bytes;
}

bool HLVPingItem6::unpack(std::span<const std::uint8_t> message) const {
    return message.size() >= ping::kHeaderSize && message[0] == ping::kEchoReply6 &&
           message[1] == 0 && readHost16(message, 4) == identifier &&
           readHost16(message, 6) == static_cast<std::uint16_t>(packetSequence);
}

bool HLVPingItem6::resolve(const std::string& name) {
    addrinfo hints{};
    hints.ai_family = AF_INET6;
    addrinfo* answers = nullptr;
    if (::getaddrinfo(name.c_str(), nullptr, &hints, &answers) != 0)
        return false;
    const bool usable = answers->ai_family == AF_INET6 && answers->ai_addrlen == sizeof pingaddr;
    if (usable)
        std::memcpy(&pingaddr, answers->ai_addr, sizeof pingaddr);
    ::freeaddrinfo(answers);
    return usable;
}

void HLVPingItem6::failed(const std::string& error) {
    if (logToConsole)
        CVBLog("%s", error.c_str());
    tell([error](HLVPingDelegate& d, const PingItemBase& item) { d.pingFailed6(item, error); });
}

void HLVPingItem6::run(const std::string& target) {
    host = target;
    // The kernel writes the bound port into the identifier field as stored: bind the port
    // whose network-order bytes are this identifier's host-order bytes.
    if (transport_->open(AF_INET6, ntohs(identifier)) != PingTransport::Open::Ok)
        return failed("Unable to create socket");
    if (!resolve(host))
        return failed("Invalid address");
    tell([](HLVPingDelegate& d, const PingItemBase& item) { d.pingBegan6(item); });
    sockaddr_storage to{};
    std::memcpy(&to, &pingaddr, sizeof pingaddr);
    while (!cancelled()) {
        const double sendTime = transport_->now();
        if (transport_->send(packet(sendTime), to, sizeof pingaddr) == 0)
            ++packetsSent;
        bool answered = false;
        while (!answered && !cancelled() && transport_->now() - sendTime < kInterval) {
            PingTransport::Reply reply;
            const double left = sendTime + kInterval - transport_->now();
            const int error = transport_->receive(reply, std::clamp(left, 0.0, 0.1));
            if (error != 0 && error != EAGAIN)
                break;
            answered = error == 0 && unpack(reply.message);
            if (answered)
                received(reply, sendTime);
        }
        if (cancelled())
            break;
        if (answered) {
            pause(sendTime + kInterval - transport_->now());
        } else {
            Value result = Value::dict({{"timeout", true}, {"sequence", packetSequence + 1}});
            tell([result](HLVPingDelegate& d, const PingItemBase& item) { d.ping6(item, result); });
        }
        if (packetsTotal > 0 && packetSequence + 1 >= packetsTotal)
            break;
        if (++packetSequence == ping::kSequenceWrap)
            packetSequence = 0;
    }
    transport_->close();
    if (packetsSent == 0)
        return failed("Unable to connect to host");
    tell([results = finalResults()](HLVPingDelegate& d, const PingItemBase& item) {
        d.pingComplete6(item, results);
    });
}

void HLVPingItem6::received(const PingTransport::Reply& reply, double sendTime) {
    const double trip = transport_->now() - sendTime;
    const double tenths = trip * 10000.0; // tenths of a millisecond
    tsum += tenths;
    tmin = std::min(tmin, tenths);
    tmax = std::max(tmax, tenths);
    const auto bit = static_cast<std::size_t>(packetSequence % (rcvd_tbl.size() * 8));
    rcvd_tbl[bit / 8] = static_cast<std::uint8_t>(rcvd_tbl[bit / 8] | 1u << (bit % 8));
    noteTrip(trip);
    ++packetsRecieved;
    Value result = Value::dict({{"bytes", static_cast<std::int64_t>(reply.bytes)},
                                {"ttl", reply.ttl},
                                {"time", trip},
                                {"sequence", packetSequence + 1},
                                {"address", reply.address}});
    tell([result](HLVPingDelegate& d, const PingItemBase& item) { d.ping6(item, result); });
}

} // namespace corvane
