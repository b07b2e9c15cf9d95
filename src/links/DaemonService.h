#pragma once

#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/SysRoot.h"
#include "links/DaemonHardware.h"
#include "links/DaemonRequests.h"
#include "links/PolkitAuthority.h"
#include "links/ProcessInfo.h"

#include <map>
#include <memory>
#include <string>

namespace corvane {

// The messages that change the machine (fans, network), once polkit said yes. Until the fan
// rules and the network changes exist, they are taken and logged.
class PrivilegedActions {
public:
    virtual ~PrivilegedActions() = default;
    // `argument` is the message's argument as a Value (null for none); the result is the
    // reply of the messages that have a dictionary for one.
    virtual Value perform(const std::string& message, const Value& argument) = 0;
};

class LoggedPrivilegedActions final : public PrivilegedActions {
public:
    Value perform(const std::string& message, const Value& argument) override;
};

// The daemon's one object on its bus: answers the protocol's messages, sends the answers of
// process requests to the asking client only, and stops a client's requests when it leaves.
// Bad input gets a log line and an error reply; nothing a caller sends stops the service.
class DaemonService {
public:
    struct Parts {
        MainQueue& queue;
        SysRoot root;
        DaemonHardware& hardware;
        PrivilegedActions& actions;
        const DesktopEntries& entries;
    };

    DaemonService(GDBusConnection* connection, Parts parts);
    ~DaemonService();
    DaemonService(const DaemonService&) = delete;
    DaemonService& operator=(const DaemonService&) = delete;

    // Exports the object and asks for the well-known name; false (and a log line) when the
    // object cannot be exported or another process has the name.
    bool publish();
    std::size_t clientCount() const { return clients_.size(); }

private:
    struct Call;
    static void methodCall(GDBusConnection*, const char* sender, const char*, const char*,
                           const char* method, GVariant* parameters,
                           GDBusMethodInvocation* invocation, void* self);
    static GDBusMessage* filter(GDBusConnection*, GDBusMessage* message, gboolean incoming,
                                void* self);
    void dispatch(const Call& call);
    bool answerQuery(const Call& call);
    bool answerSensors(const Call& call);
    bool answerRequest(const Call& call);
    void answerPrivileged(const Call& call, const char* action);
    void send(const std::string& client, const Value& response);
    void watchClient(const std::string& client);
    void clientLeft(const std::string& client);

    GObjectRef<GDBusConnection> connection_;
    Parts parts_;
    PolkitAuthority authority_;
    DaemonRequests requests_;
    std::map<std::string, NameWatch> clients_;
    ConnectionId registration_;
    guint filter_ = 0;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

// Counts the members of arrays and dictionaries in `variant`, nested ones too, stopping as
// soon as there are more than `limit`.
bool withinMemberLimit(GVariant* variant, unsigned long limit);

} // namespace corvane
