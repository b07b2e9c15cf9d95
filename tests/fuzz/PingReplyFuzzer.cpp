// The checks on what a ping socket hands back: raw IPv4 datagrams and ICMP messages of any
// shape. Beyond not crashing, a reply is only ever valid for the identifier and sequence it
// carries, and the ICMP header found in a datagram always lies inside it.
#include "collectors/ping/PingPacket.h"
#include "foundation/Log.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

using namespace corvane;
using namespace corvane::ping;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs may log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    if (size < 4)
        return 0;
    const auto identifier = static_cast<std::uint16_t>(data[0] << 8 | data[1]);
    const auto sequence = static_cast<std::uint16_t>(data[2] << 8 | data[3]);
    const std::span<const std::uint8_t> bytes(data + 4, size - 4);

    for (const bool ipv6 : {false, true}) {
        if (validatePingResponsePacket(bytes, identifier, sequence, ipv6) &&
            (bytes[0] != (ipv6 ? kEchoReply6 : kEchoReply) ||
             (bytes[4] << 8 | bytes[5]) != identifier || (bytes[6] << 8 | bytes[7]) != sequence))
            std::abort();
    }
    int ttl = -1;
    if (const auto offset = icmpHeaderOffsetInIPv4Packet(bytes, ttl)) {
        if (*offset < 20 || *offset + kHeaderSize > bytes.size() || ttl != bytes[8])
            std::abort();
        validatePingResponsePacket(bytes.subspan(*offset), identifier, sequence, false);
    }
    // Our own request, answered, must pass.
    Bytes reply = pingPacketWithType(kEchoReply, identifier, sequence, true);
    if (!validatePingResponsePacket(reply, identifier, sequence, false))
        std::abort();

    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    makeDNSLookupString(text);
    cleanedPingAddress(text);
    return 0;
}
