#include "collectors/sensors/SensorsStatCollectorLinux.h"

#include "collectors/sensors/DaemonKeyReader.h"
#include "foundation/Log.h"
#include "hardware/AppleSMCSysfs.h"
#include "hardware/MacModelCatalogue.h"
#include "hardware/PlatformController.h"
#include "hardware/PlatformLinux.h"
#include "links/DaemonProbe.h"

#include <algorithm>
#include <unistd.h>

namespace corvane {

namespace {

// Drives report through these chips until their health monitor feeds them.
bool isDriveChip(std::string_view driver) {
    return driver == "drivetemp" || driver == "nvme";
}

// A present value of an 8-bit diode register that reads "no diode" or "fault".
constexpr double kDiodeMarker = 127.0;
// No fan spins this fast; tachometer chips answer their counter's overflow.
constexpr double kFastestFan = 30000.0;

// Frequencies are shown in MHz; hwmon gives hertz.
double shownValue(const HwmonInput& input, double value) {
    return input.kind == HwmonKind::frequency ? value / 1e6 : value;
}

std::unique_ptr<SensorsStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<SensorsStatCollectorLinux> instance;
    return instance;
}

} // namespace

double SMCDirectKeyReader::value(std::string_view key) {
    SMCResultData data;
    return valueForSMCKey(smc_, key, data, faux_);
}

SensorsStatCollectorLinux::SensorsStatCollectorLinux(const EngineContext& context, SysRoot root,
                                                     std::unique_ptr<PlatformMac> platform,
                                                     std::unique_ptr<SensorKeyReader> keys)
    : SensorsStatCollector(context, std::move(platform))
    , root_(std::move(root))
    , keys_(std::move(keys)) {
    if (!keys_ && this->platform().useArmSensors())
        arm_ = SensorsARMController::overHwmon(root_);
}

SensorsStatCollectorLinux::~SensorsStatCollectorLinux() = default;

std::unique_ptr<SensorsStatCollectorLinux>
SensorsStatCollectorLinux::make(const EngineContext& context, SysRoot root) {
    // Only root may move the controller's key cursor.
    GObjectRef<GDBusConnection> bus;
    if (::geteuid() != 0)
        bus =
            GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    return make(context, std::move(root), std::move(bus));
}

std::unique_ptr<SensorsStatCollectorLinux>
SensorsStatCollectorLinux::make(const EngineContext& context, SysRoot root,
                                GObjectRef<GDBusConnection> daemonBus) {
    auto inputs = readPlatformInputs(root, nullptr);
    std::unique_ptr<SensorsStatCollectorLinux> collector;
    // A Mac with the controller's driver; the keys it lists come from the driver.
    if (inputs.facts.isApple() && !inputs.smcKeys.empty()) {
        if (!daemonBus) {
            auto& smc = SensorSMCController::sharedSMC();
            auto platform = makePlatform(root, readPlatformInputs(root, &smc), false);
            collector = std::make_unique<SensorsStatCollectorLinux>(
                context, root, std::move(platform),
                std::make_unique<SMCDirectKeyReader>(smc, false));
        } else {
            // A user sees only the keys the driver labels; the daemon answers for every key
            // the catalogue knows, and those it has are the machine's.
            auto keys = std::make_unique<DaemonKeyReader>(std::move(daemonBus));
            std::vector<std::string> asked{"FNum"};
            for (const auto& known : sensorVocabulary())
                asked.emplace_back(known.key);
            if (auto present = keys->readKeys(asked)) {
                PlatformInputs listed = inputs;
                listed.smcKeys = std::move(*present);
                collector = std::make_unique<SensorsStatCollectorLinux>(
                    context, root, makePlatform(root, std::move(listed), false), std::move(keys));
            }
        }
    }
    // The first Apple silicon Macs read their sensors by name; the daemon is asked for the
    // list, and a daemon that does not answer leaves the reading to this process.
    if (!collector && inputs.facts.isApple()) {
        auto platform = makePlatform(root, inputs, false);
        if (platform->useArmSensors()) {
            collector =
                std::make_unique<SensorsStatCollectorLinux>(context, root, std::move(platform));
            Value catalogue = Value::array();
            for (const auto& [key, name] : collector->armCatalogue())
                catalogue.append(Value::dict({{"key", Value(key)}, {"name", Value(name)}}));
            if (auto rows = daemonBus ? daemonArmSensors(daemonBus.get(), catalogue,
                                                         DaemonKeyReader::kTimeoutMilliseconds)
                                      : std::nullopt) {
                collector->loadArmSensors(*rows);
                return collector;
            }
        }
    }
    if (!collector) {
        HwmonReadings readings(root);
        auto platform = std::make_unique<PlatformLinux>(std::move(inputs), readings.inputs());
        collector = std::make_unique<SensorsStatCollectorLinux>(context, root, std::move(platform));
    }
    collector->loadSensors();
    return collector;
}

