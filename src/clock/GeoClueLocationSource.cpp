#include "clock/GeoClueLocationSource.h"

#include "foundation/Log.h"

namespace corvane {

namespace {

constexpr int kTimeoutMs = 2000;
constexpr const char* kManagerPath = "/org/freedesktop/GeoClue2/Manager";
constexpr const char* kClientInterface = "org.freedesktop.GeoClue2.Client";

double number(GVariant* dict, const char* key) {
    double value = 0;
    g_variant_lookup(dict, key, "d", &value);
    return value;
}

} // namespace

GeoClueLocationSource::GeoClueLocationSource(GDBusConnection* connection) {
    if (connection) {
        bus_ = GObjectRef<GDBusConnection>::share(connection);
        return;
    }
    GErrorHolder error;
    bus_ =
        GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
    if (!bus_)
        CVBLog("Location: no system bus (%s)", error.message());
}

GeoClueLocationSource::~GeoClueLocationSource() {
    stop();
}

void GeoClueLocationSource::failed(const GErrorHolder& error, const char* what) {
    const bool denied = error.matches(G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED);
    CVBLog("Location: %s: %s", what, error.message());
    if (onStatus)
        onStatus(denied ? 2 : 1);
}

bool GeoClueLocationSource::ensureClient() {
    if (!client_.empty())
        return true;
    if (!bus_) {
        if (onStatus)
            onStatus(1);
        return false;
    }
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_sync(
        bus_.get(), kService, kManagerPath, "org.freedesktop.GeoClue2.Manager", "GetClient",
        nullptr, G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
    if (!reply) {
        failed(error, "no GeoClue client");
        return false;
    }
    const char* path = nullptr;
    g_variant_get(reply.get(), "(&o)", &path);
    const std::string client = path;
    const struct {
        const char* name;
        GVariant* value;
    } properties[] = {{"DesktopId", g_variant_new_string(kDesktopId)},
                      {"RequestedAccuracyLevel", g_variant_new_uint32(kStreetAccuracy)},
                      {"DistanceThreshold", g_variant_new_uint32(kDistanceThreshold)}};
    for (const auto& p : properties) {
        VariantRef set(g_dbus_connection_call_sync(
            bus_.get(), kService, client.c_str(), "org.freedesktop.DBus.Properties", "Set",
            g_variant_new("(ssv)", kClientInterface, p.name, p.value), nullptr,
            G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
        if (!set) {
            failed(error, p.name);
            return false;
        }
    }
    client_ = client;
    updates_ = subscribeSignal(bus_.get(),
                               {kService, kClientInterface, "LocationUpdated", client_.c_str()},
                               [this](const char*, GVariant* parameters) {
                                   const char* old = nullptr;
                                   const char* now = nullptr;
                                   g_variant_get(parameters, "(&o&o)", &old, &now);
                                   readLocation(now);
                               });
    return true;
}

void GeoClueLocationSource::start() {
    if (!ensureClient())
        return;
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_sync(
        bus_.get(), kService, client_.c_str(), kClientInterface, "Start", nullptr, nullptr,
        G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
    if (!reply) {
        failed(error, "GeoClue refused to start");
        return;
    }
    if (onStatus)
        onStatus(3);
}

void GeoClueLocationSource::stop() {
    if (client_.empty() || !bus_)
        return;
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_sync(
        bus_.get(), kService, client_.c_str(), kClientInterface, "Stop", nullptr, nullptr,
        G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
    if (!reply)
        CVBLog("Location: GeoClue did not stop: %s", error.message());
}

void GeoClueLocationSource::readLocation(const std::string& path) {
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_sync(
        bus_.get(), kService, path.c_str(), "org.freedesktop.DBus.Properties", "GetAll",
        g_variant_new("(s)", "org.freedesktop.GeoClue2.Location"), G_VARIANT_TYPE("(a{sv})"),
        G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
    if (!reply) {
        CVBLog("Location: cannot read %s: %s", path.c_str(), error.message());
        return;
    }
    VariantRef dict(g_variant_get_child_value(reply.get(), 0));
    LocationFix fix{number(dict.get(), "Latitude"), number(dict.get(), "Longitude"),
                    number(dict.get(), "Altitude"), 0};
    guint64 seconds = 0, micros = 0;
    if (g_variant_lookup(dict.get(), "Timestamp", "(tt)", &seconds, &micros))
        fix.time = static_cast<double>(seconds) + static_cast<double>(micros) / 1e6;
    if (onLocations)
        onLocations({fix});
}

} // namespace corvane
