#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

class CityStatCollector;
class MainQueue;
class PreferenceDomain;

// One position report of the platform's location service.
struct LocationFix {
    double latitude = 0;
    double longitude = 0;
    double altitude = 0;
    double time = 0; // Unix seconds
};

// Where positions come from: started and stopped by the collector, which it tells of fixes and
// of the access it has: 0 not determined, 1 restricted (no service), 2 denied, 3 authorised.
class LocationSource {
public:
    virtual ~LocationSource() = default;
    virtual void start() = 0;
    virtual void stop() = 0;
    std::function<void(const std::vector<LocationFix>&)> onLocations;
    std::function<void(int status)> onStatus;
};

// Great-circle metres between two points (haversine).
double metersBetweenLocations(double lat1, double lon1, double lat2, double lon2);

// The machine's position: the last one kept in the user defaults across runs, the nearest city,
// and the state of access to the location service. Runs on the main queue.
class LocationStatCollector {
public:
    static constexpr const char* kLastLocationKey = "LocationManager-LastLocation";

    // All must outlive the collector; `cities` may be null.
    LocationStatCollector(LocationSource& source, PreferenceDomain& userDefaults, MainQueue& queue,
                          CityStatCollector* cities);
    // Lets go of the source's callbacks.
    ~LocationStatCollector();
    LocationStatCollector(const LocationStatCollector&) = delete;
    LocationStatCollector& operator=(const LocationStatCollector&) = delete;

    // Starts updates and stops them after `timeout` seconds, unless a later fetch came since.
    void fetchLocationWithTimeout(double timeout);
    static std::string nameForStatus(int status);
    double metersFromCurrentLocation(double latitude, double longitude) const;

    bool hasLocation() const { return hasLocation_; }
    double latitude() const { return latitude_; }
    double longitude() const { return longitude_; }
    double altitude() const { return altitude_; }
    double lastTime() const { return lastTime_; }
    int status() const { return status_; }
    bool running() const { return running_; }
    const std::optional<Value>& city() const { return city_; }

    // The delegates' calls: a new position, a change of access.
    std::function<void()> locationManagerUpdated;
    std::function<void()> locationManagerStatusChanged;

private:
    void didUpdateLocations(const std::vector<LocationFix>& fixes);
    void didChangeAuthorizationStatus(int status);
    void updateCity();

    LocationSource& source_;
    PreferenceDomain& userDefaults_;
    MainQueue& queue_;
    CityStatCollector* cities_;
    double latitude_ = 0, longitude_ = 0, altitude_ = 0, lastTime_ = 0;
    bool hasLocation_ = false;
    bool running_ = false;
    int status_ = 0;
    std::uint64_t requestIndex_ = 0;
    std::optional<Value> city_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace corvane