SensorsStatCollectorLinux&
SensorsStatCollectorLinux::sharedSensorCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance)
        instance = make(context, SysRoot::fromEnvironment());
    return *instance;
}

void SensorsStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

void SensorsStatCollectorLinux::loadSensors() {
    if (arm_) {
        processArmSensors(supportedArmSensors());
        processFans(supportedFans(platform().supportedSensors()));
    } else if (keys_) {
        const auto rows = platform().supportedSensors();
        processSensors(supportedElectricSensors(rows));
        processFans(supportedFans(rows));
    } else {
        loadHwmon();
    }
    loadFrequencySensors();
    finishLoading();
}

void SensorsStatCollectorLinux::loadArmSensors(const Value& daemonRows) {
    std::vector<SensorListRow> rows;
    for (const auto& row : daemonRows.arrayItems()) {
        const std::string key = row["key"].stringValue();
        if (key.empty())
            continue;
        SensorListRow out{key,
                          row["name"].stringValue(),
                          static_cast<int>(row["type"].integerValue()),
                          row["value"].doubleValue(),
                          {},
                          {},
                          SensorRow{}};
        out.config.key = key;
        rows.push_back(std::move(out));
    }
    processArmSensors(rows);
    processFans(supportedFans(platform().supportedSensors()));
    finishLoading();
}

std::vector<NamedReading> SensorsStatCollectorLinux::liveArmSensors() {
    return arm_ ? arm_->sensors() : std::vector<NamedReading>{};
}

std::vector<std::string> SensorsStatCollectorLinux::chipListing() const {
    std::vector<std::string> listing;
    for (const auto& entry : root_.list("/sys/class/hwmon"))
        listing.push_back(entry + ">" + root_.readLink("/sys/class/hwmon/" + entry).value_or(""));
    std::sort(listing.begin(), listing.end());
    return listing;
}

void SensorsStatCollectorLinux::loadHwmon() {
    listing_ = chipListing();
    hwmon_ = std::make_unique<HwmonReadings>(root_);
    for (const auto& item : sensors())
        if (!item->intelFrequencySensor)
            item->setExists(false);
    const PlatformLinux names(PlatformInputs{}, hwmon_->inputs());
    const auto& inputs = hwmon_->inputs();
    for (const auto& row : names.supportedSensors()) {
        const auto found = std::find_if(inputs.begin(), inputs.end(),
                                        [&](const HwmonInput& i) { return i.key == row.key; });
        if (found == inputs.end())
            continue;
        const HwmonInput* input = &*found;
        SensorListRow out{row.key, row.name, sensorTypeOf(input->kind), 0, {}, {}, row};
        if (out.type == 0 && isDriveChip(input->driver))
            out.type = 1;
        // Limits from the chip; a negative minimum (nvme's -273.15) is a placeholder.
        const auto high =
            input->kind == HwmonKind::temperature && !input->max ? input->crit : input->max;
        if (high && *high > 0) {
            out.low = shownValue(*input, std::max(input->min.value_or(0), 0.0));
            out.high = shownValue(*input, *high);
        }
        auto item = makeSensor(out);
        item->sourceIndex = static_cast<std::size_t>(found - inputs.begin());
        item->setSlowUpdating(out.type == 1);
        if (out.low) {
            item->low = static_cast<float>(*out.low);
            item->high = static_cast<float>(*out.high);
            item->hasFixedLimits = true;
        }
        refreshValue(*item);
    }
    removeOldItems();
}

