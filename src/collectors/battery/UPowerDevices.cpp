#include "collectors/battery/UPowerDevices.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"

#include <algorithm>
#include <gio/gio.h>

namespace corvane {

namespace {

constexpr const char* kService = "org.freedesktop.UPower";
constexpr int kTimeoutMs = 500; // a hung daemon must not stall the one-second cycle

// UPower's device types that are peripherals with a battery of their own.
bool isPeripheral(std::int64_t type) {
    // 5 mouse, 6 keyboard, 7 PDA, 8 phone, 9 media player, 10 tablet, 12 gaming input, 13 pen,
    // 14 touchpad, 17 headset, 18 speakers, 19 headphones, 21 other audio, 22 remote control,
    // 26 wearable, 27 toy, 28 bluetooth generic.
    static constexpr std::int64_t kTypes[] = {5,  6,  7,  8,  9,  10, 12, 13, 14,
                                              17, 18, 19, 21, 22, 26, 27, 28};
    return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

} // namespace

UPowerDevices::UPowerDevices(GDBusConnection* connection) {
    if (connection) {
        connection_ = G_DBUS_CONNECTION(g_object_ref(connection));
        return;
    }
    connection_ = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
}

UPowerDevices::~UPowerDevices() {
    if (connection_)
        g_object_unref(connection_);
}

std::vector<UPowerDevices::Peripheral>
UPowerDevices::peripheralBatteries(const std::vector<std::string>& known) {
    std::vector<Peripheral> sources;
    if (!connection_)
        return sources;
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        connection_, kService, "/org/freedesktop/UPower", kService, "EnumerateDevices", nullptr,
        G_VARIANT_TYPE("(ao)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, kTimeoutMs, nullptr, &error);
    if (!reply) {
        if (!warned_)
            CVBLog("Power sources: UPower does not answer (%s); peripherals come from the kernel "
                   "only",
                   error ? error->message : "unknown");
        warned_ = true;
        g_clear_error(&error);
        return sources;
    }
    const Value paths = fromGVariant(reply)[0];
    g_variant_unref(reply);
    for (const auto& path : paths.arrayItems()) {
        GVariant* all = g_dbus_connection_call_sync(
            connection_, kService, path.string().c_str(), "org.freedesktop.DBus.Properties",
            "GetAll", g_variant_new("(s)", "org.freedesktop.UPower.Device"),
            G_VARIANT_TYPE("(a{sv})"), G_DBUS_CALL_FLAGS_NO_AUTO_START, kTimeoutMs, nullptr,
            nullptr);
        if (!all)
            continue;
        const Value p = fromGVariant(all)[0];
        g_variant_unref(all);
        const std::string native = p["NativePath"].string();
        if (p["PowerSupply"].boolValue() || !p["IsPresent"].boolValue() ||
            !isPeripheral(p["Type"].integerValue()) ||
            std::find(known.begin(), known.end(), native) != known.end())
            continue;
        Value source = Value::dict({{"Name", p["Model"].string()},
                                    {"Current Capacity", p["Percentage"].doubleValue()},
                                    {"Power Source State", "Battery Power"},
                                    {"Power Source ID", native.empty() ? path.string() : native}});
        if (!p["Serial"].string().empty())
            source.set("Hardware Serial Number", p["Serial"].string());
        sources.push_back({std::move(source), deviceKindForUPowerType(p["Type"].integerValue())});
    }
    return sources;
}

} // namespace corvane
