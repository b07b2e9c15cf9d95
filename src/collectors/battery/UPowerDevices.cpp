#include "collectors/battery/UPowerDevices.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cmath>
#include <gio/gio.h>
#include <optional>
#include <string_view>

namespace corvane {

namespace {

constexpr const char* kService = "org.freedesktop.UPower";
constexpr const char* kManagerPath = "/org/freedesktop/UPower";
constexpr int kTimeoutMs = 500; // a hung daemon must not stall the one-second cycle
constexpr std::int64_t kUpsType = 3;

using ChangeFlag = std::shared_ptr<std::atomic<bool>>;

// UPower's device types that are peripherals with a battery of their own.
bool isPeripheral(std::int64_t type) {
    // 5 mouse, 6 keyboard, 7 PDA, 8 phone, 9 media player, 10 tablet, 12 gaming input, 13 pen,
    // 14 touchpad, 17 headset, 18 speakers, 19 headphones, 21 other audio, 22 remote control,
    // 26 wearable, 27 toy, 28 bluetooth generic.
    static constexpr std::int64_t kTypes[] = {5,  6,  7,  8,  9,  10, 12, 13, 14,
                                              17, 18, 19, 21, 22, 26, 27, 28};
    return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

bool isUps(const Value& p) {
    return p["Type"].integerValue() == kUpsType;
}

bool isOfInterest(const Value& p) {
    return isUps(p) || (!p["PowerSupply"].boolValue() && isPeripheral(p["Type"].integerValue()));
}

// UPower's BatteryLevel 0: a device that reports levels in words and has told none yet. Its
// Percentage is then a 0 that was never read.
constexpr std::int64_t kLevelUnknown = 0;

Value baseSource(const Value& p, const std::string& path) {
    const std::string& native = p["NativePath"].string();
    Value source = Value::dict(
        {{"Name", p["Model"].string()}, {"Power Source ID", native.empty() ? path : native}});
    const Value* level = p.find("BatteryLevel");
    if (!(level && level->integerValue() == kLevelUnknown && p["Percentage"].doubleValue() == 0))
        source.set("Current Capacity", p["Percentage"].doubleValue());
    if (!p["Serial"].string().empty())
        source.set("Hardware Serial Number", p["Serial"].string());
    return source;
}

void setMinutes(Value& source, const char* key, const Value& seconds) {
    if (const std::int64_t s = seconds.integerValue(); s > 0)
        source.set(key, static_cast<std::int64_t>(std::llround(static_cast<double>(s) / 60.0)));
}

void onDeviceListChanged(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                         const gchar* signal, GVariant*, gpointer data) {
    const std::string_view name = signal;
    if (name == "DeviceAdded" || name == "DeviceRemoved")
        static_cast<ChangeFlag*>(data)->get()->store(true);
}

} // namespace

UPowerDevices::UPowerDevices(GDBusConnection* connection, const Clock* clock)
    : clock_(clock ? *clock : SystemClock::shared())
    , listChanged_(std::make_shared<std::atomic<bool>>(true)) {
    connection_ = connection ? G_DBUS_CONNECTION(g_object_ref(connection))
                             : g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    if (!connection_)
        return;
    subscription_ = g_dbus_connection_signal_subscribe(
        connection_, kService, kService, nullptr, kManagerPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        onDeviceListChanged, new ChangeFlag(listChanged_),
        [](gpointer data) { delete static_cast<ChangeFlag*>(data); });
}

UPowerDevices::~UPowerDevices() {
    if (!connection_)
        return;
    if (subscription_)
        g_dbus_connection_signal_unsubscribe(connection_, subscription_);
    g_object_unref(connection_);
}

Value UPowerDevices::upsPowerSource(const Value& p, const std::string& path) {
    Value source = baseSource(p, path);
    // 1 charging, 2 discharging, 3 empty, 4 fully charged, 5 pending charge, 6 pending
    // discharge; 0 unknown leaves the power state out.
    const std::int64_t state = p["State"].integerValue();
    if (state == 1 || state == 4 || state == 5)
        source.set("Power Source State", "AC Power");
    else if (state == 2 || state == 3 || state == 6)
        source.set("Power Source State", "Battery Power");
    source.set("Is Charging", state == 1 ? 1 : 0);
    source.set("Is Charged", state == 4 ? 1 : 0);
    if (state == 4)
        source.set("Time to Full Charge", 0);
    setMinutes(source, "Time to Empty", p["TimeToEmpty"]);
    setMinutes(source, "Time to Full Charge", p["TimeToFull"]);
    return source;
}

Value UPowerDevices::peripheralPowerSource(const Value& p, const std::string& path) {
    Value source = baseSource(p, path);
    source.set("Power Source State", "Battery Power");
    return source;
}

bool UPowerDevices::listIsStale() const {
    const double now = clock_.now();
    return listChanged_->load() || now - listedAt_ >= kListLifetime || now < listedAt_;
}

bool UPowerDevices::enumerate() {
    // Cleared first, so that an announcement during the call is not lost.
    listChanged_->store(false);
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        connection_, kService, kManagerPath, kService, "EnumerateDevices", nullptr,
        G_VARIANT_TYPE("(ao)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, kTimeoutMs, nullptr, &error);
    if (!reply) {
        giveUp(error);
        return false;
    }
    const Value paths = fromGVariant(reply)[0];
    g_variant_unref(reply);
    devices_.clear();
    for (const auto& path : paths.arrayItems())
        devices_.push_back({path.string()});
    listedAt_ = clock_.now();
    warned_ = false;
    return true;
}

void UPowerDevices::giveUp(GError* error) {
    quietUntil_ = clock_.now() + kQuietAfterFailure;
    listChanged_->store(true);
    if (!warned_)
        CVBLog("Power sources: UPower does not answer (%s); peripherals come from the kernel "
               "only, asking again in a minute",
               error ? error->message : "unknown");
    warned_ = true;
    g_clear_error(&error);
}

std::optional<Value> UPowerDevices::readDevice(Device& device) {
    GError* error = nullptr;
    GVariant* all = g_dbus_connection_call_sync(
        connection_, kService, device.path.c_str(), "org.freedesktop.DBus.Properties", "GetAll",
        g_variant_new("(s)", "org.freedesktop.UPower.Device"), G_VARIANT_TYPE("(a{sv})"),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, kTimeoutMs, nullptr, &error);
    if (!all) {
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT)) {
            giveUp(error);
            return std::nullopt;
        }
        // Gone since the list was read: read it again next time.
        listChanged_->store(true);
        g_clear_error(&error);
        return Value();
    }
    Value properties = fromGVariant(all)[0];
    g_variant_unref(all);
    device.ignored = !isOfInterest(properties);
    return properties;
}

std::vector<UPowerDevices::Peripheral>
UPowerDevices::peripheralBatteries(const std::vector<std::string>& known) {
    std::vector<Peripheral> sources;
    if (!connection_ || clock_.now() < quietUntil_ || (listIsStale() && !enumerate()))
        return sources;
    for (auto& device : devices_) {
        if (device.ignored)
            continue;
        const auto p = readDevice(device);
        if (!p)
            break; // no answer: the others would keep this update waiting as long
        const std::string& native = (*p)["NativePath"].string();
        if (p->isNull() || device.ignored || !(*p)["IsPresent"].boolValue() ||
            std::find(known.begin(), known.end(), native) != known.end())
            continue;
        if (isUps(*p)) {
            sources.push_back({upsPowerSource(*p, device.path),
                               BatteryStatCollectorItem::PowerSource, UnknownDevice});
            continue;
        }
        sources.push_back({peripheralPowerSource(*p, device.path),
                           BatteryStatCollectorItem::WirelessDevice,
                           deviceKindForUPowerType((*p)["Type"].integerValue())});
    }
    return sources;
}

} // namespace corvane
