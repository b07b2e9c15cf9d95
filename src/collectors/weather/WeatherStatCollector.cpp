#include "collectors/weather/WeatherStatCollector.h"

#include "clock/GeoClueLocationSource.h"
#include "clock/LocationStatCollector.h"
#include "engine/SleepWakeSource.h"
#include "preferences/CVBPreferences.h"

#include <cmath>

namespace corvane {

namespace {

constexpr const char* kCurrentLocation = "-7";
// Seconds the location service is listened to for one position.
constexpr double kLocationWait = 60;

double roundedDegrees(double degrees) {
    return std::round(degrees * 100) / 100;
}

std::unique_ptr<WeatherStatCollector>& sharedInstance() {
    static std::unique_ptr<WeatherStatCollector> instance;
    return instance;
}

} // namespace

std::optional<ForecastPlace> forecastPlaceFromLocations(const Value& locations,
                                                        const std::optional<ForecastPlace>& here) {
    const Value& chosen = locations[0];
    const std::string identifier = chosen["identifier"].stringValue();
    std::optional<ForecastPlace> place;
    if (identifier.empty() || identifier == kCurrentLocation) {
        place = here;
    } else {
        const Value& latitude = chosen["latitude"];
        const Value& longitude = chosen["longitude"];
        // Text or number: the search services give either.
        const double lat =
            latitude.isString() ? std::atof(latitude.string().c_str()) : latitude.doubleValue();
        const double lon =
            longitude.isString() ? std::atof(longitude.string().c_str()) : longitude.doubleValue();
        if (latitude.isNull() || longitude.isNull() || !std::isfinite(lat) || !std::isfinite(lon) ||
            std::abs(lat) > 90 || std::abs(lon) > 180)
            return std::nullopt;
        place = ForecastPlace{identifier, chosen["name"].stringValue(), lat, lon};
    }
    if (place) {
        place->latitude = roundedDegrees(place->latitude);
        place->longitude = roundedDegrees(place->longitude);
    }
    return place;
}

WeatherStatCollector::WeatherStatCollector(const EngineContext& context, Parts parts)
    : context_(context)
    , parts_(std::move(parts))
    , source_(context.queue.clock(), parts_.source, [this](const Value&) { ++changes_; }) {
    if (context_.sleepWake)
        wake_ = context_.sleepWake->observeDidWake([this] {
            if (location_)
                location_->fetchLocationWithTimeout(kLocationWait);
            source_.didWake();
        });
}

WeatherStatCollector::~WeatherStatCollector() = default;

WeatherStatCollector& WeatherStatCollector::sharedWeatherCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance) {
        Parts parts;
        parts.source.stateFile = ForecastSource::defaultStateFile();
        parts.makeLocationSource = [] { return std::make_unique<GeoClueLocationSource>(); };
        parts.userDefaults = &CVBPreferences::sharedPreferences().userDefaults();
        instance = std::make_unique<WeatherStatCollector>(context, std::move(parts));
    }
    return *instance;
}

void WeatherStatCollector::cleanupShared() {
    sharedInstance().reset();
}

std::optional<ForecastPlace> WeatherStatCollector::here() {
    if (!location_) {
        if (!parts_.makeLocationSource || !parts_.userDefaults)
            return std::nullopt;
        locationSource_ = parts_.makeLocationSource();
        location_ = std::make_unique<LocationStatCollector>(*locationSource_, *parts_.userDefaults,
                                                            context_.queue, nullptr);
        location_->fetchLocationWithTimeout(kLocationWait);
    }
    if (!location_->hasLocation())
        return std::nullopt;
    return ForecastPlace{kCurrentLocation, "", location_->latitude(), location_->longitude()};
}

void WeatherStatCollector::check(bool online) {
    if (online != online_) {
        online_ = online;
        source_.networkChanged(online);
    }
    const Value& locations = CVBObjectForKey("Weather_Locations");
    const bool current = locations[0]["identifier"].stringValue() == kCurrentLocation ||
                         locations[0]["identifier"].stringValue().empty();
    source_.setPlace(forecastPlaceFromLocations(locations, current ? here() : std::nullopt));
    source_.refresh();
}

} // namespace corvane
