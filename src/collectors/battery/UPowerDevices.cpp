#include "collectors/battery/UPowerDevices.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace corvane {

namespace {

constexpr const char* kService = "org.freedesktop.UPower";
constexpr const char* kManagerPath = "/org/freedesktop/UPower";
constexpr std::int64_t kUpsType = 3;

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

} // namespace

struct UPowerDevices::State : std::enable_shared_from_this<State> {
    // Who a call's answer goes to, and about which object.
    using Caller = std::pair<std::shared_ptr<State>, std::string>;
    struct Device {
        std::string path;
        bool ignored = false; // neither a UPS nor a peripheral; a device keeps its type
        Value properties;     // null until UPower answered
    };

    State(GObjectRef<GDBusConnection> bus, GCancellable* calls, const Clock& time)
        : connection(std::move(bus))
        , cancellable(GObjectRef<GCancellable>::share(calls))
        , clock(time) {}

    bool listIsStale() const {
        const double now = clock.now();
        return listChanged || now - listedAt >= kListLifetime || now < listedAt;
    }
    // One question at a time: a daemon that does not answer never has a pile of them.
    void ask() {
        if (pending > 0 || clock.now() < quietUntil)
            return;
        if (listIsStale()) {
            // Cleared first, so that an announcement during the call is not lost.
            listChanged = false;
            call(kManagerPath, kService, "EnumerateDevices", nullptr, G_VARIANT_TYPE("(ao)"));
            return;
        }
        readDevices();
    }
    void readDevices() {
        for (const auto& device : devices)
            if (!device.ignored)
                call(device.path.c_str(), "org.freedesktop.DBus.Properties", "GetAll",
                     g_variant_new("(s)", "org.freedesktop.UPower.Device"),
                     G_VARIANT_TYPE("(a{sv})"));
    }
    void call(const char* path, const char* interface, const char* method, GVariant* arguments,
              const GVariantType* replyType) {
        ++pending;
        auto* caller = new Caller(shared_from_this(), path);
        g_dbus_connection_call(
            connection.get(), kService, path, interface, method, arguments, replyType,
            G_DBUS_CALL_FLAGS_NO_AUTO_START, kTimeoutMs, cancellable.get(),
            [](GObject*, GAsyncResult* result, gpointer data) {
                const std::unique_ptr<Caller> answer(static_cast<Caller*>(data));
                answer->first->answered(answer->second, result);
            },
            caller);
    }
    void answered(const std::string& path, GAsyncResult* result) {
        --pending;
        GErrorHolder error;
        const VariantRef reply(
            g_dbus_connection_call_finish(connection.get(), result, error.out()));
        if (error.matches(G_IO_ERROR, G_IO_ERROR_CANCELLED))
            return; // the owner is gone
        if (path == kManagerPath)
            listed(reply.get(), error);
        else
            read(path, reply.get(), error);
    }
    void listed(GVariant* reply, const GErrorHolder& error) {
        if (!reply) {
            giveUp(error.message());
            return;
        }
        const Value paths = fromGVariant(reply)[0];
        std::vector<Device> fresh;
        for (const auto& path : paths.arrayItems()) {
            auto known = std::find_if(devices.begin(), devices.end(),
                                      [&](const Device& d) { return d.path == path.string(); });
            fresh.push_back(known != devices.end() ? std::move(*known)
                                                   : Device{path.string(), false, Value()});
        }
        devices = std::move(fresh);
        listedAt = clock.now();
        warned = false;
        readDevices();
    }
    void read(const std::string& path, GVariant* reply, const GErrorHolder& error) {
        auto device = std::find_if(devices.begin(), devices.end(),
                                   [&](const Device& d) { return d.path == path; });
        if (device == devices.end())
            return; // the list was read again meanwhile
        if (error.matches(G_IO_ERROR, G_IO_ERROR_TIMED_OUT)) {
            giveUp(error.message());
        } else if (!reply) {
            // Gone since the list was read: read it again next time.
            device->properties = Value();
            listChanged = true;
        } else {
            device->properties = fromGVariant(reply)[0];
            device->ignored = !isOfInterest(device->properties);
        }
    }
    void giveUp(const char* message) {
        quietUntil = clock.now() + kQuietAfterFailure;
        listChanged = true;
        devices.clear();
        if (!warned)
            CVBLog("Power sources: UPower does not answer (%s); peripherals come from the kernel "
                   "only, asking again in a minute",
                   message);
        warned = true;
    }
    std::vector<Peripheral> sources(const std::vector<std::string>& known) const;

    GObjectRef<GDBusConnection> connection;
    GObjectRef<GCancellable> cancellable;
    const Clock& clock;
    std::vector<Device> devices;
    bool listChanged = true;
    double listedAt = 0;
    double quietUntil = 0;
    int pending = 0;
    bool warned = false;
};

namespace {

GObjectRef<GDBusConnection> systemBus() {
    GErrorHolder error;
    auto bus =
        GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
    if (!bus)
        CVBLog("Power sources: no system bus (%s); peripherals come from the kernel only",
               error.message());
    return bus;
}

} // namespace

UPowerDevices::UPowerDevices(GDBusConnection* connection, const Clock* clock) {
    auto bus = connection ? GObjectRef<GDBusConnection>::share(connection) : systemBus();
    state_ = std::make_shared<State>(std::move(bus), calls_.get(),
                                     clock ? *clock : SystemClock::shared());
    subscription_ = subscribeSignal(
        state_->connection.get(), {.sender = kService, .interface = kService, .path = kManagerPath},
        [state = std::weak_ptr<State>(state_)](const char* signal, GVariant*) {
            const std::string_view name = signal;
            if (auto alive = state.lock();
                alive && (name == "DeviceAdded" || name == "DeviceRemoved"))
                alive->listChanged = true;
        });
}

UPowerDevices::~UPowerDevices() = default;

bool UPowerDevices::waiting() const {
    return state_->pending > 0;
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

std::vector<UPowerDevices::Peripheral>
UPowerDevices::peripheralBatteries(const std::vector<std::string>& known) {
    if (!state_->connection)
        return {};
    auto sources = state_->sources(known);
    state_->ask();
    return sources;
}

std::vector<UPowerDevices::Peripheral>
UPowerDevices::State::sources(const std::vector<std::string>& known) const {
    std::vector<Peripheral> sources;
    for (const auto& device : devices) {
        const Value& p = device.properties;
        if (device.ignored || !p.isDictionary() || !p["IsPresent"].boolValue() ||
            std::find(known.begin(), known.end(), p["NativePath"].string()) != known.end())
            continue;
        if (isUps(p)) {
            sources.push_back({upsPowerSource(p, device.path),
                               BatteryStatCollectorItem::PowerSource, UnknownDevice});
            continue;
        }
        sources.push_back({peripheralPowerSource(p, device.path),
                           BatteryStatCollectorItem::WirelessDevice,
                           deviceKindForUPowerType(p["Type"].integerValue())});
    }
    return sources;
}

} // namespace corvane
