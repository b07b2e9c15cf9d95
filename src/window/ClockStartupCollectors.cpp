#include "window/ClockStartupCollectors.h"

namespace corvane {

void ClockStartupCollectors::setCityDatabasePath(const std::filesystem::path& path) {
    // The installed data, else the database this build generated.
    std::error_code error;
    path_ = std::filesystem::exists(path, error) ? path : CityStatCollector::defaultDatabasePath();
    lookup_.reset();
}

const CityLookup* ClockStartupCollectors::cities() {
    if (!lookup_ && !path_.empty())
        lookup_ = CityDatabaseLookup::open(queue_, path_);
    return lookup_.get();
}

} // namespace corvane
