#include "foundation/GLibHandles.h"

namespace corvane {

ConnectionId subscribeSignal(GDBusConnection* connection, const SignalMatch& match,
                             SignalHandler handler) {
    if (!connection)
        return {};
    const guint id = g_dbus_connection_signal_subscribe(
        connection, match.sender, match.interface, match.member, match.path, match.arg0,
        G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* signal,
           GVariant* parameters,
           gpointer data) { (*static_cast<SignalHandler*>(data))(signal, parameters); },
        new SignalHandler(std::move(handler)),
        [](gpointer data) { delete static_cast<SignalHandler*>(data); });
    return {connection, id, ConnectionId::Kind::Subscription};
}

} // namespace corvane