void SensorsStatCollectorLinux::loadFrequencySensors() {
    if (frequency_ || platform().cpu().find("Intel") == std::string::npos)
        return;
    frequency_ =
        std::make_unique<CpuFrequencySensors>(root_, !platform().hideIntergratedGraphics());
    for (const auto& source : frequency_->sources()) {
        SensorListRow row{source.key, source.name, 8, 0, 0.0, source.high, SensorRow{}};
        row.config.key = source.key;
        auto item = makeSensor(row);
        item->subType = 1;
        item->low = 0;
        item->high = static_cast<float>(source.high);
        item->hasFixedLimits = source.high > 0;
        intelFrequencySensors()[source.key] = {source.key, 0};
    }
}

double SensorsStatCollectorLinux::readKey(std::string_view key) {
    if (keys_)
        return keys_->value(key);
    const HwmonInput* input = hwmon_ ? hwmon_->input(key) : nullptr;
    return input && input->value ? *input->value : -1.0;
}

bool SensorsStatCollectorLinux::impossibleReading(const HwmonInput& input, double value) {
    switch (input.kind) {
    case HwmonKind::temperature:
        if (value <= kColdestTemperature || value >= kHottestTemperature)
            return true;
        // A real 127 °C only where the chip itself allows it.
        return value == kDiodeMarker && !(input.crit && *input.crit > kDiodeMarker);
    case HwmonKind::fan:
        return value < 0 || value > kFastestFan;
    default:
        return false;
    }
}

void SensorsStatCollectorLinux::refreshValue(SensorStatCollectorItem& item) {
    if (keys_) {
        if (keys_->answering())
            SensorsStatCollector::refreshValue(item);
        return;
    }
    if (!hwmon_)
        return;
    const auto& inputs = hwmon_->inputs();
    const HwmonInput* input =
        item.sourceIndex < inputs.size() ? &inputs[item.sourceIndex] : nullptr;
    if (!input || !input->value)
        return; // unreadable this time: the last good value stays
    if (impossibleReading(*input, *input->value)) {
        if (reportedImpossible_.insert(item.key()).second)
            CVBLog("sensor %s read an impossible %g; keeping %g", item.key().c_str(), *input->value,
                   static_cast<double>(item.reading));
        return;
    }
    item.reading = static_cast<float>(shownValue(*input, *input->value));
    item.updateLimits();
}

void SensorsStatCollectorLinux::beginUpdate(std::int64_t identifier) {
    if (keys_)
        keys_->beginCycle();
    // Switched off, the entries keep their last values and the items freeze.
    if (frequency_ && frequencyEnabled_)
        for (const auto& [key, value] : frequency_->read())
            intelFrequencySensors()[key].value = value;
    if (!hwmon_)
        return;
    hwmon_->update();
    const bool failed = std::any_of(hwmon_->inputs().begin(), hwmon_->inputs().end(),
                                    [](const HwmonInput& input) { return !input.value; });
    // A chip that left or came back changes the listing; a failed read may be the first sign.
    if ((identifier % 12 == 0 || failed) && chipListing() != listing_) {
        const auto before = items().size();
        loadHwmon();
        sort();
        if (items().size() != before || failed)
            notifyChildrenChanged();
    }
}

} // namespace corvane
