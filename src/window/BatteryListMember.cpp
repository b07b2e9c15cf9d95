#include "window/BatteryListMember.h"

#include "preferences/CVBPreferences.h"

#include <algorithm>

namespace corvane {

namespace {

// The panel item's own test: the internal battery by its flag, any other by its key.
bool sameBattery(const Value& a, const Value& b) {
    const bool internal = a["internal"].boolValue();
    if (internal != b["internal"].boolValue())
        return false;
    return internal || a["key"].stringValue() == b["key"].stringValue();
}

bool holds(const Value& list, const Value& record) {
    const auto& items = list.arrayItems();
    return std::any_of(items.begin(), items.end(),
                       [&](const Value& item) { return sameBattery(item, record); });
}

} // namespace

BatteryListMember::BatteryListMember(std::string prefKey, std::string notificationName,
                                     Value record, std::function<std::vector<Value>()> connected,
                                     BoundControlServices services)
    : BoundControl(std::move(prefKey), std::move(notificationName), std::move(services))
    , record_(std::move(record))
    , connected_(std::move(connected)) {}

Value BatteryListMember::recordOf(bool internal, const std::string& key) {
    return internal ? Value::dict({{"internal", true}}) : Value::dict({{"key", key}});
}

Value BatteryListMember::shownList() const {
    const Value& stored = CVBObjectForKey(prefKey());
    if (stored.isArray() && !stored.arrayItems().empty())
        return stored;
    Value every = Value::array();
    for (const Value& record : connected_())
        every.append(record);
    return every;
}

void BatteryListMember::userSetChecked(bool checked) {
    const Value before = shownList();
    Value list = Value::array();
    for (const Value& item : before.arrayItems()) {
        if (checked || !sameBattery(item, record_))
            list.append(item);
    }
    if (checked && !holds(list, record_))
        list.append(record_);
    checked_ = checked;
    const auto connected = connected_();
    const bool everyOne = list.arrayItems().size() == connected.size() &&
                          std::all_of(connected.begin(), connected.end(),
                                      [&](const Value& record) { return holds(list, record); });
    // Nothing stored lists every battery, those connected later included.
    commit(everyOne ? Value() : list);
}

void BatteryListMember::updateValue() {
    checked_ = holds(shownList(), record_);
}

} // namespace corvane
