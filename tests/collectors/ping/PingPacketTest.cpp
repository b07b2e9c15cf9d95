#include "collectors/ping/PingPacket.h"

#include "collectors/ping/PingReport.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::ping;

namespace {

// The echo reply a peer sends back for a request: type 0 and a checksum of its own.
Bytes replyTo(Bytes request) {
    request[0] = kEchoReply;
    request[2] = request[3] = 0;
    const std::uint16_t sum = internetChecksum(request);
    request[2] = static_cast<std::uint8_t>(sum >> 8);
    request[3] = static_cast<std::uint8_t>(sum & 0xff);
    return request;
}

TEST(PingPacket, EchoRequestLayoutAndChecksum) {
    const Bytes packet = pingPacketWithType(kEchoRequest, 0x1234, 0x0102, true);
    ASSERT_EQ(packet.size(), 64u);
    EXPECT_EQ((Bytes{packet[0], packet[1], packet[4], packet[5], packet[6], packet[7]}),
              (Bytes{8, 0, 0x12, 0x34, 0x01, 0x02}));
    EXPECT_EQ(internetChecksum(packet), 0) << "an intact message sums to zero";
    const Bytes six = pingPacketWithType(kEchoRequest6, 0x1234, 1, false);
    EXPECT_EQ(six[0], 128);
    EXPECT_EQ(six[2] | six[3], 0) << "the kernel fills the ICMPv6 checksum";
    // RFC 1071's example: the one's complement sum of these words is 0xddf2.
    EXPECT_EQ(internetChecksum(Bytes{0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7}),
              static_cast<std::uint16_t>(~0xddf2));
    EXPECT_EQ(internetChecksum(Bytes{0xab}), static_cast<std::uint16_t>(~0xab00))
        << "an odd byte is the high half of a word";
}

Bytes echo6(std::uint8_t type) {
    Bytes b = pingPacketWithType(kEchoRequest6, 0xbeef, 7, false);
    b[0] = type;
    return b;
}

struct ValidationCase {
    const char* name;
    std::function<void(Bytes&)> change;
    std::uint16_t identifier;
    std::int64_t sequence;
    bool valid;
    bool six = false;
};

TEST(PingPacket, ValidatesRepliesOfThisPingOnly) {
    const Bytes good = replyTo(pingPacketWithType(kEchoRequest, 0xbeef, 7, true));
    const auto flip = [](std::size_t at) { return [at](Bytes& b) { b[at] ^= 0x40; }; };
    const ValidationCase cases[] = {
        {"the reply", [](Bytes&) {}, 0xbeef, 7, true},
        {"wrong identifier", [](Bytes&) {}, 0xbeee, 7, false},
        {"old sequence", [](Bytes&) {}, 0xbeef, 8, false},
        {"damaged payload", flip(30), 0xbeef, 7, false},
        {"our own request", [](Bytes& b) { b = pingPacketWithType(8, 0xbeef, 7, true); }, 0xbeef, 7,
         false},
        {"code not 0", [](Bytes& b) { b = replyTo((b[1] = 1, b)); }, 0xbeef, 7, false},
        {"header only", [](Bytes& b) { b = replyTo(Bytes(b.begin(), b.begin() + 8)); }, 0xbeef, 7,
         true},
        {"shorter than a header", [](Bytes& b) { b.resize(7); }, 0xbeef, 7, false},
        {"IPv6 reply, no checksum", [](Bytes& b) { b = echo6(kEchoReply6); }, 0xbeef, 7, true,
         true},
        {"IPv6 request", [](Bytes& b) { b = echo6(kEchoRequest6); }, 0xbeef, 7, false, true},
        {"IPv6 old sequence", [](Bytes& b) { b = echo6(kEchoReply6); }, 0xbeef, 8, false, true},
    };
    for (const auto& c : cases) {
        Bytes reply = good;
        c.change(reply);
        EXPECT_EQ(validatePingResponsePacket(reply, c.identifier, c.sequence, c.six), c.valid)
            << c.name;
    }
}

TEST(PingPacket, FindsTheIcmpHeaderInRawDatagrams) {
    struct Case {
        const char* name;
        Bytes datagram;
        std::optional<std::size_t> offset;
        int ttl;
    };
    const auto ip = [](std::uint8_t versionAndLength, std::uint8_t protocol, std::size_t size) {
        Bytes datagram(size, 0);
        datagram[0] = versionAndLength;
        datagram[8] = 57; // the TTL
        datagram[9] = protocol;
        return datagram;
    };
    const Case cases[] = {
        {"20-byte header", ip(0x45, 1, 28), 20, 57},
        {"with options", ip(0x46, 1, 32), 24, 57},
        {"options but no room for ICMP", ip(0x46, 1, 28), {}, -1},
        {"not ICMP", ip(0x45, 17, 28), {}, -1},
        {"not version 4", ip(0x65, 1, 28), {}, -1},
        {"header length below 20", ip(0x44, 1, 28), {}, -1},
        {"too short", ip(0x45, 1, 27), {}, -1},
    };
    for (const auto& c : cases) {
        int ttl = -1;
        EXPECT_EQ(icmpHeaderOffsetInIPv4Packet(c.datagram, ttl), c.offset) << c.name;
        EXPECT_EQ(ttl, c.ttl) << c.name;
    }
}

TEST(PingPacket, LookupStringsAndAddressFields) {
    const std::pair<const char*, const char*> lookups[] = {
        {"192.0.2.7", "7.2.0.192.in-addr.arpa"},
        {"", ".in-addr.arpa"},
    };
    for (const auto& [address, name] : lookups)
        EXPECT_EQ(makeDNSLookupString(address), name) << address;
    const std::pair<const char*, const char*> fields[] = {
        {"https://example.org", "example.org"},
        {"http://1.1.1.1", "1.1.1.1"},
        {"  1.0.0.1 \n", "1.0.0.1"},
        {"host.https://", "host."},
        {"http://", ""},
    };
    for (const auto& [field, cleaned] : fields)
        EXPECT_EQ(cleanedPingAddress(field), cleaned) << field;
}

TEST(PingReport, LinesAndSummaries) {
    EXPECT_EQ(resultLine(Value::dict({{"bytes", 64},
                                      {"address", "::1"},
                                      {"sequence", 2},
                                      {"ttl", 64},
                                      {"time", 0.0000519}})),
              "64 bytes from ::1: icmp_seq=2 ttl=64 time=0.052 ms");
    EXPECT_EQ(resultLine(Value::dict({{"timeout", true}, {"sequence", 3}})),
              "Request timeout for icmp_seq 3");
    const auto summary = [](std::int64_t sent, std::int64_t received, double total) {
        return summaryLines(Value::dict({{"sent", sent},
                                         {"received", received},
                                         {"totalTime", total},
                                         {"minimumTime", 0.001},
                                         {"maximumTime", 0.004}}));
    };
    // The loss is whole percent, rounded down; the average divides by the replies.
    EXPECT_EQ(summary(3, 1, 0.004), "3 packets transmitted, 1 packets received, 66% packet loss\n"
                                    "round-trip min/avg/max = 1.000/4.000/4.000 ms\n");
    EXPECT_EQ(summary(4, 0, 0), "4 packets transmitted, 0 packets received, 100% packet loss\n");
    EXPECT_EQ(summary(0, 0, 0), "0 packets transmitted, 0 packets received, 0% packet loss\n");
}

} // namespace
