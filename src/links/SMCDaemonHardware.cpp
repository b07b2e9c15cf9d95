#include "links/SMCDaemonHardware.h"

#include "foundation/Log.h"
#include "hardware/AppleSMCSysfs.h"

namespace corvane {

namespace {

// A key given as text or as a catalogue row holding it.
std::string keyOf(const Value& item) {
    return item.isDictionary() ? item["key"].stringValue() : item.stringValue();
}

} // namespace

SMCDaemonHardware::SMCDaemonHardware(const SysRoot& root)
    : root_(root)
    , smc_(std::make_unique<AppleSMCSysfs>(root)) {
    if (const IOReturn result = smc_.open(); result != kIOReturnSuccess)
        CVBLog("Daemon: no sensor keys on this machine (0x%x); sensor lists are empty", result);
}

std::optional<Value> SMCDaemonHardware::read(const std::string& key) {
    if (key.size() != 4 || !smc_.isOpen())
        return std::nullopt;
    SMCResultData data;
    const double value = valueForSMCKey(smc_, key, data, false);
    if (data.dataSize == 0)
        return std::nullopt;
    const auto size = std::min<std::size_t>(data.dataSize, data.bytes.size());
    return Value::dict({{"key", Value(key)},
                        {"type", Value(std::string(data.type()))},
                        {"size", Value(static_cast<long long>(data.dataSize))},
                        {"data", Value::data(std::string_view(
                                     reinterpret_cast<const char*>(data.bytes.data()), size))},
                        {"value", Value(value)}});
}

Value SMCDaemonHardware::sensors(const Value& keys) {
    Value readings = Value::array();
    if (!keys.isArray())
        return readings;
    for (const auto& item : keys.arrayItems())
        if (auto reading = read(keyOf(item)))
            readings.append(std::move(*reading));
    return readings;
}

Value SMCDaemonHardware::presentRows(const Value& rows) {
    Value present = Value::array();
    if (!rows.isArray())
        return present;
    for (const auto& row : rows.arrayItems()) {
        const auto reading = row.isDictionary() ? read(keyOf(row)) : std::nullopt;
        if (!reading)
            continue;
        Value kept = row;
        kept.set("value", (*reading)["value"]);
        present.append(std::move(kept));
    }
    return present;
}

Value SMCDaemonHardware::armSensors(const Value& rows) {
    Value answer = Value::array();
    if (!rows.isArray())
        return answer;
    std::vector<std::pair<std::string, std::string>> catalogue;
    for (const auto& row : rows.arrayItems())
        if (row.isDictionary())
            catalogue.emplace_back(row["key"].stringValue(), row["name"].stringValue());
    if (!arm_)
        arm_ = SensorsARMController::overHwmon(root_);
    for (const auto& row : SensorsARMController::supportedArmSensors(arm_->sensors(), catalogue))
        answer.append(Value::dict({{"key", Value(row.key)},
                                   {"name", Value(row.name)},
                                   {"type", Value(static_cast<long long>(row.type))},
                                   {"value", Value(row.value)}}));
    return answer;
}

Value SMCDaemonHardware::supportedFans(const Value& rows) {
    return presentRows(rows);
}

Value SMCDaemonHardware::supportedSensors(const Value& rows) {
    Value byKey = Value::dict();
    const Value present = presentRows(rows);
    for (const auto& row : present.arrayItems())
        byKey.set(row["key"].stringValue(), row);
    return byKey;
}

} // namespace corvane
