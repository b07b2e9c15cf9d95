#include "collectors/ping/PingPacket.h"

#include <cstdio>

namespace corvane::ping {

namespace {

std::uint16_t readBigEndian16(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

void writeBigEndian16(Bytes& bytes, std::size_t at, std::uint16_t value) {
    bytes[at] = static_cast<std::uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<std::uint8_t>(value & 0xff);
}

} // namespace

std::uint16_t internetChecksum(std::span<const std::uint8_t> bytes) {
    std::uint32_t sum = 0;
    std::size_t at = 0;
    for (; at + 1 < bytes.size(); at += 2)
        sum += readBigEndian16(bytes, at);
    if (at < bytes.size())
        sum += static_cast<std::uint32_t>(bytes[at]) << 8; // an odd byte is padded with zero
    while (sum >> 16)
        sum = (sum & 0xffff) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum & 0xffff);
}

std::string payloadText(std::uint16_t sequence) {
    // The text is 56 characters; in a 56-byte field its last one gives way to the NUL.
    char text[64] = {};
    std::snprintf(text, sizeof text, "%28zd bottles of beer on the wall",
                  static_cast<std::ptrdiff_t>(99 - sequence % 100));
    std::string payload(text, kPayloadSize);
    payload.back() = '\0';
    return payload;
}

Bytes pingPacketWithType(std::uint8_t type, std::uint16_t identifier, std::uint16_t sequence,
                         bool requiresChecksum) {
    Bytes packet(kHeaderSize);
    packet[0] = type;
    writeBigEndian16(packet, 4, identifier);
    writeBigEndian16(packet, 6, sequence);
    const std::string payload = payloadText(sequence);
    packet.insert(packet.end(), payload.begin(), payload.end());
    if (requiresChecksum)
        writeBigEndian16(packet, 2, internetChecksum(packet));
    return packet;
}

bool validatePingResponsePacket(std::span<const std::uint8_t> message, std::uint16_t identifier,
                                std::int64_t sequence, bool ipv6) {
    if (message.size() < kHeaderSize)
        return false;
    // Summing a message with its own checksum in place gives 0 exactly when it is intact.
    if (!ipv6 && internetChecksum(message) != 0)
        return false;
    const std::uint8_t reply = ipv6 ? kEchoReply6 : kEchoReply;
    return message[0] == reply && message[1] == 0 && readBigEndian16(message, 4) == identifier &&
           readBigEndian16(message, 6) == sequence;
}

std::optional<std::size_t> icmpHeaderOffsetInIPv4Packet(std::span<const std::uint8_t> datagram,
                                                        int& ttl) {
    constexpr std::size_t kMinimum = 20 + kHeaderSize;
    if (datagram.size() < kMinimum || datagram[0] >> 4 != 4 || datagram[9] != 1)
        return std::nullopt;
    const std::size_t headerLength = static_cast<std::size_t>(datagram[0] & 0x0f) * 4;
    if (headerLength < 20 || datagram.size() < headerLength + kHeaderSize)
        return std::nullopt;
    ttl = datagram[8];
    return headerLength;
}

std::string makeDNSLookupString(std::string_view address) {
    std::string name;
    std::size_t end = address.size();
    while (true) {
        const std::size_t dot = address.rfind('.', end == 0 ? 0 : end - 1);
        const std::size_t start = (dot == std::string_view::npos || end == 0) ? 0 : dot + 1;
        name.append(address.substr(start, end - start)).push_back('.');
        if (start == 0)
            break;
        end = dot;
    }
    return name + "in-addr.arpa";
}

std::string cleanedPingAddress(std::string_view field) {
    std::string cleaned(field);
    for (std::string_view scheme : {"https://", "http://"}) {
        for (auto at = cleaned.find(scheme); at != std::string::npos; at = cleaned.find(scheme))
            cleaned.erase(at, scheme.size());
    }
    const std::string_view text = cleaned;
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return std::string(text.substr(first, last - first + 1));
}

} // namespace corvane::ping
