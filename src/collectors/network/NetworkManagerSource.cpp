#include "collectors/network/NetworkManagerSource.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "foundation/TextParsing.h"

namespace corvane {

namespace {

constexpr const char* kService = "org.freedesktop.NetworkManager";
constexpr const char* kPath = "/org/freedesktop/NetworkManager";
constexpr const char* kSettingsPath = "/org/freedesktop/NetworkManager/Settings";
constexpr const char* kManager = "org.freedesktop.NetworkManager";
constexpr const char* kDevice = "org.freedesktop.NetworkManager.Device";

GDBusConnection* systemBus() {
    GErrorHolder error;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out());
    if (!bus)
        CVBLog("network: no system bus: %s", error.message());
    return bus;
}

bool isPath(const Value& value) {
    return value.isString() && !value.string().empty() && value.string() != "/";
}

} // namespace

NetworkManagerSource::NetworkManagerSource(GDBusConnection* connection, SysRoot root,
                                           const Clock* clock)
    : connection_(connection ? GObjectRef<GDBusConnection>::share(connection)
                             : GObjectRef<GDBusConnection>::adopt(systemBus()))
    , root_(std::move(root))
    , clock_(clock ? *clock : SystemClock::shared()) {}

NetworkManagerSource::~NetworkManagerSource() {
    if (pendingChange_)
        g_source_remove(pendingChange_);
}

bool NetworkManagerSource::running(GDBusConnection* connection) {
    GObjectRef<GDBusConnection> bus = connection ? GObjectRef<GDBusConnection>::share(connection)
                                                 : GObjectRef<GDBusConnection>::adopt(systemBus());
    if (!bus)
        return false;
    GVariant* reply = g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "NameHasOwner", g_variant_new("(s)", kService), G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, nullptr);
    if (!reply)
        return false;
    gboolean owned = FALSE;
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
    return owned;
}

