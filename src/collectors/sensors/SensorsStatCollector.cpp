#include "collectors/sensors/SensorsStatCollector.h"

#include "hardware/SMCSensorItem.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

int typeFromKey(std::string_view key) {
    const char first = key.empty() ? '\0' : static_cast<char>(std::tolower(key[0]));
    // The later test wins, as the key letters were assigned.
    int type = 0;
    for (const auto& [letter, t] :
         {std::pair{'p', 5}, {'i', 4}, {'v', 3}, {'t', 0}, {'a', 7}, {'c', 8}, {'m', 9}})
        if (first == letter)
            type = t;
    return type;
}

std::string fanKey(int index) {
    char key[16];
    std::snprintf(key, sizeof key, "F%XAc", static_cast<unsigned>(index));
    return key;
}

} // namespace

SensorsStatCollector::SensorsStatCollector(const EngineContext& context,
                                           std::unique_ptr<PlatformMac> platform)
    : StatCollector(context, 1)
    , platform_(std::move(platform)) {
    config() = makeConfig();
    setDbTablePrefix("sensor");
    setStorageType(kStorageItems);
}

SensorsStatCollector::~SensorsStatCollector() = default;

Value SensorsStatCollector::makeConfig() {
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap", Value::dict({{"v", 0}, {"value", 0}, {"s", 0}})},
        {"sampleKeys", Value::dict({{"value", 0}})},
        {"emptySampleKeys", Value::array()},
        {"xmlSampleKeys", Value::dict({{"v", 0}})},
        {"xmlRequestIndividualItems", true},
        {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
        {"sqlInsertItem",
         "insert into %@ (sample, time, value, uuid, type) values (?, ?, ?, ?, ?)"},
        {"sqlInsertItemKeys", Value::array({"sample", "time", "value", "uuid", "type"})},
        {"sqlCreate", "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT 0, "
                      "uuid varchar(100) NOT NULL, value double NOT NULL DEFAULT 0, type integer "
                      "NOT NULL DEFAULT 0)"},
        {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                        "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"itemAttributeKeys", Value::array({"uuid", "n"})},
    });
}

StatCollector::ItemPointer SensorsStatCollector::itemClassInstance() const {
    return std::make_shared<SensorStatCollectorItem>(sampleValueCount(), tierCount());
}

StatCollector::ItemPointer SensorsStatCollector::itemWithKey(const Value& key) {
    if (auto item = StatCollector::itemWithKey(key, false))
        return item;
    const std::string wanted = key.isString() ? key.string() : key.stringValue();
    for (const auto& item : items())
        if (!wanted.empty() && item->alternateKey() == wanted)
            return item;
    return nullptr;
}

std::vector<SensorsStatCollector::SensorPointer> SensorsStatCollector::sensors() const {
    std::vector<SensorPointer> all;
    for (const auto& item : items())
        all.push_back(std::static_pointer_cast<SensorStatCollectorItem>(item));
    return all;
}

SensorsStatCollector::SensorPointer SensorsStatCollector::sensorWithKey(std::string_view key) {
    return std::static_pointer_cast<SensorStatCollectorItem>(itemWithKey(Value(std::string(key))));
}

// Keys ----------------------------------------------------------------------------------------

double SensorsStatCollector::valueForSensorKey(std::string_view key) {
    return readKey(key);
}

bool SensorsStatCollector::isKeyValid(std::string_view key) {
    const double v = readKey(key);
    if (key.starts_with("TG"))
        return true;
    // A temperature key answering -127 (or any such cold) has no sensor behind it.
    return v != 254.0 && v != -1.0 && !(key.starts_with("T") && v <= kColdestTemperature);
}

double SensorsStatCollector::valueForConfig(const SensorRow& row) {
    if (row.multiply) {
        const auto& keys = *row.multiply;
        if (!row.watts || keys.size() != 2)
            return 0;
        // Scaled at load only; later updates multiply the raw values (a factor of a million).
        return std::fabs(readKey(keys[0]) / 1000.0 * (readKey(keys[1]) / 1000.0));
    }
    if (row.average) {
        double sum = 0;
        int count = 0;
        for (const auto& key : *row.average) {
            const double v = readKey(key);
            if (v > 0.0) {
                sum += v;
                ++count;
            }
        }
        return count ? sum / count : 0.0;
    }
    return readKey(row.key);
}

