#pragma once

#include "foundation/GLibHandles.h"
#include "foundation/NotificationCenter.h"

#include <memory>
#include <string>

namespace corvane {

// Notifications between the product's processes: a signal
// Posted(s name, a{sv} userInfo) on the session bus, which every process subscribes to.
// Observers run on the main context of the thread that made the centre, the sending process
// included. Without a bus the centre says so once in the log and delivers in this process
// only, at once.
class DistributedNotificationCenter {
public:
    static constexpr const char* kObjectPath = "/com/halvorn/corvanebar/notifications";
    static constexpr const char* kInterface = "com.halvorn.corvanebar.DistributedNotifications";
    static constexpr const char* kSignal = "Posted";

    // Posting options as callers pass them; a signal is always sent at once to every process
    // on the bus, so both are met whatever is asked.
    enum Option : unsigned { DeliverImmediately = 1, PostToAllSessions = 2 };

    // The centre on the session bus, made on first use.
    static DistributedNotificationCenter& defaultCenter();
    static void cleanup();

    // A centre on the given connection; nullptr for one without a bus.
    explicit DistributedNotificationCenter(GDBusConnection* connection);
    DistributedNotificationCenter(const DistributedNotificationCenter&) = delete;
    DistributedNotificationCenter& operator=(const DistributedNotificationCenter&) = delete;

    [[nodiscard]] Observation addObserver(std::string name, NotificationCenter::Callback callback);
    // `userInfo` is a dictionary or null; anything else is logged and sent as empty.
    void postNotificationName(const std::string& name, const Value& userInfo = {},
                              unsigned options = DeliverImmediately);
    // Waits until what was posted has left the process; for short-lived commands.
    void flush();

    bool isConnected() const { return static_cast<bool>(connection_); }

private:
    void received(const std::string& name, Value userInfo) const;

    GObjectRef<GDBusConnection> connection_;
    NotificationCenter local_;
    ConnectionId subscription_;
};

} // namespace corvane
