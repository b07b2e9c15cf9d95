#pragma once

#include "collectors/ping/PingItemBase.h"

#include <string>
#include <sys/socket.h>
#include <vector>

namespace corvane {

// Pings a host a number of times at a steady interval, over IPv4 when the name has an IPv4
// address, else over IPv6.
class HLVPingItem final : public PingItemBase {
public:
    using PingItemBase::PingItemBase;
    ~HLVPingItem() override { stopAndWait(); }

    void run(const std::string& host) override;

    // Resolves the host: 0 with `hostAddress` and `socketMode` (AF_INET wins over AF_INET6),
    // -1 when the name has no usable address.
    int lookupAddress(const std::string& name);

    // Drains the open socket for a tenth of a second: the distinct sources of the replies to
    // the current packet, as for a broadcast ping, in order of arrival.
    std::vector<std::string> readResponses();

    std::int64_t socketMode = 0;
    sockaddr_storage hostAddress{};
    socklen_t hostAddressLength = 0;

private:
    // 0, or the errno that ended the wait.
    int waitForResponse(double seconds);
    ping::Bytes nextPacket() const;
    void failed(const std::string& error);
    void tellTimeout();
};

} // namespace corvane
