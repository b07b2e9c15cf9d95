#include "clock/CityDatabaseLookup.h"

#include "clock/ClockController.h"
#include "foundation/Log.h"

#include <string>

namespace corvane {

CityDatabaseLookup::CityDatabaseLookup(MainQueue& queue, const std::filesystem::path& path)
    : cities_(std::make_unique<CityStatCollector>(queue, path)) {}

std::unique_ptr<CityDatabaseLookup> CityDatabaseLookup::open(MainQueue& queue,
                                                             const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        CVBLog("cities: no database at %s", path.c_str());
        return nullptr;
    }
    return std::unique_ptr<CityDatabaseLookup>(new CityDatabaseLookup(queue, path));
}

Value CityDatabaseLookup::cityWithIdentifier(std::int64_t identifier) const {
    const auto row = cities_->cityWithIdentifier(std::to_string(identifier));
    return row ? ClockController::storedCity(*row) : Value();
}

void migrateStoredCities(CVBPreferences& preferences, MainQueue& queue,
                         const std::filesystem::path& database) {
    PreferenceMigration migration(preferences);
    if (!migration.doesNeedToMigrateCities())
        return;
    const auto lookup = CityDatabaseLookup::open(queue, database);
    if (!lookup) {
        CVBLog("Cities stay as stored until the cities database can be opened");
        return;
    }
    migration.migrateCities(*lookup);
}

} // namespace corvane
