#pragma once

#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/DiskInfoStatCollectorLinux.h"
#include "collectors/disks/DiskManager.h"
#include "collectors/disks/DisksStatCollector.h"
#include "foundation/ManualMainQueue.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace corvane::test {

inline std::filesystem::path diskFixture(const char* name) {
    return std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot" / name;
}

// Space by mount point; a path missing from the map cannot be read.
class ScriptedSpace final : public VolumeSpaceReader {
public:
    std::optional<VolumeSpace> read(const std::string& path) const override {
        std::lock_guard lock(mutex);
        ++reads[path];
        const auto found = space.find(path);
        return found != space.end() ? std::optional(found->second) : std::nullopt;
    }
    mutable std::mutex mutex;
    std::map<std::string, VolumeSpace> space;
    mutable std::map<std::string, int> reads;
};

// Off-thread work that waits until the test lets it run: a read that never returns is one
// that is never run.
struct HeldRunner {
    std::deque<std::function<void()>> tasks;
    OffThreadRunner runner() {
        return [this](std::function<void()> task) { tasks.push_back(std::move(task)); };
    }
    void runAll() {
        while (!tasks.empty()) {
            auto task = std::move(tasks.front());
            tasks.pop_front();
            task();
        }
    }
};

// The three disk collectors and the manager over a recorded tree.
struct DiskRig {
    explicit DiskRig(const std::filesystem::path& root, DeviceProber prober = {})
        : info(context, SysRoot(root), std::move(prober))
        , disks(context, info, space, held.runner())
        , activity(context, SysRoot(root))
        , manager(info, disks, activity) {}

    DisksStatCollector::VolumeItem volume(const std::string& key) const {
        for (const auto& v : disks.volumes()) {
            if (v->key() == key)
                return v;
        }
        return nullptr;
    }
    const DiskStructureGroup* group(const std::string& bsd) const {
        for (const auto& g : manager.stucture()) {
            if (g.bsd == bsd)
                return &g;
        }
        return nullptr;
    }

    ManualMainQueue queue{1'795'000'000.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
    std::shared_ptr<ScriptedSpace> space = std::make_shared<ScriptedSpace>();
    HeldRunner held;
    DiskInfoStatCollectorLinux info;
    DisksStatCollector disks;
    DiskActivityStatCollector activity;
    DiskManager manager;
};

} // namespace corvane::test
