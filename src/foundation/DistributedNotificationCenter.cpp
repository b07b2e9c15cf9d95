#include "foundation/DistributedNotificationCenter.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"

#include <gio/gio.h>

namespace corvane {

namespace {

std::unique_ptr<DistributedNotificationCenter>& defaultInstance() {
    static std::unique_ptr<DistributedNotificationCenter> instance;
    return instance;
}

GObjectRef<GDBusConnection> sessionBus() {
    GErrorHolder error;
    auto connection = GObjectRef<GDBusConnection>::adopt(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, error.out()));
    if (!connection)
        CVBLog("Distributed notifications: no session bus (%s); delivering in this process only",
               error.message());
    return connection;
}

} // namespace

DistributedNotificationCenter& DistributedNotificationCenter::defaultCenter() {
    auto& instance = defaultInstance();
    if (!instance) {
        instance = std::make_unique<DistributedNotificationCenter>(sessionBus().get());
    }
    return *instance;
}

void DistributedNotificationCenter::cleanup() {
    defaultInstance().reset();
}

DistributedNotificationCenter::DistributedNotificationCenter(GDBusConnection* connection)
    : connection_(GObjectRef<GDBusConnection>::share(connection)) {
    // The subscription goes before local_, so no signal reaches a centre being taken apart.
    subscription_ = subscribeSignal(
        connection_.get(), {.interface = kInterface, .member = kSignal, .path = kObjectPath},
        [this](const char*, GVariant* parameters) {
            if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv})")))
                return;
            const gchar* name = nullptr;
            GVariant* userInfo = nullptr;
            g_variant_get(parameters, "(&s@a{sv})", &name, &userInfo);
            received(name, fromGVariant(VariantRef(userInfo).get()));
        });
}

Observation DistributedNotificationCenter::addObserver(std::string name,
                                                       NotificationCenter::Callback callback) {
    return local_.addObserver(std::move(name), std::move(callback));
}

void DistributedNotificationCenter::received(const std::string& name, Value userInfo) const {
    local_.post(Notification{name, {}, std::move(userInfo)});
}

void DistributedNotificationCenter::postNotificationName(const std::string& name,
                                                         const Value& userInfo,
                                                         unsigned /*options*/) {
    Value info = userInfo;
    if (!info.isNull() && !info.isDictionary()) {
        CVBLog("Distributed notification %s: user information is a %s, not a dictionary; "
               "sent without it",
               name.c_str(), Value::kindName(info.kind()));
        info = {};
    }
    if (!connection_) {
        received(name, info);
        return;
    }
    GVariant* payload = toGVariant(info.isNull() ? Value(Value::Dictionary{}) : info);
    GErrorHolder error;
    if (!g_dbus_connection_emit_signal(connection_.get(), nullptr, kObjectPath, kInterface, kSignal,
                                       g_variant_new("(s@a{sv})", name.c_str(), payload),
                                       error.out()))
        CVBLog("Distributed notification %s not sent: %s", name.c_str(), error.message());
}

void DistributedNotificationCenter::flush() {
    if (connection_)
        g_dbus_connection_flush_sync(connection_.get(), nullptr, nullptr);
}

} // namespace corvane
