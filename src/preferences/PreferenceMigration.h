#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace corvane {

class CVBPreferences;
class PreferenceDomain;

inline constexpr const char* kStatusDomain = "com.halvorn.corvanebar.status";

// Finds a city of the cities database by its identifier: a dictionary, or null when there is
// none. The database belongs to the clock; migration only asks.
class CityLookup {
public:
    virtual ~CityLookup() = default;
    virtual Value cityWithIdentifier(std::int64_t identifier) const = 0;
};

// Brings stored settings to the current form: the 5.x domain once, each later change of a
// stored form once (a marker key per step), and the forms that may come back in an imported
// file on every run. Safe to run any number of times, in any process.
class PreferenceMigration {
public:
    // The 5.x status-item settings file and the domain it moves to, by default the file under
    // the configuration directory and the named domain.
    struct StatusSettings {
        std::filesystem::path oldFile;
        std::shared_ptr<PreferenceDomain> domain; // made on demand when null
    };

    explicit PreferenceMigration(CVBPreferences& preferences);
    PreferenceMigration(CVBPreferences& preferences, StatusSettings statusSettings);

    void migrateIfNeeded();
    // Takes over the settings of the 5.x domain.
    void migrateToV6();
    // A mode list stored as a comma-joined string becomes a list of dictionaries.
    void updateMenubarMode(std::string_view key);

    // The list with the Moon and the current location first.
    static Value migratedCities(const Value& list);
    // Whether the stored cities still hold bare identifiers.
    bool doesNeedToMigrateCities();
    // Replaces bare identifiers by the cities they name and keeps those it finds nothing for;
    // needs the cities database, so start-up calls it once the database is open.
    void migrateCities(const CityLookup& lookup);

private:
    bool hasMarker(std::string_view marker);
    void setMarker(std::string_view marker);
    void copyStatusSettings();
    void moveUpdateToggles();
    // A write of migrateToV6: to the domain only when migration is allowed, to the cache always.
    void store(std::string_view key, Value value);
    void carryOver(const std::string& key, const Value& value);
    Value wrappedClockFormat(const Value& stored) const;

    CVBPreferences& preferences_;
    StatusSettings statusSettings_;
};

} // namespace corvane
