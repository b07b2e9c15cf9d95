#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// The ICMP echo messages of the ping and the checks on what comes back.
namespace ping {

inline constexpr std::uint8_t kEchoRequest = 8;
inline constexpr std::uint8_t kEchoReply = 0;
inline constexpr std::uint8_t kEchoRequest6 = 128;
inline constexpr std::uint8_t kEchoReply6 = 129;
inline constexpr std::size_t kHeaderSize = 8;
inline constexpr std::size_t kPayloadSize = 56;
inline constexpr std::int64_t kSequenceWrap = 0x10000;

using Bytes = std::vector<std::uint8_t>;

// The Internet checksum (RFC 1071) of the bytes, as stored big-endian in the header.
std::uint16_t internetChecksum(std::span<const std::uint8_t> bytes);

// An echo request of `type` with a big-endian identifier and sequence and the 56-byte payload
// text; the checksum is filled when required (IPv4) and left 0 otherwise (the kernel fills it
// for ICMPv6).
Bytes pingPacketWithType(std::uint8_t type, std::uint16_t identifier, std::uint16_t sequence,
                         bool requiresChecksum);

// The 56-byte payload: "%28zd bottles of beer on the wall" of 99 - sequence % 100, cut to
// fit its NUL.
std::string payloadText(std::uint16_t sequence);

// Whether an ICMP message (without any IP header) is the echo reply to this identifier and
// sequence. IPv4 replies must carry a correct checksum; the kernel has checked ICMPv6 ones.
bool validatePingResponsePacket(std::span<const std::uint8_t> message, std::uint16_t identifier,
                                std::int64_t sequence, bool ipv6);

// Offset of the ICMP header in a raw IPv4 datagram (version 4, protocol ICMP, at least 28
// bytes, and room for the ICMP header behind the IP header), with the TTL; nullopt otherwise.
std::optional<std::size_t> icmpHeaderOffsetInIPv4Packet(std::span<const std::uint8_t> datagram,
                                                        int& ttl);

// "7.2.0.192.in-addr.arpa" for "192.0.2.7".
std::string makeDNSLookupString(std::string_view address);

// The address field's text without "https://", "http://" and surrounding blanks.
std::string cleanedPingAddress(std::string_view text);

} // namespace ping
} // namespace corvane
