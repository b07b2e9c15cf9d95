#pragma once

#include "foundation/GLibHandles.h"
#include "foundation/Value.h"
#include "links/BusCall.h"

#include <functional>
#include <memory>
#include <string>

namespace corvane {

// A client of one of the product's session services (the status program, the agent): it
// watches the service's name, and a name that vanishes is the lost connection, logged and
// dropped until the next message connects again.
class ServiceClient {
public:
    ServiceClient(GDBusConnection* bus, std::string busName, std::string objectPath,
                  std::string interface);
    virtual ~ServiceClient();
    ServiceClient(const ServiceClient&) = delete;
    ServiceClient& operator=(const ServiceClient&) = delete;

    void connect();
    void connectIfNeeded();
    bool isConnected() const { return connected_; }
    // "version:", two numbers.
    void version(std::function<void(double version, long long build)> reply);

protected:
    virtual void connected() {}
    virtual void disconnected() {}
    void send(const std::string& method, GVariant* parameters, BusReply reply = {});

private:
    static void vanished(GDBusConnection*, const char*, void* self);

    GObjectRef<GDBusConnection> bus_;
    std::string busName_, objectPath_, interface_;
    NameWatch watch_;
    bool connected_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

// The status program's client: `com.halvorn.corvanebarstatus` on the session bus.
class CVBStatusItemClient final : public ServiceClient {
public:
    explicit CVBStatusItemClient(GDBusConnection* bus);
    static CVBStatusItemClient& client();

    void requestCalendarAccess();
    // `done` runs once the history is gone, and not at all when the program is not there.
    void deleteDatabase(std::function<void()> done);
};

// The agent's client: `com.halvorn.corvanebaragent` on the session bus.
class CVBNotificationClient final : public ServiceClient {
public:
    explicit CVBNotificationClient(GDBusConnection* bus);
    static CVBNotificationClient& agentClient();

    // `processNotification:` with the notification's dictionary.
    void sendNotification(const Value& notification);
    void finishInstallation(const Value& installation);

    int type() const { return type_; }
    void setType(int type) { type_ = type; }

private:
    int type_ = 0;
};

} // namespace corvane
