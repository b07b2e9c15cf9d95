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

TEST(PingPacket, EchoRequestLayout) {
    const Bytes packet = pingPacketWithType(kEchoRequest, 0x1234, 0x0102, true);
    ASSERT_EQ(packet.size(), 64u);
    EXPECT_EQ(packet[0], 8);
    EXPECT_EQ(packet[1], 0);
    EXPECT_EQ(packet[4], 0x12);
    EXPECT_EQ(packet[5], 0x34);
    EXPECT_EQ(packet[6], 0x01);
    EXPECT_EQ(packet[7], 0x02);
    // 0x0102 = 258: 99 - 58 = 41 bottles, right-aligned in 28 columns.
    const std::string payload(packet.begin() + 8, packet.end());
    EXPECT_EQ(payload.substr(0, 28), std::string(26, ' ') + "41");
    EXPECT_EQ(payload.substr(28, 27), " bottles of beer on the wal");
    EXPECT_EQ(payload.back(), '\0');
    // A checksum over an intact message sums to zero.
    EXPECT_EQ(internetChecksum(packet), 0);
    const Bytes six = pingPacketWithType(kEchoRequest6, 0x1234, 1, false);
    EXPECT_EQ(six[0], 128);
    EXPECT_EQ(six[2] | six[3], 0) << "the kernel fills the ICMPv6 checksum";
}

TEST(PingPacket, ChecksumOfKnownBytes) {
    // RFC 1071's example: the one's complement sum of these words is 0xddf2.
    const Bytes words{0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    EXPECT_EQ(internetChecksum(words), static_cast<std::uint16_t>(~0xddf2));
    EXPECT_EQ(internetChecksum(Bytes{0xab}), static_cast<std::uint16_t>(~0xab00))
        << "an odd byte is the high half of a word";
}

struct ValidationCase {
    const char* name;
    std::function<void(Bytes&)> change;
    std::uint16_t identifier;
    std::int64_t sequence;
    bool valid;
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
    };
    for (const auto& c : cases) {
        Bytes reply = good;
        c.change(reply);
        EXPECT_EQ(validatePingResponsePacket(reply, c.identifier, c.sequence, false), c.valid)
            << c.name;
    }
}

TEST(PingPacket, ValidatesIPv6RepliesWithoutChecksum) {
    Bytes reply = pingPacketWithType(kEchoRequest6, 0x0a0b, 0, false);
    EXPECT_FALSE(validatePingResponsePacket(reply, 0x0a0b, 0, true)) << "a request";
    reply[0] = kEchoReply6;
    EXPECT_TRUE(validatePingResponsePacket(reply, 0x0a0b, 0, true));
    EXPECT_FALSE(validatePingResponsePacket(reply, 0x0a0b, 1, true));
}

TEST(PingPacket, FindsTheIcmpHeaderInRawDatagrams) {
    struct Case {
        const char* name;
        Bytes datagram;
        std::optional<std::size_t> offset;
        int ttl;
    };
    Bytes plain(28, 0);
    plain[0] = 0x45; // version 4, 5 words
    plain[8] = 57;
    plain[9] = 1;
    Bytes options = plain;
    options[0] = 0x46;
    options.resize(32);
    Bytes udp = plain;
    udp[9] = 17;
    Bytes six = plain;
    six[0] = 0x65;
    Bytes tiny = plain;
    tiny[0] = 0x44;
    const Case cases[] = {
        {"20-byte header", plain, 20, 57},
        {"with options", options, 24, 57},
        {"options but no room for ICMP", Bytes(options.begin(), options.begin() + 28), {}, -1},
        {"not ICMP", udp, {}, -1},
        {"not version 4", six, {}, -1},
        {"header length below 20", tiny, {}, -1},
        {"too short", Bytes(plain.begin(), plain.begin() + 27), {}, -1},
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
        {"10.0.0.1", "1.0.0.10.in-addr.arpa"},
        {"example", "example.in-addr.arpa"},
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
