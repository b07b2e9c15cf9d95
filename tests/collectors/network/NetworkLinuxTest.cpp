#include "collectors/network/LinuxInterfaces.h"
#include "collectors/network/NetworkAddressDisplay.h"
#include "collectors/network/RtnetlinkMessages.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <linux/if_addr.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

using namespace corvane;
using namespace corvane::network;
using Strings = std::vector<std::string>;

namespace {

const SysRoot kLaptop{std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/net-laptop"};

TEST(NetDev, LinesGiveSixtyFourBitCountersAndSkipWhatIsMalformed) {
    const auto lines =
        parseNetDev("Inter-|   Receive |  Transmit\n"
                    " face |bytes    packets|bytes\n"
                    "  eth0: 18446744073709551000 1 0 0 0 0 0 0 190669 2 0 0 0 0 0 0\n"
                    "  short: 1 2 3\n"
                    "  bad: x 1 0 0 0 0 0 0 5 2 0 0 0 0 0 0\n"
                    "wlan0:52000 40 0 0 0 0 0 0 8000 30 0 0 0 0 0 0\n"
                    ":1 2 3 4 5 6 7 8 9 10\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].name, "eth0");
    EXPECT_EQ(lines[0].received, 18446744073709551000ull);
    EXPECT_EQ(lines[0].sent, 190669u);
    EXPECT_EQ(lines[1].name, "wlan0"); // no blank after the colon once names are long
    EXPECT_EQ(lines[1].received, 52000u);
}

TEST(NetDev, ReaderTakesUpAndLoopbackFromTheFlags) {
    NetDevReader reader(kLaptop);
    for (int pass = 0; pass < 2; ++pass) { // the second read goes through the kept descriptors
        const auto counters = reader.read();
        ASSERT_TRUE(counters);
        std::string seen; // name, + when up, L when loopback
        for (const auto& c : *counters)
            seen += c.name + (c.up ? "+" : "") + (c.loopback ? "L " : " ");
        EXPECT_EQ(seen, "lo+L eth0+ wlp2s0+ eth0.7 ");
    }
    EXPECT_FALSE(NetDevReader(SysRoot("/nonexistent")).read());
}

TEST(InterfaceText, AddressesFlagsAndVlanParents) {
    const std::pair<const char*, std::optional<std::string>> macs[] = {
        {"52:54:00:ab:cd:ef\n", "52:54:00:AB:CD:EF"},
        {"00:00:00:00:00:00", std::nullopt},
        {"52:54:00:ab:cd", std::nullopt},
        {"52-54-00-ab-cd-ef", std::nullopt},
        {"52:54:00:ab:cd:eg", std::nullopt}};
    for (const auto& [text, mac] : macs)
        EXPECT_EQ(macAddress(text), mac) << text;

    const auto flags = parseIfInet6("fe8000000000000000fc00fffe000001 02 40 20 80     eth0\n"
                                    "fd00000000000000000000000000000 02 40 00 82 eth0\n"
                                    "zz000000000000000000000000000002 02 40 00 82 eth0\n");
    ASSERT_EQ(flags.size(), 1u);
    EXPECT_EQ(flags.at("fe80::fc:ff:fe00:1")["flags"].integerValue(), 0x80);
    EXPECT_EQ(flags.at("fe80::fc:ff:fe00:1")["scope"].integerValue(), 0x20);

    const auto vlans = parseVlanConfig("VLAN Dev name | VLAN ID\n"
                                       "Name-Type: VLAN_NAME_TYPE_RAW_PLUS_VID_NO_PAD\n"
                                       "eth0.7   | 7  | eth0\n"
                                       "odd | x | eth1\n");
    EXPECT_EQ(vlans, (std::map<std::string, std::string>{{"eth0.7", "eth0"}}));
    EXPECT_EQ(nameserversFromResolvConf("# x\nnameserver 10.0.0.53\nsearch lan\n"
                                        "nameserver fd00::53\nnameserver\n"),
              (Strings{"10.0.0.53", "fd00::53"}));
}

TEST(InterfaceText, FactsOfARecordedLaptop) {
    const auto facts = readInterfaceFacts(kLaptop);
    EXPECT_EQ(facts.macs.at("eth0"), "52:54:00:AB:CD:EF");
    EXPECT_FALSE(facts.macs.contains("lo"));
    EXPECT_EQ(facts.linkSpeeds.at("eth0"), 1000);
    EXPECT_EQ(facts.linkSpeeds.at("wlp2s0"), 0); // -1 while down
    EXPECT_EQ(facts.mediaOptions.at("eth0")["duplex"].stringValue(), "full");
    EXPECT_EQ(facts.vlanMap.at("eth0.7"), "eth0");
    EXPECT_EQ(facts.ipv6AddressFlags.at("fd00::2")["flags"].integerValue(), 0x82);
}

// The recorded Wi-Fi interface has one address of each kind, recorded in a namespace with
// use_tempaddr=2: a stable /64 with mngtmpaddr and its temporary twin, an EUI-64 /64, a DHCPv6
// /128, a deprecated /64, a static ULA and the kernel's link-local address.
Value recordedIPv6Flags() {
    Value flags = Value::dict();
    for (const auto& [address, facts] : readInterfaceFacts(kLaptop).ipv6AddressFlags)
        flags.set(address, facts);
    return flags;
}

TEST(IPv6Addresses, RecordedAddressesSortIntoKinds) {
    using Kind = IPv6AddressKind;
    const Value flags = recordedIPv6Flags();
    const std::tuple<const char*, Kind, bool> cases[] = {
        {"2001:db8:1:0:a1b2:c3d4:e5f6:789a", Kind::Secured, false},
        {"2001:db8:1:0:9c3e:1d2f:4a5b:6c7d", Kind::Secured, true},
        {"2001:db8:1:0:ab77:d8a1:75fc:2ee5", Kind::Temporary, false},
        {"2001:db8:1:0:5254:ff:feab:cdef", Kind::Dynamic, false},
        {"2001:DB8:1:0::1000", Kind::Dynamic, false}, // another spelling of the lease
        {"fd12:3456:789a:1::20", Kind::Other, false},
        {"fe80::1c6b:dcff:fe8e:fe98", Kind::Other, false},
        {"fe80::fc:ff:fe00:1%eth0", Kind::Other, false},
        {"2001:db8:9::1", Kind::Other, false}, // not listed by the kernel
        {"not an address", Kind::Other, false}};
    for (const auto& [address, kind, deprecated] : cases) {
        const auto facts = ipv6AddressFacts(flags, address);
        EXPECT_EQ(ipv6AddressKind(address, facts), kind) << address;
        EXPECT_EQ(isDeprecated(facts), deprecated) << address;
    }
    EXPECT_EQ(ipv6AddressFacts(flags, "2001:db8:1::1000").prefix, 128);
}

TEST(IPv6Addresses, SettingsChooseWhichAddressesShowAndHow) {
    const Value flags = recordedIPv6Flags();
    const std::string link = "fe80::1c6b:dcff:fe8e:fe98",
                      stable = "2001:db8:1:0:a1b2:c3d4:e5f6:789a",
                      old = "2001:db8:1:0:9c3e:1d2f:4a5b:6c7d", lease = "2001:db8:1::1000",
                      temporary = "2001:db8:1:0:ab77:d8a1:75fc:2ee5";
    const Value service =
        Value::dict({{"ipv4", Value::array({"192.168.1.20", "10.0.0.5"})},
                     {"subnet", Value::array({"255.255.255.0", "255.0.0.0"})},
                     {"ipv6", Value::array({link, stable, old, lease, temporary})}});
    const std::vector<std::pair<Value, Strings>> cases{
        {Value::dict(),
         {"IPv4: 192.168.1.20 10.0.0.5", "Subnet Mask: 255.255.255.0 255.0.0.0",
          "IPv6: " + link + " " + stable + " " + lease + " " + temporary}},
        {Value::dict({{"Network_IPV4AddressMode", 1}, {"Network_IPV6AddressMode", 1}}),
         {"IPv4: 192.168.1.20/24 10.0.0.5/8",
          "IPv6: " + link + "/64 " + stable + "/64 " + lease + "/128 " + temporary + "/64"}},
        {Value::dict({{"Network_IPV6Group", 1}, {"Network_IPV6ShowDeprecated", 1}}),
         {"IPv4: 192.168.1.20 10.0.0.5", "Subnet Mask: 255.255.255.0 255.0.0.0",
          "IPv6 (Secured): " + stable + " " + old, "IPv6 (Dynamic): " + lease,
          "IPv6 (Temporary): " + temporary, "IPv6 (Other): " + link}},
        {Value::dict({{"Network_IPV6ShowSecured", 0},
                      {"Network_IPV6ShowDynamic", 0},
                      {"Network_IPV6ShowOther", 0},
                      {"Network_IPV6ShowDeprecated", 1}}),
         {"IPv4: 192.168.1.20 10.0.0.5", "Subnet Mask: 255.255.255.0 255.0.0.0",
          "IPv6: " + temporary}},
    };
    for (const auto& [settings, expected] : cases) {
        const auto display = NetworkAddressDisplay::fromSettings(
            [&settings](std::string_view key) { return settings[key]; });
        Strings seen;
        for (const auto& line : display.lines(service, flags)) {
            std::string text = line.label + ":";
            for (const auto& address : line.addresses)
                text += " " + address;
            seen.push_back(text);
        }
        EXPECT_EQ(seen, expected) << settings;
    }
    // A mask that is no prefix keeps its own line rather than a wrong length.
    Value oddMask = Value::dict(
        {{"ipv4", Value::array({"10.1.2.3"})}, {"subnet", Value::array({"255.0.255.0"})}});
    NetworkAddressDisplay withPrefixes;
    withPrefixes.ipv4Mode = NetworkAddressDisplay::AddressWithPrefix;
    const auto lines = withPrefixes.lines(oddMask, flags);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].addresses, Strings{"10.1.2.3"});
    EXPECT_EQ(lines[1].label, "Subnet Mask");
}

std::vector<std::uint8_t> recordedDump() {
    std::ifstream file(std::string(CVB_FIXTURES_DIR) + "/net-rtnetlink-dump.bin", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A namespace with a veth pair v0 (10.9.0.2/24, fd09::2/64, default routes) and v1 (no address).
TEST(Rtnetlink, RecordedDumpGivesLinksAddressesAndDefaultRoutes) {
    const auto bytes = recordedDump();
    ASSERT_FALSE(bytes.empty());
    NetlinkDump dump;
    parseNetlinkMessages(bytes, dump);
    EXPECT_TRUE(dump.done);
    EXPECT_FALSE(dump.error);
    ASSERT_EQ(dump.links.size(), 3u);
    EXPECT_EQ(dump.links[1].name, "v1");
    EXPECT_EQ(dump.links[2].name, "v0");
    EXPECT_EQ(dump.links[2].kind, "veth");
    EXPECT_EQ(dump.links[2].mac, "02:00:00:00:00:0A");
    ASSERT_EQ(dump.routes.size(), 2u);

    const NetworkStore store = storeFromNetlink(dump, {"10.9.0.53"});
    const Value order = store["Setup:/Network/Global/IPv4"]["ServiceOrder"];
    ASSERT_EQ(order.size(), 2u); // the loopback has no service
    const std::string v0 = order[0].stringValue();
    EXPECT_EQ(v0, serviceKeyForLink(dump.links[2])); // the routed link comes first
    EXPECT_EQ(store["State:/Network/Global/IPv4"]["PrimaryInterface"].stringValue(), "v0");
    const auto state = [&](const char* entity) {
        return store["State:/Network/Service/" + v0 + entity];
    };
    EXPECT_EQ(state("/IPv4")["Addresses"][0].stringValue(), "10.9.0.2");
    EXPECT_EQ(state("/IPv4")["SubnetMasks"][0].stringValue(), "255.255.255.0");
    EXPECT_EQ(state("/IPv4")["Router"].stringValue(), "10.9.0.1");
    EXPECT_EQ(state("/IPv6")["Router"].stringValue(), "fd09::1");
    EXPECT_EQ(state("/DNS")["ServerAddresses"][0].stringValue(), "10.9.0.53");
    // Added by hand: permanent.
    EXPECT_EQ(store["Setup:/Network/Service/" + v0 + "/IPv4"]["ConfigMethod"].stringValue(),
              "Manual");
    EXPECT_TRUE(store["State:/Network/Interface/v0/Link"]["Active"].boolValue());

    // Every cut of the recording parses what came before it and never more.
    for (std::size_t cut = 0; cut < bytes.size(); cut += 7) {
        NetlinkDump partial;
        parseNetlinkMessages(std::span(bytes).first(cut), partial);
        EXPECT_LE(partial.links.size(), 3u);
    }
}

TEST(Rtnetlink, ServiceKeysStayForTheSameHardware) {
    NetlinkLink a, other;
    a.name = other.name = "eth0";
    a.permanentMac = "52:54:00:AB:CD:EF";
    NetlinkLink renamed = a;
    renamed.name = "enp1s0";
    renamed.index = 7;
    EXPECT_EQ(serviceKeyForLink(a), serviceKeyForLink(renamed));
    EXPECT_NE(serviceKeyForLink(a), serviceKeyForLink(other));
    EXPECT_EQ(serviceKeyForLink(a).size(), 36u);
}

// One RTM_NEWADDR or RTM_DELADDR of 10.1.0.5/16, as the kernel sends it to listeners.
std::vector<std::uint8_t> addressMessage(std::uint16_t type, int index) {
    struct {
        nlmsghdr header;
        ifaddrmsg info;
        rtattr attribute;
        std::uint8_t address[4];
    } message{};
    static_assert(sizeof message == NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(ifaddrmsg)) + RTA_SPACE(4));
    message.header = {sizeof message, type, 0, 0, 0};
    message.info = {AF_INET, 16, 0, 0, static_cast<std::uint32_t>(index)};
    message.attribute = {RTA_LENGTH(4), IFA_LOCAL};
    std::memcpy(message.address, "\x0a\x01\x00\x05", 4);
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&message);
    return {bytes, bytes + sizeof message};
}

TEST(Rtnetlink, EventsAddAndRemoveAddresses) {
    NetlinkDump dump;
    parseNetlinkMessages(recordedDump(), dump);
    const int v1 = dump.links[1].index;
    parseNetlinkMessages(addressMessage(RTM_NEWADDR, v1), dump);
    parseNetlinkMessages(addressMessage(RTM_NEWADDR, v1), dump); // repeated: once
    const NetworkStore store = storeFromNetlink(dump, {});
    const std::string key = serviceKeyForLink(dump.links[1]);
    EXPECT_EQ(store["State:/Network/Service/" + key + "/IPv4"]["Addresses"].size(), 1u);
    EXPECT_EQ(store["State:/Network/Service/" + key + "/IPv4"]["SubnetMasks"][0].stringValue(),
              "255.255.0.0");
    EXPECT_EQ(store["Setup:/Network/Service/" + key + "/IPv4"]["ConfigMethod"].stringValue(),
              "DHCP"); // no permanent flag: leased

    parseNetlinkMessages(addressMessage(RTM_DELADDR, v1), dump);
    EXPECT_FALSE(storeFromNetlink(dump, {}).contains("State:/Network/Service/" + key + "/IPv4"));
}

} // namespace
