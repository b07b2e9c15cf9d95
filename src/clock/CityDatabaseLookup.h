#pragma once

#include "clock/CityStatCollector.h"
#include "preferences/PreferenceMigration.h"

#include <filesystem>
#include <memory>

namespace corvane {

class CVBPreferences;
class MainQueue;

// The cities database as settings migration asks it: a stored world clock by identifier.
class CityDatabaseLookup final : public CityLookup {
public:
    // Null when there is no database at `path`: every identifier would then count as unknown.
    static std::unique_ptr<CityDatabaseLookup> open(MainQueue& queue,
                                                    const std::filesystem::path& path);

    // The row in the form "Time_Cities" stores, or null when no city has the identifier.
    Value cityWithIdentifier(std::int64_t identifier) const override;

private:
    CityDatabaseLookup(MainQueue& queue, const std::filesystem::path& path);

    std::unique_ptr<CityStatCollector> cities_;
};

// Turns bare identifiers in "Time_Cities" into the cities they name. Opens the database only
// when some are stored; without one they stay as they are for a later start.
void migrateStoredCities(CVBPreferences& preferences, MainQueue& queue,
                         const std::filesystem::path& database);

} // namespace corvane
