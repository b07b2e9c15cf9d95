#include "links/BusCall.h"

#include "foundation/Log.h"

namespace corvane {

namespace {

struct PendingCall {
    std::string method;
    std::weak_ptr<void> alive;
    BusReply reply;
};

void answered(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<PendingCall> pending(static_cast<PendingCall*>(data));
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, error.out()));
    if (!reply) {
        // A service that is not there is the ordinary case; anything else is worth a line.
        if (!error.matches(G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) &&
            !error.matches(G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER))
            CVBLog("%s got no answer: %s", pending->method.c_str(), error.message());
        return;
    }
    if (!pending->alive.expired())
        pending->reply(reply.get());
}

} // namespace

void callBus(const BusTarget& target, const std::string& method, GVariant* parameters,
             const char* replyType, std::weak_ptr<void> alive, BusReply reply) {
    if (!target.connection) {
        if (parameters)
            g_variant_unref(g_variant_ref_sink(parameters));
        return;
    }
    const GVariantType* type = replyType ? G_VARIANT_TYPE(replyType) : nullptr;
    if (!reply) {
        g_dbus_connection_call(target.connection, target.busName, target.objectPath,
                               target.interface, method.c_str(), parameters, type,
                               G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
        return;
    }
    g_dbus_connection_call(target.connection, target.busName, target.objectPath, target.interface,
                           method.c_str(), parameters, type, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                           answered, new PendingCall{method, std::move(alive), std::move(reply)});
}

} // namespace corvane
