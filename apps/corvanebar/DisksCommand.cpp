#include "DisksCommand.h"

#include "collectors/disks/DiskSystem.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "text/TextContext.h"
#include "text/ValueFormatters.h"

#include <condition_variable>
#include <glib.h>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>

using corvane::DiskManager;
using corvane::DiskStructureGroup;
using corvane::Value;

void addDisksCommand(CLI::App& app, DisksOptions& o) {
    o.command = app.add_subcommand(
        "disks", "Print the disks and volumes: space of each volume and activity of each disk");
    o.command->add_flag("--json", o.json, "Print the groups, volumes and disks as JSON");
    o.command->add_flag("--watch", o.watch,
                        "Print the disks' rates once a second, and the volumes when they change");
}

namespace {

// How long the command waits for a filesystem's answer; a hung server shows no figures.
constexpr auto kSpaceWait = std::chrono::seconds(2);

// Reads the space of every measurable volume at once, each on its own thread, and takes what
// came back in time.
void readSpace(corvane::DisksStatCollector& disks,
               std::shared_ptr<const corvane::VolumeSpaceReader> reader) {
    struct Shared {
        std::mutex mutex;
        std::condition_variable done;
        std::size_t pending = 0;
        std::map<std::string, std::optional<corvane::VolumeSpace>> answers;
    };
    auto shared = std::make_shared<Shared>();
    std::vector<std::string> paths;
    for (const auto& volume : disks.volumes()) {
        if (volume->mounted && volume->type != corvane::VolumeDiskImage &&
            volume->type != corvane::VolumeOptical)
            paths.push_back(volume->path);
    }
    shared->pending = paths.size();
    for (const std::string& path : paths) {
        std::thread([shared, reader, path] {
            auto space = reader->read(path);
            std::lock_guard lock(shared->mutex);
            shared->answers[path] = space;
            --shared->pending;
            shared->done.notify_all();
        }).detach();
    }
    std::unique_lock lock(shared->mutex);
    shared->done.wait_for(lock, kSpaceWait, [&] { return shared->pending == 0; });
    for (const auto& volume : disks.volumes()) {
        if (const auto found = shared->answers.find(volume->path);
            volume->mounted && found != shared->answers.end())
            volume->applySpace(found->second, 0);
    }
}

std::string groupTitle(const DiskStructureGroup& group) {
    if (group.bsd == "_network")
        return "Network";
    if (group.bsd == "_removable")
        return "Removable and images";
    if (group.bsd == "_notmounted")
        return "Not mounted";
    if (!group.physicalDiskName || *group.physicalDiskName == group.bsd)
        return group.bsd;
    return *group.physicalDiskName + " (" + group.bsd + ")";
}

Value volumeValue(const corvane::DiskStatCollectorItem& v) {
    return Value::dict({{"key", v.key()},
                        {"name", v.name},
                        {"bsd", v.bsd},
                        {"path", v.path},
                        {"type", v.type},
                        {"kind", v.typeText()},
                        {"mounted", v.mounted},
                        {"ejectable", v.ejectable},
                        {"size", v.storageSize},
                        {"used", v.storageUsed},
                        {"available", v.storageFree},
                        {"percentage", v.storagePercentage}});
}

Value activityValue(const corvane::DiskActivityStatCollectorItem& d) {
    return Value::dict({{"bsd", d.bsd},
                        {"serial", d.serial},
                        {"name", d.name},
                        {"kind", d.hardwareType},
                        {"read", d.read},
                        {"write", d.write},
                        {"readIOPS", d.readIOPS},
                        {"writeIOPS", d.writeIOPS}});
}

Value treeValue(const DiskManager& manager) {
    Value groups = Value::array();
    for (const DiskStructureGroup& group : manager.stucture()) {
        Value volumes = Value::array();
        for (const auto& partition : group.partitions)
            volumes.append(volumeValue(*partition.collector));
        Value activity = Value::array();
        for (const auto& disk : group.activityCollectors)
            activity.append(activityValue(*disk));
        groups.append(Value::dict({{"group", group.bsd},
                                   {"type", group.type},
                                   {"title", groupTitle(group)},
                                   {"volumes", volumes},
                                   {"disks", activity}}));
    }
    Value disks = Value::array();
    for (const auto& disk : manager.activity().disks())
        disks.append(activityValue(*disk));
    return Value::dict({{"groups", groups}, {"disks", disks}});
}

std::string rates(const corvane::TextContext& text,
                  const corvane::DiskActivityStatCollectorItem& d) {
    return d.bsd + " read " + corvane::formattedDiskActivity(text, d.read) + " write " +
           corvane::formattedDiskActivity(text, d.write);
}

void printTree(const DiskManager& manager, const corvane::TextContext& text) {
    for (const DiskStructureGroup& group : manager.stucture()) {
        std::cout << groupTitle(group) << "\n";
        for (const auto& partition : group.partitions) {
            const auto& v = *partition.collector;
            std::cout << "  " << v.name << "  " << (v.path.empty() ? "-" : v.path) << "  " << v.bsd
                      << "  " << v.typeText() << (v.mounted ? "" : "  not mounted") << "\n";
            if (v.hasSizes)
                std::cout << "    Size " << corvane::formattedSpace(text, v.storageSize)
                          << "  Used " << corvane::formattedSpace(text, v.storageUsed)
                          << "  Available " << corvane::formattedSpace(text, v.storageFree) << "  "
                          << corvane::formattedPercentage(text, 0, v.storagePercentage) << "\n";
        }
        for (const auto& disk : group.activityCollectors)
            std::cout << "  Activity  " << rates(text, *disk) << "\n";
    }
}

void sampleActivity(corvane::DiskActivityStatCollector& activity) {
    activity.setID(activity.idForInterval(0) + 1, 0);
    activity.updateStats();
}

class TreePrinter final : public corvane::DiskManagerDelegate {
public:
    TreePrinter(corvane::DiskSystem& system, const corvane::TextContext& text, bool json)
        : system_(system)
        , text_(text)
        , json_(json) {}
    void diskManagedUpdated() override {
        readSpace(system_.disks(), reader_);
        if (json_)
            std::cout << corvane::toJson(treeValue(system_.manager())) << std::endl;
        else
            printTree(system_.manager(), text_);
    }

private:
    corvane::DiskSystem& system_;
    const corvane::TextContext& text_;
    bool json_;
    std::shared_ptr<const corvane::VolumeSpaceReader> reader_ =
        std::make_shared<corvane::StatvfsSpaceReader>(corvane::SysRoot::fromEnvironment());
};

int watch(corvane::GLibMainQueue& queue, corvane::DiskSystem& system,
          const corvane::TextContext& text, bool json) {
    queue.quitOnTermination();
    TreePrinter printer(system, text, json);
    system.manager().addDelegate(&printer);
    std::function<void()> beat = [&] {
        sampleActivity(system.activity());
        Value all = Value::array();
        std::ostringstream line;
        for (const auto& disk : system.activity().disks()) {
            all.append(activityValue(*disk));
            line << (line.tellp() > 0 ? "  " : "") << rates(text, *disk);
        }
        std::cout << (json ? corvane::toJson(all) : line.str()) << std::endl;
        if (!std::cout)
            queue.quit();
        else
            queue.after(1.0, beat);
    };
    system.startMonitoring(); // prints the volumes through the delegate
    sampleActivity(system.activity());
    queue.after(1.0, beat);
    queue.run();
    system.manager().removeDelegate(&printer);
    return std::cout ? 0 : 1;
}

} // namespace

int runDisks(const DisksOptions& o) {
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    const corvane::EngineContext context{queue, corvane::kSettingsTierCount, nullptr};
    auto& system = corvane::DiskSystem::shared(context);
    corvane::TextCaches caches;
    const corvane::TextContext text = caches.with(corvane::CVBPreferences::sharedPreferences());
    int status = 0;
    if (o.watch) {
        status = watch(queue, system, text, o.json);
    } else {
        system.manager().diskEvent();
        // Rates need two readings a second apart.
        sampleActivity(system.activity());
        readSpace(system.disks(), std::make_shared<corvane::StatvfsSpaceReader>(
                                      corvane::SysRoot::fromEnvironment()));
        g_usleep(G_USEC_PER_SEC);
        sampleActivity(system.activity());
        if (o.json)
            std::cout << corvane::toJson(treeValue(system.manager()), 2) << "\n";
        else
            printTree(system.manager(), text);
    }
    corvane::DiskSystem::cleanupShared();
    return status;
}
