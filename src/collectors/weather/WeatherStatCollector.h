#pragma once

#include "collectors/weather/ForecastSource.h"
#include "engine/EngineContext.h"
#include "foundation/NotificationCenter.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace corvane {

class LocationSource;
class LocationStatCollector;
class PreferenceDomain;

// The place "Weather_Locations" chooses: its first record, rounded to about a kilometre so that
// a wandering position does not count as a new place. "-7" (or no record) is the current
// location, `here`, which may not be known yet.
std::optional<ForecastPlace> forecastPlaceFromLocations(const Value& locations,
                                                        const std::optional<ForecastPlace>& here);

// The status program's forecast: the source for the chosen place, the machine's position when
// that place is the current location, and wake-ups. check() is cheap enough for every beat;
// the fetches it starts run on the GLib loop.
class WeatherStatCollector {
public:
    struct Parts {
        ForecastSource::Settings source;
        // Made when the current location is first needed.
        std::function<std::unique_ptr<LocationSource>()> makeLocationSource;
        PreferenceDomain* userDefaults = nullptr; // where the last position is kept
    };

    WeatherStatCollector(const EngineContext& context, Parts parts);
    ~WeatherStatCollector();
    WeatherStatCollector(const WeatherStatCollector&) = delete;
    WeatherStatCollector& operator=(const WeatherStatCollector&) = delete;

    // The process's collector: the system's trust store, GeoClue, the kept file in the state
    // folder.
    static WeatherStatCollector& sharedWeatherCollector(const EngineContext& context);
    static void cleanupShared();

    // Follows the settings' place and the network; fetches when due.
    void check(bool online);

    const Value& record() const { return source_.record(); }
    // Grows with every change of the record.
    std::uint64_t changeCount() const { return changes_; }

private:
    std::optional<ForecastPlace> here();

    const EngineContext& context_;
    Parts parts_;
    ForecastSource source_;
    std::unique_ptr<LocationSource> locationSource_;
    std::unique_ptr<LocationStatCollector> location_;
    Observation wake_;
    std::optional<bool> online_;
    std::uint64_t changes_ = 0;
};

} // namespace corvane