Value NetworkManagerSource::call(const std::string& path, const char* interface, const char* method,
                                 GVariant* parameters) {
    if (!connection_ || failed_) {
        if (parameters)
            g_variant_unref(g_variant_ref_sink(parameters));
        return {};
    }
    GErrorHolder error;
    VariantRef reply(g_dbus_connection_call_sync(
        connection_.get(), kService, path.c_str(), interface, method, parameters, nullptr,
        G_DBUS_CALL_FLAGS_NONE, kTimeoutMs, nullptr, error.out()));
    if (!reply) {
        CVBLog("network: %s.%s of %s failed: %s", interface, method, path.c_str(), error.message());
        // A daemon that does not answer would keep each further call waiting as long.
        failed_ = error.matches(G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
                  error.matches(G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
                  error.matches(G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT) ||
                  error.matches(G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT);
        return {};
    }
    return fromGVariant(reply.get());
}

Value NetworkManagerSource::properties(const std::string& path, const char* interface) {
    return call(path, "org.freedesktop.DBus.Properties", "GetAll",
                g_variant_new("(s)", interface))[0];
}

Value NetworkManagerSource::deviceEntry(const std::string& path) {
    const Value device = properties(path, kDevice);
    Value entry = Value::dict({{"path", path}, {"device", device}});
    if (isPath(device["Ip4Config"]))
        entry.set("ip4", properties(device["Ip4Config"].string(),
                                    "org.freedesktop.NetworkManager.IP4Config"));
    if (isPath(device["Ip6Config"]))
        entry.set("ip6", properties(device["Ip6Config"].string(),
                                    "org.freedesktop.NetworkManager.IP6Config"));
    if (isPath(device["ActiveConnection"]))
        entry.set("applied",
                  call(path, kDevice, "GetAppliedConnection", g_variant_new("(u)", 0))[0]);
    const std::int64_t type = device["DeviceType"].integerValue();
    const char* kind = type == 1   ? "org.freedesktop.NetworkManager.Device.Wired"
                       : type == 2 ? "org.freedesktop.NetworkManager.Device.Wireless"
                                   : nullptr;
    if (kind) {
        const Value more = properties(path, kind);
        entry.set("permanent", more["PermHwAddress"]);
        if (isPath(more["ActiveAccessPoint"]))
            entry.set("accessPoint", properties(more["ActiveAccessPoint"].string(),
                                                "org.freedesktop.NetworkManager.AccessPoint"));
    }
    return entry;
}

network::NetworkManagerSnapshot NetworkManagerSource::snapshot() {
    const Value manager = properties(kPath, kManager);
    Value devices = Value::array();
    const Value devicePaths = call(kPath, kManager, "GetDevices")[0];
    for (const Value& path : devicePaths.arrayItems())
        if (isPath(path))
            devices.append(deviceEntry(path.string()));
    Value profiles = Value::array();
    const Value profilePaths =
        call(kSettingsPath, "org.freedesktop.NetworkManager.Settings", "ListConnections")[0];
    for (const Value& path : profilePaths.arrayItems()) {
        if (!isPath(path))
            continue;
        Value settings = call(path.string(), "org.freedesktop.NetworkManager.Settings.Connection",
                              "GetSettings")[0];
        const std::string type = settings["connection"]["type"].stringValue();
        if (type == "vpn" || type == "wireguard")
            profiles.append(std::move(settings));
    }
    Value active = Value::array();
    for (const Value& path : manager["ActiveConnections"].arrayItems()) {
        if (!isPath(path))
            continue;
        Value entry = Value::dict(
            {{"path", path},
             {"active",
              properties(path.string(), "org.freedesktop.NetworkManager.Connection.Active")}});
        if (entry["active"]["Vpn"].boolValue())
            entry.set("vpnState",
                      properties(path.string(),
                                 "org.freedesktop.NetworkManager.VPN.Connection")["VpnState"]);
        active.append(std::move(entry));
    }
    const auto uptime = root_.readFile("/proc/uptime", 256);
    return Value::dict({{"primary", manager["PrimaryConnection"]},
                        {"devices", devices},
                        {"profiles", profiles},
                        {"active", active},
                        {"uptime", uptime ? static_cast<double>(leadingInteger(*uptime)) : 0.0},
                        {"now", clock_.now()}});
}

const network::NetworkManagerStore& NetworkManagerSource::current() {
    if (stale_) {
        failed_ = false;
        const auto read = snapshot();
        // A reading cut short would drop services that are there: keep the one before.
        if (!failed_ || !current_)
            current_ = network::storeFromNetworkManager(read);
        stale_ = false;
    }
    return *current_;
}

NetworkStore NetworkManagerSource::store() {
    return current().store;
}

Value NetworkManagerSource::extendedStatus(const std::string& service) {
    const auto& status = current().extendedStatus;
    auto found = status.find(service);
    return found == status.end() ? Value() : found->second;
}

std::optional<NetworkStatCollector::WifiNetwork>
NetworkManagerSource::wifiNetwork(const std::string& bsd) {
    const auto& wifi = current().wifi;
    auto found = wifi.find(bsd);
    if (found == wifi.end())
        return std::nullopt;
    return found->second;
}

void NetworkManagerSource::watch(ChangeHandler changed) {
    changed_ = std::move(changed);
    const auto forget = [this](const char*, GVariant*) {
        stale_ = true;
        if (pendingChange_ || !changed_)
            return;
        // After the signals already waiting, so that a burst makes one reading.
        pendingChange_ = g_idle_add(
            [](gpointer self) {
                auto* source = static_cast<NetworkManagerSource*>(self);
                source->pendingChange_ = 0;
                source->changed_({"State:/Network/Service"});
                return G_SOURCE_REMOVE;
            },
            this);
    };
    propertiesChanged_ =
        subscribeSignal(connection_.get(),
                        {kService, "org.freedesktop.DBus.Properties", "PropertiesChanged"}, forget);
    stateChanged_ = subscribeSignal(connection_.get(), {kService, nullptr, "StateChanged"}, forget);
    // GDBus drops signals sent under a well-known name until it has learnt who owns the name;
    // one round trip after subscribing lets it, so that a change right after start is heard.
    if (connection_ && !failed_)
        running(connection_.get());
}

} // namespace corvane