std::vector<SensorListRow>
SensorsStatCollector::supportedElectricSensors(const std::vector<SensorRow>& rows) {
    std::vector<SensorListRow> result;
    for (const auto& row : rows) {
        if ((row.key.size() != 4 && !row.key.starts_with("CUS")) || row.key.starts_with("F"))
            continue;
        if (row.multiply) {
            // A key that fails stops this walk only; the row is taken all the same.
            for (const auto& key : *row.multiply)
                if (!isKeyValid(key))
                    break;
        } else if (!row.average && !isKeyValid(row.key)) {
            continue;
        }
        SensorListRow out{
            row.key, row.name, row.type.value_or(typeFromKey(row.key)), valueForConfig(row), {},
            {},      row};
        if (row.high > 0.0) {
            out.low = row.low;
            out.high = row.high;
        }
        result.push_back(std::move(out));
    }
    return result;
}

double SensorsStatCollector::minimumForFan(std::string_view key) {
    return readKey(std::string(key.substr(0, 2)) + "Mn");
}

double SensorsStatCollector::maximumForFan(std::string_view key) {
    return readKey(std::string(key.substr(0, 2)) + "Mx");
}

std::vector<SensorListRow> SensorsStatCollector::supportedFans(const std::vector<SensorRow>& rows) {
    std::vector<SensorListRow> result;
    const double count = readKey("FNum");
    for (int i = 0; i < static_cast<int>(count); ++i) {
        const std::string key = fanKey(i);
        const double value = readKey(key);
        const SensorRow* row = nullptr;
        for (const auto& candidate : rows)
            if (candidate.key == key)
                row = &candidate;
        if (!row)
            continue;
        double low = minimumForFan(key);
        if (row->low > 0.0)
            low = row->low;
        SensorRow config;
        config.key = key;
        result.push_back({key, row->name, 2, value, low, maximumForFan(key), config});
    }
    return result;
}

// Items ---------------------------------------------------------------------------------------

SensorsStatCollector::SensorPointer SensorsStatCollector::makeSensor(const SensorListRow& row) {
    auto item = std::static_pointer_cast<SensorStatCollectorItem>(newItemWithKey2(row.key));
    item->loadAlternateKey();
    item->name = row.name;
    item->sensorType = row.type;
    item->sensorConfig = row.config;
    item->index = static_cast<int>(items().size()) - 1;
    item->reading = static_cast<float>(row.value);
    item->setExists(true);
    return item;
}

void SensorsStatCollector::processSensors(const std::vector<SensorListRow>& rows) {
    for (const auto& row : rows) {
        auto item = makeSensor(row);
        if (row.low) {
            item->low = static_cast<float>(*row.low);
            item->high = static_cast<float>(row.high.value_or(0));
            item->hasFixedLimits = true;
        }
        item->updatePercentage();
    }
}

void SensorsStatCollector::processArmSensors(const std::vector<SensorListRow>& rows) {
    processSensors(rows);
    for (const auto& row : rows) {
        auto item = sensorWithKey(row.key);
        if (!item)
            continue;
        if (row.low) {
            item->lowestRecordedValue = item->low;
            item->highestRecordedValue = item->high;
            item->updatePercentage();
        } else {
            // Without limits, the reading at load is the first one seen, not 100 %.
            item->updateLimits();
        }
    }
}

std::vector<std::pair<std::string, std::string>> SensorsStatCollector::armCatalogue() const {
    std::vector<std::pair<std::string, std::string>> catalogue;
    for (const auto& row : platform_->supportedSensors())
        if (!row.key.starts_with('F'))
            catalogue.emplace_back(row.key, row.name);
    return catalogue;
}

std::vector<SensorListRow> SensorsStatCollector::supportedArmSensors() {
    std::vector<SensorListRow> rows;
    for (const auto& row :
         SensorsARMController::supportedArmSensors(liveArmSensors(), armCatalogue())) {
        SensorListRow out{row.key, row.name, row.type, row.value, {}, {}, SensorRow{}};
        out.config.key = row.key;
        rows.push_back(std::move(out));
    }
    return rows;
}

void SensorsStatCollector::processFans(const std::vector<SensorListRow>& rows) {
    if (!rows.empty())
        fanControlSupported_ = true;
    for (const auto& row : rows) {
        auto item = makeSensor(row);
        item->sensorType = 2;
        item->low = static_cast<float>(row.low.value_or(0));
        item->high = static_cast<float>(row.high.value_or(0));
        item->hasFixedLimits = true;
        item->lowestRecordedValue = item->low;
        item->highestRecordedValue = item->high;
        item->updatePercentage();
    }
}

