#pragma once

#include "foundation/Value.h"

#include <string>
#include <vector>

namespace corvane {

class CVBPreferences;
class DistributedNotificationCenter;

// The world clocks of the Time section: "Time_Cities" in their order, and the names the user
// gave them in "Time_CityNames".
class ClockController {
public:
    // Both must outlive the controller.
    ClockController(CVBPreferences& preferences, DistributedNotificationCenter& center);

    // Reads "Time_Cities", ordered and numbered by "position".
    void loadCities();
    const std::vector<Value>& visibleCities() const { return visibleCities_; }

    // Adds a row of the cities database at the end; false when it is there already.
    bool addCity(const Value& row);
    bool removeCity(const std::string& identifier);
    // Moves the clock `offset` places up (negative) or down; false when it cannot go there.
    bool moveCity(const std::string& identifier, int offset);
    // Stores a shown name, replacing the entry of the same identifier; an empty name goes back
    // to the city's own.
    void updateCityName(const std::string& identifier, const std::string& name);
    // The name the user gave the city, else its own.
    std::string nameForCity(const Value& city) const;

    // Writes the list and tells the running programs at once. Stored entries that are not
    // cities yet (identifiers the cities database did not know) are kept after them.
    void saveClocks();

    // A row of the cities database, or of another source, in the form "Time_Cities" stores.
    static Value storedCity(const Value& row);

private:
    CVBPreferences& preferences_;
    DistributedNotificationCenter& center_;
    std::vector<Value> visibleCities_;
};

} // namespace corvane
