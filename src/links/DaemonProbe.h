#pragma once

#include "foundation/GLibHandles.h"
#include "foundation/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane {

struct DaemonVersion {
    double version = 0;
    long long build = 0;
};

// Asks the daemon on `bus` for its version and waits at most `timeoutMilliseconds`, without
// starting it: for commands that report whether it runs. Nothing when it does not answer.
std::optional<DaemonVersion> probeDaemon(GDBusConnection* bus, int timeoutMilliseconds);

// For commands run by a user, who may not read these themselves: the daemon's readings of
// the keys (rows as `sensors` answers them) and the machine's serial ("" when it has none).
// Nothing when the daemon does not answer in time.
std::optional<Value> daemonKeyReadings(GDBusConnection* bus, const std::vector<std::string>& keys,
                                       int timeoutMilliseconds);
// The daemon's `armSensors` answer for these catalogue rows; nothing when it does not answer.
std::optional<Value> daemonArmSensors(GDBusConnection* bus, const Value& rows,
                                      int timeoutMilliseconds);
std::optional<std::string> daemonMachineSerial(GDBusConnection* bus, int timeoutMilliseconds);

// "running, version A B" or "not running: no answer on the <busLabel> bus".
std::string daemonStatusLine(const std::optional<DaemonVersion>& version,
                             const std::string& busLabel);

} // namespace corvane