void SensorsStatCollector::finishLoading() {
    const auto defaults = platform_->defaultSensorKeys();
    for (const auto& item : sensors())
        item->defaultSensor =
            std::find(defaults.begin(), defaults.end(), item->key()) != defaults.end();
    sort();
    const auto identifier = static_cast<std::int64_t>(idForInterval(0));
    for (const auto& item : sensors())
        addValue(*item, identifier);
    notifyChildrenChanged();
}

void SensorsStatCollector::addValue(SensorStatCollectorItem& item, std::int64_t identifier) {
    item.addSample(Value::dict({{"percentage", static_cast<double>(item.percentage)},
                                {"value", static_cast<double>(item.reading)},
                                {"sample", static_cast<double>(identifier)},
                                {"time", mainQueue().clock().now()}}),
                   0);
}

void SensorsStatCollector::refreshValue(SensorStatCollectorItem& item) {
    SMCSensorItem rules{item.key(), item.alternateKey(), item.reading, item.low,
                        item.high,  item.sensorType,     item.subType, item.sensorConfig};
    const double v = rules.updateValue([this](std::string_view key) { return readKey(key); },
                                       platform_->temperatureBug());
    // The rules keep the last value above 150 °C; a sensor's "no reading" codes below too.
    if ((item.sensorType == 0 || item.sensorType == 1) && v <= kColdestTemperature)
        return;
    item.reading = static_cast<float>(v);
}

// The cycle -----------------------------------------------------------------------------------

void SensorsStatCollector::updateStats() {
    updateStats(static_cast<std::int64_t>(idForInterval(0)));
}

void SensorsStatCollector::updateStats(std::int64_t identifier) {
    addSample(Value::dict({{"sample", static_cast<double>(identifier)},
                           {"time", mainQueue().clock().now()}}),
              0);
    if (updaterBlock())
        updaterBlock()(*this);
    beginUpdate(identifier);
    if (platform_->useArmSensors())
        updateArmSensors(identifier);
    else
        updateKeyedSensors(identifier);
    for (auto& [name, entry] : intelFrequency_) {
        auto item = sensorWithKey(entry.key);
        if (!item)
            continue;
        item->reading = static_cast<float>(entry.value);
        item->updateLimits();
        addValue(*item, identifier);
        item->intelFrequencySensor = true;
    }
    if (updaterFinishBlock())
        updaterFinishBlock()(*this);
    notifyUpdated();
}

void SensorsStatCollector::updateArmSensors(std::int64_t identifier) {
    for (const auto& reading : liveArmSensors()) {
        if (reading.value < 0)
            continue;
        auto item = sensorWithKey(SensorsARMController::catalogueKey(reading.key));
        if (!item || item->sensorType == 2)
            continue;
        item->reading = static_cast<float>(reading.value);
        item->updateLimits();
        addValue(*item, identifier);
    }
    for (const auto& fan : allFans()) {
        refreshValue(*fan);
        addValue(*fan, identifier);
    }
}

void SensorsStatCollector::updateKeyedSensors(std::int64_t identifier) {
    const bool slowRefresh = identifier % 12 == 0;
    const bool slowSample = identifier % 6 == 0;
    for (const auto& item : sensors()) {
        if (item->temporary() || item->intelFrequencySensor)
            continue;
        if (item->slowUpdating() && !slowRefresh) {
            if (slowSample)
                addValue(*item, identifier);
            continue;
        }
        if (item->sensorType == 1 && item->subType == 1)
            item->updatePercentage(); // the drive's health monitor feeds the value
        else
            refreshValue(*item);
        addValue(*item, identifier);
    }
}

// Fans ----------------------------------------------------------------------------------------

std::vector<SensorsStatCollector::SensorPointer> SensorsStatCollector::allFans() const {
    std::vector<SensorPointer> fans;
    for (const auto& item : sensors())
        if (item->sensorType == 2)
            fans.push_back(item);
    return fans;
}

std::vector<SensorsStatCollector::SensorPointer> SensorsStatCollector::fanControlFans() const {
    auto fans = allFans();
    if (platform_->className() == "MacPro7_1") {
        std::vector<SensorPointer> shown;
        for (const auto& fan : fans) {
            if (fan->key() == "F0Ac") {
                fan->nameFanControl = fan->name;
                shown.push_back(fan);
            } else if (fan->key() == "F1Ac") {
                fan->nameFanControl = "Front Fans";
                shown.push_back(fan);
            }
        }
        return shown;
    }
    if (platform_->usesSyncedFans()) {
        for (const auto& fan : fans) {
            if (fan->key() == "F0Ac") {
                fan->nameFanControl = "Fans";
                return {fan};
            }
        }
        return {};
    }
    return fans;
}

} // namespace corvane
