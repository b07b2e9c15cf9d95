#include "collectors/battery/BatteryStatCollectorLinux.h"

#include <cmath>

namespace corvane {

namespace {

constexpr const char* kClass = "/sys/class/power_supply/";

std::unique_ptr<BatteryStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<BatteryStatCollectorLinux> instance;
    return instance;
}

// The attributes of one supply; numbers in the kernel's micro-units.
class Supply {
public:
    Supply(const SysRoot& root, const std::string& name)
        : root_(root)
        , dir_(kClass + name + "/") {}

    std::string text(const char* attribute) const {
        return root_.readAttribute(dir_ + attribute).value_or("");
    }
    std::optional<double> number(const char* attribute) const {
        auto value = root_.readInteger(dir_ + attribute);
        return value ? std::optional<double>(static_cast<double>(*value)) : std::nullopt;
    }

private:
    const SysRoot& root_;
    std::string dir_;
};

// Minutes from an amount over a rate, both in the same micro-units; nothing when unknown.
std::optional<double> minutes(std::optional<double> amount, std::optional<double> rate) {
    if (!amount || !rate || *rate <= 0)
        return std::nullopt;
    return std::round(*amount / std::fabs(*rate) * 60.0);
}

std::optional<double> percentOf(const Supply& s) {
    if (auto capacity = s.number("capacity"))
        return capacity;
    for (auto [now, full] :
         {std::pair{"energy_now", "energy_full"}, std::pair{"charge_now", "charge_full"}}) {
        auto n = s.number(now);
        auto f = s.number(full);
        if (n && f && *f > 0)
            return *n / *f * 100.0;
    }
    return std::nullopt;
}

void addTimes(Value& d, const Supply& s, const std::string& status) {
    const auto energyNow = s.number("energy_now");
    const auto chargeNow = s.number("charge_now");
    const auto power = s.number("power_now");
    const auto current = s.number("current_now");
    if (status == "Discharging") {
        auto toEmpty = s.number("time_to_empty_now");
        auto estimate =
            toEmpty ? std::optional<double>(*toEmpty / 60.0) : minutes(energyNow, power);
        if (!estimate)
            estimate = minutes(chargeNow, current);
        d.set("Time to Empty", estimate ? static_cast<std::int64_t>(*estimate) : -1);
    } else if (status == "Charging") {
        auto toFull = s.number("time_to_full_now");
        std::optional<double> estimate =
            toFull ? std::optional<double>(*toFull / 60.0) : std::nullopt;
        if (!estimate && energyNow && s.number("energy_full"))
            estimate = minutes(*s.number("energy_full") - *energyNow, power);
        if (!estimate && chargeNow && s.number("charge_full"))
            estimate = minutes(*s.number("charge_full") - *chargeNow, current);
        d.set("Time to Full Charge", estimate ? static_cast<std::int64_t>(*estimate) : -1);
    } else if (status == "Full") {
        d.set("Time to Full Charge", 0);
    }
}

// The controller's figures in mAh (or mWh where the battery counts energy), mV and mA.
Value controllerFrom(const Supply& s) {
    Value p = Value::dict();
    auto milli = [](std::optional<double> micro) { return Value(std::round(*micro / 1000.0)); };
    const bool energy = s.number("energy_full_design").has_value();
    if (auto design = s.number(energy ? "energy_full_design" : "charge_full_design"))
        p.set("DesignCapacity", milli(design));
    if (auto full = s.number(energy ? "energy_full" : "charge_full"))
        p.set("MaxCapacity", milli(full));
    if (auto cycles = s.number("cycle_count"))
        p.set("CycleCount", static_cast<std::int64_t>(*cycles));
    if (auto volts = s.number("voltage_now"))
        p.set("Voltage", milli(volts));
    if (auto amps = s.number("current_now"))
        p.set("Amperage", milli(amps));
    const auto year = s.number("manufacture_year");
    const auto month = s.number("manufacture_month");
    const auto day = s.number("manufacture_day");
    if (year && month && day && *year >= 1980) {
        const auto packed = ((static_cast<std::int64_t>(*year) - 1980) << 9) |
                            (static_cast<std::int64_t>(*month) << 5) |
                            static_cast<std::int64_t>(*day);
        p.set("ManufactureDate", packed);
    }
    return p;
}

} // namespace

