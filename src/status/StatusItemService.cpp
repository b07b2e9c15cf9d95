#include "status/StatusItemService.h"

#include "corvane/BuildInfo.h"
#include "foundation/Log.h"
#include "preferences/SettingsFile.h"

#include <memory>

namespace corvane {

namespace {

using Names = SystemStatusItemRestarter;

constexpr const char* kIntrospection = R"xml(<node>
  <interface name="com.halvorn.corvanebarstatus">
    <method name="version">
      <arg name="version" type="d" direction="out"/>
      <arg name="build" type="x" direction="out"/>
    </method>
    <method name="requestCalendarAccess"/>
    <method name="deleteDatabase"/>
    <method name="Restart"/>
  </interface>
</node>)xml";

// Answers a call once the work is done; a caller whose work never reports back is told so
// rather than left to time out.
class PendingReply {
public:
    explicit PendingReply(GDBusMethodInvocation* invocation)
        : invocation_(GObjectRef<GDBusMethodInvocation>::share(invocation)) {}
    ~PendingReply() {
        if (invocation_)
            g_dbus_method_invocation_return_dbus_error(
                invocation_.get(), "org.freedesktop.DBus.Error.Failed", "The work was dropped");
    }
    PendingReply(const PendingReply&) = delete;
    PendingReply& operator=(const PendingReply&) = delete;

    void done() {
        if (!invocation_)
            return;
        // Answering takes the call's own reference; ours goes with reset().
        g_dbus_method_invocation_return_value(invocation_.get(), nullptr);
        invocation_.reset();
    }

private:
    GObjectRef<GDBusMethodInvocation> invocation_;
};

} // namespace

StatusItemService::StatusItemService(GDBusConnection* connection, Handlers handlers)
    : handlers_(std::move(handlers))
    , info_(parseNodeInfo(kIntrospection)) {
    if (!connection) {
        CVBLog("Status service: no session bus; the settings application cannot reach this "
               "program");
        return;
    }
    static const GDBusInterfaceVTable vtable{methodCall, nullptr, nullptr, {}};
    registration_ = exportObject(connection, Names::kObjectPath, info_, vtable, this);
    name_ = NameOwnership(g_bus_own_name_on_connection(
        connection, Names::kBusName, G_BUS_NAME_OWNER_FLAGS_DO_NOT_QUEUE,
        [](GDBusConnection*, const gchar*, gpointer self) {
            static_cast<StatusItemService*>(self)->ownsName_ = true;
        },
        [](GDBusConnection*, const gchar* name, gpointer self) {
            CVBLog("Status service: %s belongs to another status program; this one is not "
                   "reachable by name",
                   name);
            static_cast<StatusItemService*>(self)->ownsName_ = false;
        },
        this, nullptr));
}

StatusItemService::~StatusItemService() = default;

void StatusItemService::methodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                   const gchar* method, GVariant*,
                                   GDBusMethodInvocation* invocation, gpointer self) {
    static_cast<StatusItemService*>(self)->call(method, invocation);
}

void StatusItemService::call(std::string_view method, GDBusMethodInvocation* invocation) {
    if (method == "version")
        return g_dbus_method_invocation_return_value(
            invocation,
            g_variant_new("(dx)", build::kVersion, static_cast<gint64>(build::kBuildNumber)));
    if (method == "deleteDatabase") {
        auto reply = std::make_shared<PendingReply>(invocation);
        if (!handlers_.deleteDatabase)
            return reply->done();
        return handlers_.deleteDatabase([reply] { reply->done(); });
    }
    if (method == "Restart" && !handlers_.restart)
        return g_dbus_method_invocation_return_dbus_error(
            invocation, "org.freedesktop.DBus.Error.NotSupported",
            "This status program cannot restart itself");
    g_dbus_method_invocation_return_value(invocation, nullptr);
    // Last: a restart ends this object.
    const auto handlers = handlers_;
    if (method == "Restart")
        handlers.restart();
    else if (handlers.requestCalendarAccess)
        handlers.requestCalendarAccess();
    else
        CVBLog("Status service: calendar access asked for; this system has no calendar to open");
}

} // namespace corvane
