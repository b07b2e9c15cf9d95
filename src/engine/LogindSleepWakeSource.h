#pragma once

#include "engine/SleepWakeSource.h"
#include "foundation/GLibHandles.h"

namespace corvane {

// Follows logind's PrepareForSleep(b) signal on the system bus: true before sleep, false after
// wake. Signals arrive on the main context of the thread that made the source. Without a system
// bus it says so once in the log and never posts.
class LogindSleepWakeSource final : public SleepWakeSource {
public:
    // On the system bus, if there is one.
    LogindSleepWakeSource();
    // On the given connection; nullptr for none.
    explicit LogindSleepWakeSource(GDBusConnection* connection);

    bool isConnected() const { return static_cast<bool>(subscription_); }
    // What the signal's argument means; public so that it is tested without a bus.
    void prepareForSleep(bool start) const;

private:
    void subscribe(GDBusConnection* connection);

    ConnectionId subscription_;
};

} // namespace corvane