BatteryStatCollectorLinux::BatteryStatCollectorLinux(const EngineContext& context, SysRoot root,
                                                     std::unique_ptr<UPowerDevices> upower)
    : BatteryStatCollector(context)
    , root_(std::move(root))
    , upower_(std::move(upower)) {}

BatteryStatCollectorLinux&
BatteryStatCollectorLinux::sharedBatteryCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance)
        instance = std::make_unique<BatteryStatCollectorLinux>(context, SysRoot::fromEnvironment(),
                                                               std::make_unique<UPowerDevices>());
    return *instance;
}

void BatteryStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

bool BatteryStatCollectorLinux::onMains(const std::vector<std::string>& supplies) const {
    for (const auto& name : supplies) {
        const Supply s(root_, name);
        const std::string type = s.text("type");
        if ((type == "Mains" || type == "USB") && s.number("online").value_or(0) == 1)
            return true;
    }
    return false;
}

BatteryStatCollector::PowerSource BatteryStatCollectorLinux::sourceFrom(const std::string& name,
                                                                        bool mains) const {
    const Supply s(root_, name);
    PowerSource source;
    const bool device = s.text("scope") == "Device";
    source.type = s.text("type") == "UPS" ? BatteryStatCollectorItem::PowerSource
                  : device                ? BatteryStatCollectorItem::WirelessDevice
                                          : BatteryStatCollectorItem::InternalBattery;
    Value d = Value::dict({{"Power Source ID", name}});
    const std::string model = s.text("model_name");
    d.set("Name", model.empty() ? name : model);
    if (const std::string serial = s.text("serial_number"); !serial.empty())
        d.set("Hardware Serial Number", serial);
    if (auto percent = percentOf(s))
        d.set("Current Capacity", *percent);
    const std::string status = s.text("status");
    // A battery that charges, is full or is held back sits on mains whatever the adapters say.
    const bool onAC = mains || status == "Charging" || status == "Not charging" || status == "Full";
    d.set("Power Source State", onAC && !device ? "AC Power" : "Battery Power");
    d.set("Is Charging", status == "Charging" ? 1 : 0);
    d.set("Is Charged", status == "Full" ? 1 : 0);
    addTimes(d, s, status);
    if (auto volts = s.number("voltage_now"))
        d.set("Voltage", std::round(*volts / 1000.0));
    if (auto amps = s.number("current_now"))
        d.set("Current", std::round(*amps / 1000.0) * (status == "Discharging" ? -1 : 1));
    if (s.text("health") == "Good")
        d.set("BatteryHealth", "Good");
    // A charge limit below 100 that stops charging stands in for optimised charging.
    if (auto limit = s.number("charge_control_end_threshold");
        limit && *limit < 100 && status == "Not charging")
        d.set("Optimized Battery Charging Engaged", 1);
    if (source.type == BatteryStatCollectorItem::InternalBattery) {
        d.set("Transport Type", "Internal");
        source.controller = controllerFrom(s);
    }
    source.powerSource = std::move(d);
    return source;
}

std::vector<BatteryStatCollector::PowerSource> BatteryStatCollectorLinux::powerSources() {
    const auto supplies = root_.list(kClass);
    const bool mains = onMains(supplies);
    std::vector<PowerSource> sources;
    for (const auto& name : supplies) {
        const std::string type = Supply(root_, name).text("type");
        if (type == "Battery" || type == "UPS")
            sources.push_back(sourceFrom(name, mains));
    }
    if (upower_) {
        for (auto& device : upower_->peripheralBatteries(supplies))
            sources.push_back({BatteryStatCollectorItem::WirelessDevice, std::move(device), {}});
    }
    return sources;
}

std::optional<std::int64_t> BatteryStatCollectorLinux::readAdapterWatts() {
    for (const auto& name : root_.list(kClass)) {
        const Supply s(root_, name);
        const std::string type = s.text("type");
        if ((type != "Mains" && type != "USB") || s.number("online").value_or(0) != 1)
            continue;
        if (auto power = s.number("power_now"))
            return static_cast<std::int64_t>(std::round(*power / 1e6));
        auto volts = s.number("voltage_max");
        auto amps = s.number("current_max");
        if (volts && amps)
            return static_cast<std::int64_t>(std::round(*volts * *amps / 1e12));
    }
    return std::nullopt;
}

} // namespace corvane
