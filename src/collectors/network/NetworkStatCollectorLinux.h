#pragma once

#include "collectors/network/LinuxInterfaces.h"
#include "collectors/network/NetworkStatCollector.h"
#include "collectors/network/NetworkStoreSource.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <memory>

namespace corvane {

// The network services from a store source (NetworkManager, else rtnetlink), the counters from
// /proc/net/dev and the interface facts from sysfs.
class NetworkStatCollectorLinux final : public NetworkStatCollector {
public:
    NetworkStatCollectorLinux(const EngineContext& context, SysRoot root,
                              std::unique_ptr<NetworkStoreSource> source);

    static NetworkStatCollectorLinux& sharedNetworkCollector(const EngineContext& context);
    static void cleanupShared();
    // NetworkManager when it runs on the system bus, else rtnetlink.
    static std::unique_ptr<NetworkStoreSource> defaultSource(const SysRoot& root);

    // Follows the source's changes from now on.
    void watchChanges();
    const NetworkStoreSource& source() const { return *source_; }

protected:
    NetworkStore readStore() override { return source_->store(); }
    Value extendedStatus(const std::string& service) override {
        return source_->extendedStatus(service);
    }
    std::optional<std::vector<InterfaceCounters>> readCounters() override {
        return counters_.read();
    }
    InterfaceFacts readInterfaceFacts() override { return network::readInterfaceFacts(root_); }
    std::optional<WifiNetwork> wifiNetwork(const std::string& bsd) override {
        return source_->wifiNetwork(bsd);
    }
    double systemUptime() const override;

private:
    SysRoot root_;
    std::unique_ptr<NetworkStoreSource> source_;
    network::NetDevReader counters_;
};

} // namespace corvane
