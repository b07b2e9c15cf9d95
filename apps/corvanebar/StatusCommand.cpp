#include "StatusCommand.h"

#include "StatusReport.h"
#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/disks/DiskSystem.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"

#include <glib.h>
#include <iostream>

void addStatusCommand(CLI::App& app, StatusOptions& o) {
    o.command =
        app.add_subcommand("status", "Print this machine's processor load, load averages, memory, "
                                     "power sources, boot volume, network and sensors");
    o.command->add_flag("--watch", o.watch, "Run the one-second cycle and print a line a second");
    o.command->add_flag("--json", o.json, "Print the sample dictionaries as JSON");
}

namespace {

int watch(corvane::GLibMainQueue& queue, const corvane::StatusSources& s, bool json) {
    if (s.cpu.logicalCores().empty()) {
        std::cerr << "corvanebar status: the processors' counters cannot be read\n";
        return 1;
    }
    queue.quitOnTermination();
    corvane::StatusWatch printer(s.cpu, s.load, std::cout, json, [&queue] { queue.quit(); });
    queue.run();
    return printer.outputFailed() ? 1 : 0;
}

} // namespace

int runStatus(const StatusOptions& o) {
    // A file the machine lacks is said in the report; the details belong in the log.
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    const corvane::EngineContext context{queue, corvane::kSettingsTierCount, nullptr};
    const corvane::StatusSources sources{
        corvane::CPUStatCollectorLinux::sharedCPUCollector(context),
        corvane::LoadStatCollectorLinux::sharedLoadCollector(context),
        corvane::MemoryStatCollectorLinux::sharedMemoryCollector(context),
        corvane::BatteryStatCollectorLinux::sharedBatteryCollector(context)};
    std::optional<corvane::BootVolumeStatus> boot;
    std::unique_ptr<corvane::SensorsStatCollectorLinux> sensors;
    corvane::TextCaches caches;
    const corvane::TextContext text = caches.with(corvane::CVBPreferences::sharedPreferences());
    std::optional<corvane::SensorsStatus> sensorsStatus;
    if (!o.watch) {
        sensors =
            corvane::SensorsStatCollectorLinux::make(context, corvane::SysRoot::fromEnvironment());
        sensorsStatus.emplace(*sensors, text, corvane::SensorsStatus::Scope::defaults);
        auto& disks = corvane::DiskSystem::shared(context);
        disks.manager().diskEvent();
        const corvane::StatvfsSpaceReader reader(corvane::SysRoot::fromEnvironment());
        boot.emplace(disks.disks(), reader);
    }
    const int status =
        o.watch ? watch(queue, sources, o.json)
                : corvane::printStatus(
                      sources, [] { g_usleep(G_USEC_PER_SEC); }, std::cout, std::cerr, o.json,
                      boot ? &*boot : nullptr,
                      &corvane::NetworkStatCollectorLinux::sharedNetworkCollector(context),
                      sensorsStatus ? &*sensorsStatus : nullptr);
    corvane::DiskSystem::cleanupShared();
    corvane::NetworkStatCollectorLinux::cleanupShared();
    corvane::CPUStatCollectorLinux::cleanupShared();
    corvane::LoadStatCollectorLinux::cleanupShared();
    corvane::MemoryStatCollectorLinux::cleanupShared();
    corvane::BatteryStatCollectorLinux::cleanupShared();
    return status;
}
