#include "engine/LogindSleepWakeSource.h"

#include "foundation/Log.h"

namespace corvane {

LogindSleepWakeSource::LogindSleepWakeSource() {
    GErrorHolder error;
    const auto connection =
        GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
    if (!connection) {
        CVBLog("no system bus (%s): sleep and wake are not followed", error.message());
        return;
    }
    subscribe(connection.get());
}

LogindSleepWakeSource::LogindSleepWakeSource(GDBusConnection* connection) {
    if (!connection) {
        CVBLog("no system bus: sleep and wake are not followed");
        return;
    }
    subscribe(connection);
}

void LogindSleepWakeSource::subscribe(GDBusConnection* connection) {
    subscription_ =
        subscribeSignal(connection,
                        {.sender = "org.freedesktop.login1",
                         .interface = "org.freedesktop.login1.Manager",
                         .member = "PrepareForSleep",
                         .path = "/org/freedesktop/login1"},
                        [this](const char*, GVariant* parameters) {
                            if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)"))) {
                                CVBLog("PrepareForSleep with unexpected arguments %s; ignored",
                                       g_variant_get_type_string(parameters));
                                return;
                            }
                            gboolean start = FALSE;
                            g_variant_get(parameters, "(b)", &start);
                            prepareForSleep(start != FALSE);
                        });
}

void LogindSleepWakeSource::prepareForSleep(bool start) const {
    if (start)
        postWillSleep();
    else
        postDidWake();
}

} // namespace corvane
