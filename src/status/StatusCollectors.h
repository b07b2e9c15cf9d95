#pragma once

#include "collectors/ping/HLVPing.h"
#include "engine/EngineContext.h"
#include "engine/HistoryFiles.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace corvane {

class BatteryStatCollector;
class CPUStatCollector;
class DiskManager;
class LoadStatCollector;
class MemoryStatCollector;
class NetworkStatCollector;
class SensorsStatCollector;
class SleepWakeSource;

// The collectors of the status program, built as a logging build: every tier, the history
// database in `historyDirectory`, sleep and wake from `sleepWake`. They are the process's
// shared collectors, so the views made by makeSectionItem draw from these very ones. One
// instance at a time; it lets go of them (closing the history files) when it goes.
class StatusCollectors {
public:
    StatusCollectors(MainQueue& queue, std::filesystem::path historyDirectory,
                     SleepWakeSource* sleepWake);
    ~StatusCollectors();
    StatusCollectors(const StatusCollectors&) = delete;
    StatusCollectors& operator=(const StatusCollectors&) = delete;

    // $XDG_DATA_HOME/corvanebar, else ~/.local/share/corvanebar.
    static std::filesystem::path defaultHistoryDirectory();
    static constexpr const char* kHistoryFile = "history.sqlite";
    static constexpr const char* kLongTermFile = "history-long.sqlite";

    // Makes and starts the collectors that the item of `section` draws from, each once;
    // their first beats fall on the next whole second. True when this made any. A section
    // that is off costs nothing each second and holds no history in memory. Switched off
    // again, its collectors go on sampling: a stopped collector cannot restart.
    bool startFor(std::string_view section);
    // Around the collectors' beats of one second: the history writes of ten beats share a
    // transaction, since a commit costs more than the inserts it closes. A crash loses at most
    // those ten seconds; the collectors commit what is open when they go.
    void beginBeat();
    void endBeat();
    static constexpr int kBeatsPerCommit = 10;

    const EngineContext& context() const { return context_; }
    CPUStatCollector& cpu() const { return cpu_; }
    LoadStatCollector& load() const { return load_; }
    MemoryStatCollector& memory() const { return memory_; }
    BatteryStatCollector& battery() const { return battery_; }
    // The collectors of the sections made so far; nothing before.
    DiskManager* disks() const;
    NetworkStatCollector* network() const;
    SensorsStatCollector* sensors() const;
    // The program's one ping, which runs until it is cancelled.
    HLVPing& sharedPing() { return ping_; }

    // A number that changes whenever a collector that the section's item shows took a sample;
    // 0 for a section without one here.
    std::uint64_t sampleStamp(std::string_view section) const;

private:
    HistoryFiles historyFiles_;
    bool batchOpen_ = false;
    int beatsInBatch_ = 0;
    EngineContext context_;
    CPUStatCollector& cpu_;
    LoadStatCollector& load_;
    MemoryStatCollector& memory_;
    BatteryStatCollector& battery_;
    std::filesystem::path historyDirectory_;
    HLVPing ping_;
    std::set<std::string, std::less<>> started_;
};

} // namespace corvane
