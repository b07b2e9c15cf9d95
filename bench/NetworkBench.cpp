// One network update as the status-item process takes it every second: the counters of all
// interfaces read through kept descriptors and turned into rates per service; and the making
// of the store from rtnetlink after a change.
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/network/RtnetlinkMessages.h"
#include "collectors/network/RtnetlinkSource.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>
#include <fstream>
#include <iterator>

namespace {

using namespace corvane;

// A fixed store with a service on each interface of the recorded laptop.
class FixedStore final : public NetworkStoreSource {
public:
    NetworkStore store() override {
        Value s = Value::dict();
        Value order = Value::array();
        for (const char* name : {"eth0", "wlp2s0", "eth0.7"}) {
            order.append(name);
            s.set(std::string("Setup:/Network/Service/") + name + "/Interface",
                  Value::dict({{"DeviceName", name}, {"Hardware", "Ethernet"}}));
        }
        s.set("Setup:/Network/Global/IPv4", Value::dict({{"ServiceOrder", order}}));
        s.set("State:/Network/Global/IPv4",
              Value::dict({{"PrimaryService", "eth0"}, {"PrimaryInterface", "eth0"}}));
        return s;
    }
    std::optional<NetworkStatCollector::WifiNetwork> wifiNetwork(const std::string&) override {
        return std::nullopt;
    }
    void watch(ChangeHandler) override {}
    const char* name() const override { return "fixed"; }
};

void update(benchmark::State& state, NetworkStatCollector& net) {
    double id = 1;
    for (auto _ : state) {
        net.setID(id++, 0);
        net.updateStats();
    }
}

// Four interfaces of a recorded laptop, the loopback among them.
void BM_NetworkUpdateRecorded(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    NetworkStatCollectorLinux net(
        context, SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/net-laptop"),
        std::make_unique<FixedStore>());
    update(state, net);
}
BENCHMARK(BM_NetworkUpdateRecorded);

// The floor: what the kernel's part costs, /proc/net/dev and each interface's flags read
// through kept descriptors, nothing made of them.
void BM_NetDevFloor(benchmark::State& state) {
    SysRootFile netDev(SysRoot(), "/proc/net/dev");
    std::vector<std::unique_ptr<SysRootFile>> flags;
    for (const auto& line : network::parseNetDev(netDev.read().value_or("")))
        flags.push_back(
            std::make_unique<SysRootFile>(SysRoot(), "/sys/class/net/" + line.name + "/flags"));
    for (auto _ : state) {
        benchmark::DoNotOptimize(netDev.read());
        for (auto& file : flags)
            benchmark::DoNotOptimize(file->read());
    }
}
BENCHMARK(BM_NetDevFloor);

// This machine's interfaces and services from rtnetlink.
void BM_NetworkUpdateLive(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    NetworkStatCollectorLinux net(context, SysRoot(), std::make_unique<RtnetlinkSource>(SysRoot()));
    update(state, net);
}
BENCHMARK(BM_NetworkUpdateLive);

// What a change costs before the services are updated: a recorded dump parsed into the store.
void BM_NetlinkStore(benchmark::State& state) {
    std::ifstream file(std::string(CVB_FIXTURES_DIR) + "/net-rtnetlink-dump.bin", std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    for (auto _ : state) {
        network::NetlinkDump dump;
        network::parseNetlinkMessages(bytes, dump);
        benchmark::DoNotOptimize(network::storeFromNetlink(dump, {"10.0.0.53"}));
    }
}
BENCHMARK(BM_NetlinkStore);

// A change on this machine: the kernel asked for links, addresses and routes ...
void BM_NetlinkDumpLive(benchmark::State& state) {
    NetlinkSocket socket;
    for (auto _ : state)
        benchmark::DoNotOptimize(socket.dumpAll());
}
BENCHMARK(BM_NetlinkDumpLive);

// ... and the services updated from the store made of the answer.
void BM_NetworkServicesUpdate(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    NetworkStatCollectorLinux net(context, SysRoot(), std::make_unique<RtnetlinkSource>(SysRoot()));
    for (auto _ : state)
        net.networkStateChanged({"State:/Network/Interface"});
}
BENCHMARK(BM_NetworkServicesUpdate);

} // namespace

BENCHMARK_MAIN();
