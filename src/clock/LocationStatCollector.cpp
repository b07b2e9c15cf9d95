#include "clock/LocationStatCollector.h"

#include "clock/CityStatCollector.h"
#include "foundation/MainQueue.h"
#include "preferences/PreferenceDomain.h"

#include <algorithm>
#include <cmath>

namespace corvane {

double metersBetweenLocations(double lat1, double lon1, double lat2, double lon2) {
    const double r = M_PI / 180;
    const double dLat = (lat2 - lat1) * r, dLon = (lon2 - lon1) * r;
    const double h = std::pow(std::sin(dLat / 2), 2) +
                     std::cos(lat1 * r) * std::cos(lat2 * r) * std::pow(std::sin(dLon / 2), 2);
    return 2 * std::atan2(std::sqrt(h), std::sqrt(1 - h)) * 6378.137 * 1000;
}

LocationStatCollector::LocationStatCollector(LocationSource& source, PreferenceDomain& userDefaults,
                                             MainQueue& queue, CityStatCollector* cities)
    : source_(source)
    , userDefaults_(userDefaults)
    , queue_(queue)
    , cities_(cities) {
    source_.onLocations = [this](const std::vector<LocationFix>& fixes) {
        didUpdateLocations(fixes);
    };
    source_.onStatus = [this](int status) { didChangeAuthorizationStatus(status); };
    const Value last = userDefaults_.copyValue(kLastLocationKey);
    if (last.isDictionary()) {
        latitude_ = last["latitude"].doubleValue();
        longitude_ = last["longitude"].doubleValue();
        altitude_ = last["altitude"].doubleValue();
        lastTime_ = last["time"].doubleValue();
        hasLocation_ = true;
        updateCity();
    }
}

LocationStatCollector::~LocationStatCollector() {
    source_.onLocations = nullptr;
    source_.onStatus = nullptr;
}

std::string LocationStatCollector::nameForStatus(int status) {
    // "resitrcited" is the name the logs have always shown.
    static const char* const kNames[] = {"not determined", "resitrcited", "denied", "authorized"};
    return status >= 0 && status <= 3 ? kNames[status] : "unknown";
}

double LocationStatCollector::metersFromCurrentLocation(double latitude, double longitude) const {
    return metersBetweenLocations(latitude_, longitude_, latitude, longitude);
}

void LocationStatCollector::fetchLocationWithTimeout(double timeout) {
    const std::uint64_t request = ++requestIndex_;
    running_ = true;
    source_.start();
    std::weak_ptr<bool> alive = alive_;
    queue_.after(timeout, [this, alive, request] {
        if (!alive.lock() || request != requestIndex_)
            return;
        source_.stop();
        running_ = false;
    });
}

void LocationStatCollector::didUpdateLocations(const std::vector<LocationFix>& fixes) {
    // (0, 0) is what a service without a fix reports, not a place in the Gulf of Guinea.
    const LocationFix* newest = nullptr;
    for (const LocationFix& fix : fixes)
        if ((fix.latitude != 0 || fix.longitude != 0) && std::isfinite(fix.latitude) &&
            std::isfinite(fix.longitude) && (!newest || fix.time > newest->time))
            newest = &fix;
    if (!newest || newest->time <= lastTime_)
        return;
    latitude_ = newest->latitude;
    longitude_ = newest->longitude;
    altitude_ = newest->altitude;
    lastTime_ = newest->time;
    hasLocation_ = true;
    userDefaults_.setValue(kLastLocationKey, Value::dict({{"time", lastTime_},
                                                          {"altitude", altitude_},
                                                          {"longitude", longitude_},
                                                          {"latitude", latitude_}}));
    userDefaults_.synchronize();
    updateCity();
    if (locationManagerUpdated)
        locationManagerUpdated();
}

void LocationStatCollector::didChangeAuthorizationStatus(int status) {
    if (status == status_)
        return;
    status_ = status;
    if (locationManagerStatusChanged)
        locationManagerStatusChanged();
}

void LocationStatCollector::updateCity() {
    if (!cities_)
        return;
    std::weak_ptr<bool> alive = alive_;
    cities_->asyncClosestCity(latitude_, longitude_, [this, alive](const std::optional<Value>& c) {
        if (alive.lock())
            city_ = c;
    });
}

} // namespace corvane
