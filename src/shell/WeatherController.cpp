#include "shell/WeatherController.h"

#include "clock/CityStatCollector.h"
#include "foundation/GLibMainQueue.h"
#include "preferences/CVBPreferences.h"
#include "shell/ApplicationText.h"
#include "shell/SectionManager.h"
#include "shell/SectionServices.h"

#include <ctime>

namespace corvane {

WeatherController::WeatherController(SectionManager& manager)
    : WeatherController(manager, Client{}) {}

WeatherController::WeatherController(SectionManager& manager, Client client)
    : SectionController(manager)
    , client_(std::move(client)) {}

WeatherController::~WeatherController() = default;

void WeatherController::initWithXib(std::string xibName, std::int64_t key) {
    SectionController::initWithXib(std::move(xibName), key);
    updateIcon();
}

void WeatherController::setup() {
    SectionController::setup();
    providers().update();
}

void WeatherController::updateIcon() {
    const auto now = static_cast<std::time_t>(services().clock->now());
    std::tm local{};
    localtime_r(&now, &local);
    updateIcon(local.tm_hour);
}

void WeatherController::updateIcon(int hour) {
    const std::string icon = (hour < 6 || hour >= 18) ? "prefs-sourcelist-icon-weather-moon"
                                                      : "prefs-sourcelist-icon-weather";
    sourceItem().icon = icon;
    sourceItem().selectedIcon = icon + "-selected";
    sourceItem().setNeedsDisplay();
}

CVBPreferences& WeatherController::preferences() {
    return client_.preferences ? *client_.preferences : CVBPreferences::sharedPreferences();
}

ProviderList& WeatherController::providers() {
    if (!providers_)
        providers_ = std::make_unique<ProviderList>(preferences(), client_.providers, [this] {
            if (auto listeners = listeners_.lock(); listeners && listeners->providersChanged)
                listeners->providersChanged();
        });
    return *providers_;
}

LocationSearch& WeatherController::search() {
    if (!search_) {
        if (!client_.queue) {
            ownQueue_ = std::make_unique<GLibMainQueue>();
            client_.queue = ownQueue_.get();
        }
        if (!client_.cities) {
            ownCities_ = std::make_unique<CityStatCollector>(
                *client_.queue, CityStatCollector::defaultDatabasePath());
            client_.cities = ownCities_.get();
        }
        search_ = std::make_unique<LocationSearch>(
            *client_.queue, client_.search, client_.cities, [this] {
                if (auto listeners = listeners_.lock(); listeners && listeners->rowsChanged)
                    listeners->rowsChanged();
            });
    }
    return *search_;
}

std::string WeatherController::localized(std::string_view key) {
    return HLVLocalizedString(applicationText(preferences()), key, std::nullopt, "prefs");
}

void WeatherController::post(const char* key) {
    if (!services().distributedCenter)
        return;
    services().distributedCenter->postNotificationName(
        kChangedNotification, key ? Value::dict({{"key", key}}) : Value(),
        DistributedNotificationCenter::DeliverImmediately);
}

void WeatherController::selectProvider(const std::string& key) {
    if (preferences().setObject(Value(key), ProviderList::kChosenKey))
        post(nullptr);
}

Value WeatherController::locationRecordForResult(const Value& result) {
    if (result["identifier"].isNull() || result["identifier"].stringValue().empty())
        return Value::dict({{"identifier", kCurrentLocation}});
    Value record = Value::dict();
    for (const char* key : {"name", "country", "state", "identifier", "latitude", "longitude",
                            "plain", "wu-station-id"})
        if (const Value* value = result.find(key))
            record.set(key, *value);
    if (const Value* zone = result.find("tz"))
        record.set("timezone", *zone);
    return record;
}

void WeatherController::selectCity(const Value& result) {
    if (preferences().setObject(Value::array({locationRecordForResult(result)}), kLocationsKey))
        post(kLocationsKey);
}

std::string WeatherController::locationLabel() {
    const Value& location = preferences().objectForKey(kLocationsKey)[0];
    std::string place = location["name"].stringValue();
    if (location["identifier"].stringValue() == kCurrentLocation || place.empty())
        place = localized("Current Location");
    else if (const std::string country = location["country"].stringValue(); !country.empty())
        place += ", " + country;
    return formattedString(localized("Location: %@"), place);
}

} // namespace corvane
