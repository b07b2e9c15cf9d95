#include "collectors/network/NetworkStatCollectorLinux.h"

#include "collectors/network/NetworkManagerSource.h"
#include "collectors/network/RtnetlinkSource.h"
#include "foundation/TextParsing.h"

namespace corvane {

namespace {

std::unique_ptr<NetworkStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<NetworkStatCollectorLinux> instance;
    return instance;
}

} // namespace

NetworkStatCollectorLinux::NetworkStatCollectorLinux(const EngineContext& context, SysRoot root,
                                                     std::unique_ptr<NetworkStoreSource> source)
    : NetworkStatCollector(context)
    , root_(std::move(root))
    , source_(std::move(source))
    , counters_(root_) {
    start();
}

NetworkStatCollectorLinux&
NetworkStatCollectorLinux::sharedNetworkCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance) {
        SysRoot root = SysRoot::fromEnvironment();
        auto source = defaultSource(root);
        instance = std::make_unique<NetworkStatCollectorLinux>(context, root, std::move(source));
        instance->watchChanges();
    }
    return *instance;
}

void NetworkStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

std::unique_ptr<NetworkStoreSource> NetworkStatCollectorLinux::defaultSource(const SysRoot& root) {
    if (root.isLive() && NetworkManagerSource::running(nullptr))
        return std::make_unique<NetworkManagerSource>(nullptr, root);
    return std::make_unique<RtnetlinkSource>(root);
}

void NetworkStatCollectorLinux::watchChanges() {
    source_->watch([this](const std::vector<std::string>& keys) { networkStateChanged(keys); });
}

double NetworkStatCollectorLinux::systemUptime() const {
    const auto text = root_.readFile("/proc/uptime", 256);
    return text ? static_cast<double>(leadingInteger(*text)) : 0.0;
}

} // namespace corvane
