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

GDBusConnection* sessionBus() {
    GError* error = nullptr;
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (!connection) {
        CVBLog("Distributed notifications: no session bus (%s); delivering in this process only",
               error ? error->message : "unknown error");
        g_clear_error(&error);
    }
    return connection;
}

} // namespace

DistributedNotificationCenter& DistributedNotificationCenter::defaultCenter() {
    auto& instance = defaultInstance();
    if (!instance) {
        GDBusConnection* connection = sessionBus();
        instance = std::make_unique<DistributedNotificationCenter>(connection);
        if (connection)
            g_object_unref(connection);
    }
    return *instance;
}

void DistributedNotificationCenter::cleanup() {
    defaultInstance().reset();
}

DistributedNotificationCenter::DistributedNotificationCenter(GDBusConnection* connection)
    : connection_(connection ? G_DBUS_CONNECTION(g_object_ref(connection)) : nullptr) {
    if (!connection_)
        return;
    subscription_ = g_dbus_connection_signal_subscribe(
        connection_, nullptr, kInterface, kSignal, kObjectPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
           GVariant* parameters, gpointer self) {
            if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv})")))
                return;
            const gchar* name = nullptr;
            GVariant* userInfo = nullptr;
            g_variant_get(parameters, "(&s@a{sv})", &name, &userInfo);
            Value info = fromGVariant(userInfo);
            g_variant_unref(userInfo);
            static_cast<const DistributedNotificationCenter*>(self)->received(name,
                                                                              std::move(info));
        },
        this, nullptr);
}

DistributedNotificationCenter::~DistributedNotificationCenter() {
    if (!connection_)
        return;
    g_dbus_connection_signal_unsubscribe(connection_, subscription_);
    g_object_unref(connection_);
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
    GError* error = nullptr;
    if (!g_dbus_connection_emit_signal(connection_, nullptr, kObjectPath, kInterface, kSignal,
                                       g_variant_new("(s@a{sv})", name.c_str(), payload), &error)) {
        CVBLog("Distributed notification %s not sent: %s", name.c_str(),
               error ? error->message : "unknown error");
        g_clear_error(&error);
    }
}

void DistributedNotificationCenter::flush() {
    if (connection_)
        g_dbus_connection_flush_sync(connection_, nullptr, nullptr);
}

} // namespace corvane
