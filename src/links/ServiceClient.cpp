#include "links/ServiceClient.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"

namespace corvane {

namespace {

GObjectRef<GDBusConnection> sessionBus() {
    GErrorHolder error;
    auto bus = GObjectRef<GDBusConnection>::adopt(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, error.out()));
    if (!bus)
        CVBLog("No session bus for the background programs: %s", error.message());
    return bus;
}

GVariant* dictionaryTuple(const Value& value) {
    GVariant* child = toGVariant(value.isDictionary() ? value : Value::dict());
    return g_variant_new_tuple(&child, 1);
}

} // namespace

ServiceClient::ServiceClient(GDBusConnection* bus, std::string busName, std::string objectPath,
                             std::string interface)
    : bus_(GObjectRef<GDBusConnection>::share(bus))
    , busName_(std::move(busName))
    , objectPath_(std::move(objectPath))
    , interface_(std::move(interface)) {}

ServiceClient::~ServiceClient() {
    *alive_ = false;
}

void ServiceClient::connect() {
    if (!bus_)
        return;
    watch_ = NameWatch(g_bus_watch_name_on_connection(bus_.get(), busName_.c_str(),
                                                      G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
                                                      vanished, this, nullptr));
    connected_ = true;
    connected();
}

void ServiceClient::connectIfNeeded() {
    if (!connected_)
        connect();
}

void ServiceClient::vanished(GDBusConnection*, const char* name, void* self) {
    auto* client = static_cast<ServiceClient*>(self);
    // The first answer of a watch may be that nobody has the name yet: that loses nothing.
    if (!client->connected_)
        return;
    CVBLog("interruptionHandler = %s", name);
    client->watch_.reset();
    client->connected_ = false;
    client->disconnected();
}

void ServiceClient::send(const std::string& method, GVariant* parameters, BusReply reply) {
    connectIfNeeded();
    const BusTarget target{bus_.get(), busName_.c_str(), objectPath_.c_str(), interface_.c_str()};
    callBus(target, method, parameters, nullptr, alive_, std::move(reply));
}

void ServiceClient::version(std::function<void(double, long long)> reply) {
    send("version", nullptr, [reply = std::move(reply)](GVariant* answer) {
        double number = 0;
        gint64 build = 0;
        if (g_variant_is_of_type(answer, G_VARIANT_TYPE("(dx)")))
            g_variant_get(answer, "(dx)", &number, &build);
        reply(number, static_cast<long long>(build));
    });
}

CVBStatusItemClient::CVBStatusItemClient(GDBusConnection* bus)
    : ServiceClient(bus, "com.halvorn.corvanebarstatus", "/com/halvorn/corvanebarstatus",
                    "com.halvorn.corvanebarstatus") {}

CVBStatusItemClient& CVBStatusItemClient::client() {
    static CVBStatusItemClient instance(sessionBus().get());
    return instance;
}

void CVBStatusItemClient::requestCalendarAccess() {
    send("requestCalendarAccess", nullptr);
}

void CVBStatusItemClient::deleteDatabase(std::function<void()> done) {
    send("deleteDatabase", nullptr, [done = std::move(done)](GVariant*) { done(); });
}

CVBNotificationClient::CVBNotificationClient(GDBusConnection* bus)
    : ServiceClient(bus, "com.halvorn.corvanebaragent", "/com/halvorn/corvanebaragent",
                    "com.halvorn.corvanebaragent") {}

CVBNotificationClient& CVBNotificationClient::agentClient() {
    static CVBNotificationClient instance(sessionBus().get());
    return instance;
}

void CVBNotificationClient::sendNotification(const Value& notification) {
    send("processNotification", dictionaryTuple(notification));
}

void CVBNotificationClient::finishInstallation(const Value& installation) {
    send("finishInstallation", dictionaryTuple(installation));
}

} // namespace corvane
