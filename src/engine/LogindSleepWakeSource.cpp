#include "engine/LogindSleepWakeSource.h"

#include "foundation/Log.h"

#include <gio/gio.h>

namespace corvane {

namespace {

void onPrepareForSleep(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                       GVariant* parameters, gpointer self) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)"))) {
        CVBLog("PrepareForSleep with unexpected arguments %s; ignored",
               g_variant_get_type_string(parameters));
        return;
    }
    gboolean start = FALSE;
    g_variant_get(parameters, "(b)", &start);
    static_cast<const LogindSleepWakeSource*>(self)->prepareForSleep(start != FALSE);
}

} // namespace

LogindSleepWakeSource::LogindSleepWakeSource() {
    GError* error = nullptr;
    connection_ = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (!connection_) {
        CVBLog("no system bus (%s): sleep and wake are not followed",
               error ? error->message : "unknown error");
        g_clear_error(&error);
        return;
    }
    subscribe();
}

LogindSleepWakeSource::LogindSleepWakeSource(GDBusConnection* connection) {
    if (!connection) {
        CVBLog("no system bus: sleep and wake are not followed");
        return;
    }
    connection_ = G_DBUS_CONNECTION(g_object_ref(connection));
    subscribe();
}

LogindSleepWakeSource::~LogindSleepWakeSource() {
    if (connection_) {
        if (subscription_)
            g_dbus_connection_signal_unsubscribe(connection_, subscription_);
        g_object_unref(connection_);
    }
}

void LogindSleepWakeSource::subscribe() {
    subscription_ = g_dbus_connection_signal_subscribe(
        connection_, "org.freedesktop.login1", "org.freedesktop.login1.Manager", "PrepareForSleep",
        "/org/freedesktop/login1", nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onPrepareForSleep, this,
        nullptr);
}

void LogindSleepWakeSource::prepareForSleep(bool start) const {
    if (start)
        postWillSleep();
    else
        postDidWake();
}

} // namespace corvane
