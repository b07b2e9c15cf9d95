#include "collectors/battery/BatteryStatCollectorLinux.h"

#include "collectors/battery/WirelessDeviceKind.h"
#include "foundation/TextParsing.h"

#include <cctype>
#include <cmath>
#include <map>

namespace corvane {

namespace {

constexpr const char* kClass = "/sys/class/power_supply/";

std::unique_ptr<BatteryStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<BatteryStatCollectorLinux> instance;
    return instance;
}

// The attributes of one supply at one moment; numbers in the kernel's micro-units. The kernel
// gives them all in one read of "uevent", where a file each would take a read each (and on
// some machines a trip to the firmware each); a tree without it is read file by file.
class Supply {
public:
    Supply(const SysRoot& root, const std::string& name)
        : root_(root)
        , dir_(kClass + name + "/") {
        if (auto uevent = root_.readFile(dir_ + "uevent", kUeventLimit))
            readUevent(*uevent);
    }

    std::string text(const char* attribute) const { return value(attribute).value_or(""); }
    std::optional<double> number(const char* attribute) const {
        const auto text = value(attribute);
        const auto parsed = text ? parseInteger(*text) : std::nullopt;
        return parsed ? std::optional<double>(static_cast<double>(*parsed)) : std::nullopt;
    }

private:
    static constexpr std::size_t kUeventLimit = 16384;

    void readUevent(std::string_view text) {
        hasUevent_ = true;
        for (std::string_view line : splitLines(text)) {
            constexpr std::string_view prefix = "POWER_SUPPLY_";
            const auto equals = line.find('=');
            if (!line.starts_with(prefix) || equals == std::string_view::npos)
                continue;
            std::string attribute(line.substr(prefix.size(), equals - prefix.size()));
            for (char& c : attribute)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            values_[attribute] = std::string(trimmed(line.substr(equals + 1)));
        }
    }

    std::optional<std::string> value(const char* attribute) const {
        if (auto it = values_.find(attribute); it != values_.end())
            return it->second;
        // Kernels before 5.8 leave the type out of uevent.
        if (hasUevent_ && std::string_view(attribute) != "type")
            return std::nullopt;
        auto read = root_.readAttribute(dir_ + attribute);
        values_[attribute] = read;
        return read;
    }

    const SysRoot& root_;
    std::string dir_;
    bool hasUevent_ = false;
    mutable std::map<std::string, std::optional<std::string>, std::less<>> values_;
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

BatteryStatCollectorLinux::~BatteryStatCollectorLinux() = default;

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

namespace {

bool onMains(const std::vector<Supply>& supplies) {
    for (const auto& s : supplies) {
        const std::string type = s.text("type");
        if ((type == "Mains" || type == "USB") && s.number("online").value_or(0) == 1)
            return true;
    }
    return false;
}

BatteryStatCollector::PowerSource sourceFrom(const std::string& name, const Supply& s, bool mains) {
    BatteryStatCollector::PowerSource source;
    const bool device = s.text("scope") == "Device";
    source.type = s.text("type") == "UPS" ? BatteryStatCollectorItem::PowerSource
                  : device                ? BatteryStatCollectorItem::WirelessDevice
                                          : BatteryStatCollectorItem::InternalBattery;
    Value d = Value::dict({{"Power Source ID", name}});
    const std::string model = s.text("model_name");
    d.set("Name", model.empty() ? name : model);
    if (device)
        source.subtype = deviceKindForName(model);
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

} // namespace

struct BatteryStatCollectorLinux::Snapshot {
    std::vector<std::string> names;
    std::vector<Supply> supplies;
};

void BatteryStatCollectorLinux::updateStats() {
    // One reading of the supplies serves the adapter and the sources of this update.
    snapshot_ = takeSnapshot();
    BatteryStatCollector::updateStats();
    snapshot_.reset();
}

std::unique_ptr<BatteryStatCollectorLinux::Snapshot>
BatteryStatCollectorLinux::takeSnapshot() const {
    auto snapshot = std::make_unique<Snapshot>();
    snapshot->names = root_.list(kClass);
    for (const auto& name : snapshot->names)
        snapshot->supplies.emplace_back(root_, name);
    return snapshot;
}

const BatteryStatCollectorLinux::Snapshot& BatteryStatCollectorLinux::snapshot() {
    if (snapshot_)
        return *snapshot_;
    transient_ = takeSnapshot();
    return *transient_;
}

std::vector<BatteryStatCollector::PowerSource> BatteryStatCollectorLinux::powerSources() {
    const auto& [names, supplies] = snapshot();
    const bool mains = onMains(supplies);
    std::vector<PowerSource> sources;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string type = supplies[i].text("type");
        if (type == "Battery" || type == "UPS")
            sources.push_back(sourceFrom(names[i], supplies[i], mains));
    }
    if (upower_) {
        for (auto& device : upower_->peripheralBatteries(names))
            sources.push_back({BatteryStatCollectorItem::WirelessDevice,
                               std::move(device.powerSource),
                               {},
                               device.kind});
    }
    return sources;
}

std::optional<std::int64_t> BatteryStatCollectorLinux::readAdapterWatts() {
    for (const Supply& s : snapshot().supplies) {
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
