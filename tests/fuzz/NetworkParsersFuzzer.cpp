// The network readers: kernel text of any version, netlink messages as the kernel or a hostile
// sender may make them, and NetworkManager's answers as dictionaries. The first byte picks the
// reader, the rest is its input.
#include "collectors/network/LinuxInterfaces.h"
#include "collectors/network/NetworkManagerStore.h"
#include "collectors/network/RtnetlinkMessages.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

using namespace corvane;
using namespace corvane::network;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    if (size == 0)
        return 0;
    const std::span<const std::uint8_t> bytes(data + 1, size - 1);
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    switch (data[0] % 6) {
    case 0:
        parseNetDev(text);
        break;
    case 1:
        parseIfInet6(text);
        break;
    case 2:
        parseVlanConfig(text);
        macAddress(text);
        break;
    case 3:
        nameserversFromResolvConf(text);
        break;
    case 4: {
        // The store is made from whatever the messages left, as the source does.
        NetlinkDump dump;
        parseNetlinkMessages(bytes, dump);
        storeFromNetlink(dump, {"10.0.0.53"});
        break;
    }
    default:
        storeFromNetworkManager(readPropertyList(text, "fuzz"));
    }
    return 0;
}
