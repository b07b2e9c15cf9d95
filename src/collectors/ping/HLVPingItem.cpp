#include "collectors/ping/HLVPingItem.h"

#include "foundation/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>

namespace corvane {

namespace {

// Owns the answers of getaddrinfo.
struct AddressInfo {
    addrinfo* list = nullptr;
    ~AddressInfo() {
        if (list)
            ::freeaddrinfo(list);
    }
};

} // namespace

int HLVPingItem::lookupAddress(const std::string& name) {
    addrinfo hints{};
    hints.ai_flags = AI_PASSIVE;
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    AddressInfo answers;
    if (::getaddrinfo(name.c_str(), "0", &hints, &answers.list) != 0)
        return -1;
    const addrinfo* chosen = nullptr;
    for (const addrinfo* a = answers.list; a; a = a->ai_next) {
        if (a->ai_family == AF_INET6) {
            socketMode = AF_INET6;
            chosen = chosen ? chosen : a;
        } else if (a->ai_family == AF_INET) {
            socketMode = AF_INET;
            chosen = a;
            break;
        } else {
            return -1;
        }
    }
    if (!chosen)
        return -1;
    hostAddress = {};
    std::memcpy(&hostAddress, chosen->ai_addr, chosen->ai_addrlen);
    hostAddressLength = chosen->ai_addrlen;
    return 0;
}

void HLVPingItem::failed(const std::string& error) {
    if (logToConsole)
        CVBLog("%s", error.c_str());
    tell([error](HLVPingDelegate& d, const PingItemBase& item) { d.pingFailed(item, error); });
}

ping::Bytes HLVPingItem::nextPacket() const {
    const auto sequence = static_cast<std::uint16_t>(packetSequence);
    return socketMode == AF_INET6
               ? ping::pingPacketWithType(ping::kEchoRequest6, identifier, sequence, false)
               : ping::pingPacketWithType(ping::kEchoRequest, identifier, sequence, true);
}

void HLVPingItem::run(const std::string& target) {
    host = target;
    if (lookupAddress(host) != 0)
        return failed("Unable to look up address");
    if (transport_->open(static_cast<int>(socketMode), identifier) != PingTransport::Open::Ok)
        return failed("Unable to create socket");
    tell([](HLVPingDelegate& d, const PingItemBase& item) { d.pingBegan(item); });
    bool packetOut = false;
    while (packetSequence < packetsTotal && !cancelled()) {
        const int sendError = transport_->send(nextPacket(), hostAddress, hostAddressLength);
        if (sendError == 0) {
            ++packetsSent;
            if (cancelled())
                break;
            packetOut = true;
            if (waitForResponse(static_cast<double>(timeout)) != 0) {
                transport_->close();
                return failed("Error waiting for packet response");
            }
        } else if (packetOut) {
            // The network may have dropped for a moment: this packet counts as lost.
            pause(static_cast<double>(timeout));
            tellTimeout();
        } else {
            transport_->close();
            return failed("Unable to ping host");
        }
        if (++packetSequence == ping::kSequenceWrap)
            packetSequence = 0;
    }
    transport_->close();
    if (packetsSent == 0)
        return failed("Unable to connect to host");
    tell([results = finalResults()](HLVPingDelegate& d, const PingItemBase& item) {
        d.pingComplete(item, results);
    });
}

int HLVPingItem::waitForResponse(double seconds) {
    const double start = transport_->now();
    while (!cancelled()) {
        PingTransport::Reply reply;
        const double left = start + seconds - transport_->now();
        const int error = transport_->receive(reply, std::clamp(left, 0.0, 0.1));
        if (error != 0 && error != EAGAIN)
            return error;
        if (error == 0 && ping::validatePingResponsePacket(
                              reply.message, identifier, packetSequence, socketMode == AF_INET6)) {
            const double trip = transport_->now() - start;
            noteTrip(trip);
            Value result = Value::dict({{"bytes", static_cast<std::int64_t>(reply.bytes)},
                                        {"ttl", reply.ttl},
                                        {"time", trip},
                                        {"sequence", packetSequence + 1},
                                        {"address", reply.address}});
            tell([result](HLVPingDelegate& d, const PingItemBase& item) { d.ping(item, result); });
            ++packetsRecieved;
            // Packets leave at a steady rate: wait for the rest of the interval.
            if (packetsSent != packetsTotal)
                pause(start + seconds - transport_->now());
            return 0;
        }
        if (transport_->now() - start >= seconds)
            break;
    }
    if (!cancelled())
        tellTimeout();
    return 0;
}

std::vector<std::string> HLVPingItem::readResponses() {
    std::vector<std::string> sources;
    const double end = transport_->now() + 0.1;
    for (double left = 0.1; left > 0; left = end - transport_->now()) {
        PingTransport::Reply reply;
        if (transport_->receive(reply, left) != 0)
            continue;
        const bool valid = ping::validatePingResponsePacket(reply.message, identifier,
                                                            packetSequence, socketMode == AF_INET6);
        if (valid && std::find(sources.begin(), sources.end(), reply.address) == sources.end())
            sources.push_back(reply.address);
    }
    return sources;
}

void HLVPingItem::tellTimeout() {
    if (logToConsole)
        CVBLog("Request timeout for icmp_seq %li\n", static_cast<long>(packetSequence));
    Value result = Value::dict({{"timeout", true}, {"sequence", packetSequence + 1}});
    tell([result](HLVPingDelegate& d, const PingItemBase& item) { d.ping(item, result); });
}

} // namespace corvane
