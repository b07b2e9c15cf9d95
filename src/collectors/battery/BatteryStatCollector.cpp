#include "collectors/battery/BatteryStatCollector.h"

namespace corvane {

BatteryStatCollector::BatteryStatCollector(const EngineContext& context)
    : StatCollector(context, 3) {
    config() = makeConfig();
    setDbTablePrefix("battery");
    setStorageType(kStorageItems);
}

Value BatteryStatCollector::makeConfig() {
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap", Value::dict({{"percentage", 0}, {"state", 1}, {"source", 2}})},
        {"sampleKeys", Value::dict({{"percentage", 0}, {"state", 1}, {"source", 2}})},
        {"sqlCreate", "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT 0, "
                      "uuid varchar(100) NOT NULL, percentage double NOT NULL DEFAULT 0, source "
                      "integer NOT NULL DEFAULT 0, state integer NOT NULL DEFAULT 0)"},
        {"sqlCreateLong", "create table %@ (sample double, time double, empty integer, uuid "
                          "varchar(100), percentage double NOT NULL DEFAULT 0, source integer NOT "
                          "NULL DEFAULT 0, state integer NOT NULL DEFAULT 0)"},
        {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                        "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateIDLong",
         "create table %@ (sample double PRIMARY KEY NOT NULL, time double, empty integer)"},
        {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
        {"sqlInsertItem", "insert into %@ (sample, time, uuid, percentage, state, source) values "
                          "(?, ?, ?, ?, ?, ?)"},
        {"sqlInsertItemKeys",
         Value::array({"sample", "time", "uuid", "percentage", "state", "source"})},
    });
}

StatCollector::ItemPointer BatteryStatCollector::itemClassInstance() const {
    return std::make_shared<BatteryStatCollectorItem>(sampleValueCount(), tierCount());
}

std::string BatteryStatCollector::keyForSource(const Value& powerSource) {
    if (const Value* serial = powerSource.find("Hardware Serial Number");
        serial && !serial->stringValue().empty())
        return serial->stringValue();
    return powerSource["Power Source ID"].stringValue();
}

void BatteryStatCollector::updateAdapter() {
    adapterWatts_ = readAdapterWatts();
}

void BatteryStatCollector::updateStats() {
    updateAdapter();
    for (const auto& item : immutableItems())
        item->setExists(false);
    const std::size_t before = items().size();
    for (const PowerSource& s : powerSources()) {
        const std::string key = keyForSource(s.powerSource);
        if (key.empty())
            continue;
        auto item = std::static_pointer_cast<BatteryStatCollectorItem>(newItemWithKey2(key));
        item->setQueue(&mainQueue());
        item->type = s.type;
        item->subtype = s.subtype;
        if (!s.controller.isNull())
            item->processSmart(s.controller);
        item->processIOPS(s.powerSource);
        item->setExists(true);
    }
    const bool changed = removeOldItems() || items().size() != before;

    const double id = idForInterval(0);
    const double time = mainQueue().clock().now();
    addSample(Value::dict({{"sample", id}, {"time", time}}), 0);
    for (const auto& battery : batteries()) {
        // A source that tells no charge gives an empty sample: a graph shows a gap, not 0 %.
        battery->addSample(Value::dict({{"sample", id},
                                        {"time", time},
                                        {"percentage", static_cast<double>(battery->percentage)},
                                        {"state", battery->state},
                                        {"source", battery->source},
                                        {"empty", battery->hasPercentage ? 0 : 1}}),
                           0);
    }
    if (changed)
        notifyChildrenChanged();
    notifyUpdated();
}

std::vector<BatteryStatCollector::BatteryItem> BatteryStatCollector::batteries() const {
    std::vector<BatteryItem> all;
    for (const auto& item : items())
        all.push_back(std::static_pointer_cast<BatteryStatCollectorItem>(item));
    return all;
}

BatteryStatCollector::BatteryItem BatteryStatCollector::internalBattery() const {
    for (const auto& battery : batteries()) {
        if (battery->type == BatteryStatCollectorItem::InternalBattery)
            return battery;
    }
    return nullptr;
}

BatteryStatCollector::BatteryItem BatteryStatCollector::primaryBattery() const {
    if (auto internal = internalBattery())
        return internal;
    const auto all = batteries();
    return all.empty() ? nullptr : all.front();
}

} // namespace corvane
