#include "clock/ClockController.h"

#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr const char* kCities = "Time_Cities";
constexpr const char* kCityNames = "Time_CityNames";
constexpr const char* kChanged = "CorvaneBarTimePreferencesChanged";

} // namespace

ClockController::ClockController(CVBPreferences& preferences, DistributedNotificationCenter& center)
    : preferences_(preferences)
    , center_(center) {}

void ClockController::loadCities() {
    visibleCities_.clear();
    for (const Value& city : preferences_.objectForKey(kCities).arrayItems())
        if (city.isDictionary())
            visibleCities_.push_back(city);
    // Entries without a position keep their stored order after the numbered ones.
    std::stable_sort(
        visibleCities_.begin(), visibleCities_.end(), [](const Value& a, const Value& b) {
            const auto position = [](const Value& v) {
                return v["position"].isNull() ? INT64_MAX : v["position"].integerValue();
            };
            return position(a) < position(b);
        });
    for (std::size_t i = 0; i < visibleCities_.size(); ++i)
        visibleCities_[i].set("position", static_cast<std::int64_t>(i));
}

bool ClockController::addCity(const Value& row) {
    const std::string id = row["identifier"].stringValue();
    if (id.empty() ||
        std::any_of(visibleCities_.begin(), visibleCities_.end(),
                    [&](const Value& c) { return c["identifier"].stringValue() == id; }))
        return false;
    Value city = row;
    city.set("position", static_cast<std::int64_t>(visibleCities_.size()));
    visibleCities_.push_back(std::move(city));
    return true;
}

bool ClockController::removeCity(const std::string& identifier) {
    const auto before = visibleCities_.size();
    std::erase_if(visibleCities_,
                  [&](const Value& c) { return c["identifier"].stringValue() == identifier; });
    for (std::size_t i = 0; i < visibleCities_.size(); ++i)
        visibleCities_[i].set("position", static_cast<std::int64_t>(i));
    return visibleCities_.size() != before;
}

bool ClockController::moveCity(const std::string& identifier, int offset) {
    const auto found =
        std::find_if(visibleCities_.begin(), visibleCities_.end(),
                     [&](const Value& c) { return c["identifier"].stringValue() == identifier; });
    if (found == visibleCities_.end())
        return false;
    const auto from = found - visibleCities_.begin();
    const auto to = from + offset;
    if (offset == 0 || to < 0 || to >= static_cast<std::ptrdiff_t>(visibleCities_.size()))
        return false;
    Value city = std::move(*found);
    visibleCities_.erase(found);
    visibleCities_.insert(visibleCities_.begin() + to, std::move(city));
    for (std::size_t i = 0; i < visibleCities_.size(); ++i)
        visibleCities_[i].set("position", static_cast<std::int64_t>(i));
    return true;
}

void ClockController::updateCityName(const std::string& identifier, const std::string& name) {
    Value names = Value::array();
    for (const Value& entry : preferences_.objectForKey(kCityNames).arrayItems())
        if (entry.isDictionary() && entry["identifier"].stringValue() != identifier)
            names.append(entry);
    if (!name.empty())
        names.append(Value::dict({{"identifier", identifier}, {"name", name}}));
    preferences_.setObject(names, kCityNames);
    preferences_.synchronize();
    center_.postNotificationName(kChanged);
}

std::string ClockController::nameForCity(const Value& city) const {
    const std::string id = city["identifier"].stringValue();
    for (const Value& entry : preferences_.objectForKey(kCityNames).arrayItems())
        if (entry["identifier"].stringValue() == id && !entry["name"].stringValue().empty())
            return entry["name"].stringValue();
    return city["city"].stringValue();
}

Value ClockController::storedCity(const Value& row) {
    Value city = Value::dict();
    for (const char* key : {"identifier", "city", "state", "country", "latitude", "longitude",
                            "timezone", "position"})
        if (!row[key].isNull())
            city.set(key, row[key]);
    // Rows of other sources name the zone "tz".
    if (!row["tz"].isNull())
        city.set("timezone", row["tz"]);
    return city;
}

void ClockController::saveClocks() {
    Value list = Value::array();
    for (const Value& row : visibleCities_)
        list.append(storedCity(row));
    for (const Value& entry : preferences_.objectForKey(kCities).arrayItems())
        if (!entry.isDictionary())
            list.append(entry);
    preferences_.setObject(list, kCities);
    preferences_.synchronize();
    center_.postNotificationName(kChanged);
}

} // namespace corvane
