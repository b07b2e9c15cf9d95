#include "collectors/battery/BatteryStatCollectorLinux.h"

#include "collectors/battery/WirelessDeviceKind.h"
#include "foundation/TextParsing.h"

#include <algorithm>
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
// Drivers differ in the sign of the rate, so only its size counts.
std::optional<double> minutes(std::optional<double> amount, std::optional<double> rate) {
    if (!amount || !rate || *rate == 0)
        return std::nullopt;
    return std::round(std::max(*amount, 0.0) / std::fabs(*rate) * 60.0);
}

// Drivers that give only a level in words; the middle of each band.
std::optional<double> percentOfLevel(const std::string& level) {
    static constexpr std::pair<const char*, double> kLevels[] = {
        {"Full", 100}, {"High", 80}, {"Normal", 55}, {"Low", 20}, {"Critical", 5}};
    for (const auto& [name, percent] : kLevels) {
        if (level == name)
            return percent;
    }
    return std::nullopt;
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
    return percentOfLevel(s.text("capacity_level"));
}

// The kernel's own estimate in seconds, else the amount left (or missing) over the rate.
std::optional<double> estimate(const Supply& s, const char* kernelTime, bool toFull) {
    if (auto seconds = s.number(kernelTime))
        return std::round(*seconds / 60.0);
    auto amount = [&](const char* now, const char* full) -> std::optional<double> {
        const auto n = s.number(now);
        if (!toFull || !n)
            return n;
        const auto f = s.number(full);
        return f ? std::optional<double>(*f - *n) : std::nullopt;
    };
    if (auto energy = minutes(amount("energy_now", "energy_full"), s.number("power_now")))
        return energy;
    return minutes(amount("charge_now", "charge_full"), s.number("current_now"));
}

// A time is given only where the kernel can tell one: a missing key reads "no estimate", where
// -1 would read "being worked out" for as long as the driver gives no rate.
void addTimes(Value& d, const Supply& s, const std::string& status, bool onAC) {
    if (!onAC) {
        // A device charging from its own cable counts as on battery, with no time to empty.
        if (status == "Charging")
            return;
        if (auto toEmpty = estimate(s, "time_to_empty_now", false))
            d.set("Time to Empty", static_cast<std::int64_t>(*toEmpty));
    } else if (status == "Charging") {
        if (auto toFull = estimate(s, "time_to_full_now", true))
            d.set("Time to Full Charge", static_cast<std::int64_t>(*toFull));
    } else if (status == "Full") {
        d.set("Time to Full Charge", 0);
    }
}

// Milliamperes, negative while discharging: drivers disagree on the sign of current_now.
std::optional<double> signedCurrent(const Supply& s) {
    const auto micro = s.number("current_now");
    if (!micro)
        return std::nullopt;
    const double milli = std::round(std::fabs(*micro) / 1000.0);
    return s.text("status") == "Discharging" ? -milli : milli;
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
    if (auto amps = signedCurrent(s))
        p.set("Amperage", *amps);
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
        instance = std::make_unique<BatteryStatCollectorLinux>(
            context, SysRoot::fromEnvironment(),
            std::make_unique<UPowerDevices>(nullptr, &context.queue.clock()));
    return *instance;
}

void BatteryStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

namespace {

bool isAdapter(const Supply& s) {
    const std::string type = s.text("type");
    return type == "Mains" || type == "USB";
}

// Whether the machine is on mains power, where its adapters tell; nothing where none is listed.
std::optional<bool> onMains(const std::vector<Supply>& supplies) {
    std::optional<bool> mains;
    for (const auto& s : supplies) {
        if (isAdapter(s))
            mains = mains.value_or(false) || s.number("online").value_or(0) == 1;
    }
    return mains;
}

// The kernel's health words as the item's conditions: a battery the kernel gave up on is a
// permanent failure; a fault or a temperature out of range asks for a check. Words of no
// concern ("Unknown", "Warm", "Cool") give no condition.
void addHealth(Value& d, const std::string& health) {
    static constexpr const char* kCheck[] = {"Overheat",
                                             "Over voltage",
                                             "Unspecified failure",
                                             "Over current",
                                             "Watchdog timer expire",
                                             "Safety timer expire",
                                             "Hot",
                                             "Cold",
                                             "Calibration required"};
    if (health == "Good")
        d.set("BatteryHealth", "Good");
    else if (health == "Dead")
        d.set("BatteryHealthCondition", "Permanent Battery Failure");
    else if (std::find(std::begin(kCheck), std::end(kCheck), health) != std::end(kCheck))
        d.set("BatteryHealth", "Check Battery");
}

BatteryStatCollector::PowerSource sourceFrom(const std::string& name, const Supply& s,
                                             std::optional<bool> mains) {
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
    // A charging battery has power from somewhere. "Full" and "Not charging" are kept for a
    // while after the adapter goes, so they tell mains only where no adapter says otherwise.
    const bool onAC = !device && (status == "Charging" ||
                                  mains.value_or(status == "Not charging" || status == "Full"));
    d.set("Power Source State", onAC ? "AC Power" : "Battery Power");
    d.set("Is Charging", status == "Charging" ? 1 : 0);
    d.set("Is Charged", status == "Full" ? 1 : 0);
    addTimes(d, s, status, onAC);
    if (auto volts = s.number("voltage_now"))
        d.set("Voltage", std::round(*volts / 1000.0));
    if (auto amps = signedCurrent(s))
        d.set("Current", *amps);
    addHealth(d, s.text("health"));
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
    const auto mains = onMains(supplies);
    std::vector<PowerSource> sources;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string type = supplies[i].text("type");
        // An empty bay keeps its supply with "present" 0: no battery is no source.
        if ((type != "Battery" && type != "UPS") || supplies[i].number("present") == 0)
            continue;
        // A UPS tells its own input; the machine's adapters may well hang on it.
        sources.push_back(sourceFrom(names[i], supplies[i], type == "UPS" ? std::nullopt : mains));
    }
    if (upower_) {
        for (auto& device : upower_->peripheralBatteries(names))
            sources.push_back({device.type, std::move(device.powerSource), {}, device.kind});
    }
    return sources;
}

std::optional<std::int64_t> BatteryStatCollectorLinux::readAdapterWatts() {
    for (const Supply& s : snapshot().supplies) {
        if (!isAdapter(s) || s.number("online").value_or(0) != 1)
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
