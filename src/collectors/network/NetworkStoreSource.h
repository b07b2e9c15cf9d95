#pragma once

#include "collectors/network/NetworkServices.h"
#include "collectors/network/NetworkStatCollector.h"

#include <functional>
#include <optional>
#include <string>

namespace corvane {

// Where the configuration store comes from on Linux: NetworkManager, or rtnetlink without it.
// A source keeps the store it read last and reads again after it noticed a change.
class NetworkStoreSource {
public:
    using ChangeHandler = std::function<void(const std::vector<std::string>& keys)>;

    virtual ~NetworkStoreSource() = default;
    virtual NetworkStore store() = 0;
    virtual Value extendedStatus(const std::string& /*service*/) { return {}; }
    virtual std::optional<NetworkStatCollector::WifiNetwork>
    wifiNetwork(const std::string& bsd) = 0;
    // Calls `changed` on the main context whenever the system's networks change.
    virtual void watch(ChangeHandler changed) = 0;
    virtual const char* name() const = 0;
};

} // namespace corvane
