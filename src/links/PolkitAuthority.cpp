#include "links/PolkitAuthority.h"

#include "foundation/Log.h"

#include <memory>

namespace corvane {

namespace {

// An authentication dialog waits for the user; longer than this and the caller has gone.
constexpr int kTimeoutMilliseconds = 120'000;
constexpr guint32 kAllowUserInteraction = 1;

struct PendingCheck {
    std::string caller;
    std::string action;
    std::function<void(bool)> done;
};

void finished(GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<PendingCheck> pending(static_cast<PendingCheck*>(data));
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, error.out()));
    gboolean authorized = FALSE;
    gboolean challenge = FALSE;
    if (reply)
        g_variant_get(reply.get(), "((bb@a{ss}))", &authorized, &challenge, nullptr);
    else
        CVBLog("Daemon: could not ask polkit about %s for %s: %s", pending->action.c_str(),
               pending->caller.c_str(), error.message());
    if (reply && !authorized)
        CVBLog("Daemon: %s is not allowed %s", pending->caller.c_str(), pending->action.c_str());
    pending->done(authorized != FALSE);
}

} // namespace

PolkitAuthority::PolkitAuthority(GDBusConnection* connection)
    : connection_(GObjectRef<GDBusConnection>::share(connection)) {}

void PolkitAuthority::check(const std::string& caller, const std::string& action,
                            std::function<void(bool allowed)> done) const {
    GVariantBuilder subject;
    g_variant_builder_init(&subject, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&subject, "{sv}", "name", g_variant_new_string(caller.c_str()));
    GVariantBuilder details;
    g_variant_builder_init(&details, G_VARIANT_TYPE("a{ss}"));
    GVariant* parameters = g_variant_new("((sa{sv})sa{ss}us)", "system-bus-name", &subject,
                                         action.c_str(), &details, kAllowUserInteraction, "");
    g_dbus_connection_call(connection_.get(), kBusName, kObjectPath, kInterface,
                           "CheckAuthorization", parameters, G_VARIANT_TYPE("((bba{ss}))"),
                           G_DBUS_CALL_FLAGS_NONE, kTimeoutMilliseconds, nullptr, finished,
                           new PendingCheck{caller, action, std::move(done)});
}

} // namespace corvane
