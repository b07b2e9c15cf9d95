#pragma once

#include "status/BusConnection.h"

#include <functional>

namespace corvane {

// The status program's own service on the session bus, which the settings application talks
// to: `version`, `requestCalendarAccess` and `deleteDatabase` in the order the application
// knows them, and `Restart` for a settings import. A part not built on this system gets a
// neutral answer rather than an error the application would have to explain.
class StatusItemService {
public:
    struct Handlers {
        // Empty: there is no calendar to ask for; logged and answered.
        std::function<void()> requestCalendarAccess;
        // Deletes the history database and calls `done`; empty: there is none, answered at once.
        std::function<void(std::function<void()> done)> deleteDatabase;
        // Empty: the caller is told it is not supported and restarts the unit instead.
        std::function<void()> restart;
    };

    // Offers the service on `connection` and takes its well-known name; nullptr: no bus.
    StatusItemService(GDBusConnection* connection, Handlers handlers);
    ~StatusItemService();
    StatusItemService(const StatusItemService&) = delete;
    StatusItemService& operator=(const StatusItemService&) = delete;

    bool isExported() const { return static_cast<bool>(registration_); }
    bool ownsName() const { return ownsName_; }

private:
    static void methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                           const gchar* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, gpointer self);
    void call(std::string_view method, GDBusMethodInvocation* invocation);

    Handlers handlers_;
    NodeInfo info_;
    ConnectionId registration_;
    NameOwnership name_;
    bool ownsName_ = false;
};

} // namespace corvane
