#pragma once

#include "collectors/sensors/SensorKeyReader.h"
#include "foundation/GLibHandles.h"

#include <gio/gio.h>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corvane {

// Keys read by the daemon, for a user who may not move the controller's key cursor. Each
// cycle asks for every key read so far in one message; a key not met before is asked alone.
// A daemon that does not answer in time makes every key read -1.0 (the controller's "no
// reading"), and is not asked again for a while, so a hung daemon cannot stall each cycle.
class DaemonKeyReader final : public SensorKeyReader {
public:
    static constexpr int kTimeoutMilliseconds = 250;
    // Cycles without a question after the daemon failed to answer.
    static constexpr int kCyclesToWait = 15;

    explicit DaemonKeyReader(GObjectRef<GDBusConnection> bus)
        : bus_(std::move(bus)) {}

    // Reads these keys in one message and keeps them for the cycles to come. The keys the
    // controller has, in the order asked; nothing when the daemon did not answer.
    std::optional<std::vector<std::string>> readKeys(const std::vector<std::string>& keys);
    double value(std::string_view key) override;
    void beginCycle() override;
    bool answering() const override { return quietCycles_ == 0; }

private:
    GObjectRef<GDBusConnection> bus_;
    std::map<std::string, double, std::less<>> values_;
    // Keys the controller does not have: never asked again.
    std::set<std::string, std::less<>> absent_;
    int quietCycles_ = 0;
    bool reportedSilence_ = false;
};

} // namespace corvane
