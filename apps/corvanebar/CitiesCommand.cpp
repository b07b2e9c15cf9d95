#include "CitiesCommand.h"

#include "CommandLine.h"
#include "clock/CityStatCollector.h"
#include "clock/ClockController.h"
#include "clock/GeoClueLocationSource.h"
#include "clock/LocationStatCollector.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"

#include <chrono>
#include <cstdio>
#include <glib.h>
#include <iostream>
#include <set>

namespace {

// "St. John's, Newfoundland and Labrador, Canada  47.5649 -52.7093  America/St_Johns  id ..."
void printCity(const corvane::Value& row) {
    std::string place = row["city"].stringValue();
    for (const char* key : {"state", "country"})
        if (const std::string part = row[key].stringValue(); !part.empty() && part != place)
            place += ", " + part;
    char position[64];
    std::snprintf(position, sizeof position, "%.4f %.4f", row["latitude"].doubleValue(),
                  row["longitude"].doubleValue());
    std::cout << place << "  " << position << "  " << row["timezone"].stringValue() << "  id "
              << row["identifier"].stringValue() << "\n";
}

} // namespace

void addCitiesCommand(CLI::App& app, CitiesOptions& o) {
    o.command = app.add_subcommand("cities", "Look up cities for world clocks and weather");
    o.command->require_subcommand(1);
    o.search = o.command->add_subcommand(
        "search", "Cities whose name, \"name, state\", state or country starts with TEXT");
    o.search->add_option("TEXT", o.text, "The start of the name; \"st john\" also finds saints")
        ->required();
    o.search->add_option("--limit", o.limit, "At most this many cities (default 20)")
        ->check(corvane::cli::wholeNumber(1, 1000));
    o.near = o.command->add_subcommand("near", "The city closest to a place, within 2 degrees");
    o.near->add_option("LAT", o.latitude, "Latitude in degrees, north positive")
        ->required()
        ->check(corvane::cli::finiteNumber(-90, 90));
    o.near->add_option("LON", o.longitude, "Longitude in degrees, east positive")
        ->required()
        ->check(corvane::cli::finiteNumber(-180, 180));
}

int runCities(const CitiesOptions& o) {
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    const auto path = corvane::CityStatCollector::defaultDatabasePath();
    if (!std::filesystem::exists(path)) {
        std::cerr << "corvanebar cities: no cities database at " << path << "\n";
        return corvane::cli::kFailed;
    }
    corvane::CityStatCollector cities(queue, path);
    if (o.near->parsed()) {
        const auto city = cities.closestCity(o.latitude, o.longitude);
        if (!city) {
            std::cout << "No city within 2 degrees of " << o.latitude << ", " << o.longitude
                      << ".\n";
            return corvane::cli::kFailed;
        }
        printCity(*city);
        return 0;
    }
    // The search lists a city once even when several of its queries find it.
    std::set<std::string> shown;
    for (const corvane::Value& row : cities.citiesWithMatch(o.text, o.limit)) {
        if (static_cast<int>(shown.size()) >= o.limit)
            break;
        if (shown.insert(row["identifier"].stringValue()).second)
            printCity(row);
    }
    if (shown.empty()) {
        std::cout << "No city starts with \"" << o.text << "\".\n";
        return corvane::cli::kFailed;
    }
    return 0;
}

void addClocksCommand(CLI::App& app, ClocksOptions& o) {
    o.command = app.add_subcommand("clocks", "List the world clocks, or change them");
    o.add = o.command->add_subcommand("add", "Add the city with this identifier at the end");
    o.add->add_option("ID", o.identifier, "An identifier that `corvanebar cities` prints")
        ->required();
    o.remove = o.command->add_subcommand("remove", "Remove the clock of this identifier");
    o.remove->add_option("ID", o.identifier, "The clock's identifier")->required();
    o.rename = o.command->add_subcommand("rename", "Show the clock under another name");
    o.rename->add_option("ID", o.identifier, "The clock's identifier")->required();
    o.rename->add_option("NAME", o.name, "The name to show; \"\" for the city's own")->required();
}

int runClocks(const ClocksOptions& o) {
    corvane::setupLog("App");
    auto& center = corvane::DistributedNotificationCenter::defaultCenter();
    corvane::ClockController clocks(corvane::CVBPreferences::sharedPreferences(), center);
    clocks.loadCities();
    int status = 0;
    if (o.add->parsed()) {
        corvane::GLibMainQueue queue;
        corvane::CityStatCollector cities(queue, corvane::CityStatCollector::defaultDatabasePath());
        const auto city = cities.cityWithIdentifier(o.identifier);
        if (!city) {
            std::cerr << "corvanebar clocks: no city has the identifier " << o.identifier << "\n";
            return corvane::cli::kFailed;
        }
        if (!clocks.addCity(*city))
            std::cout << (*city)["city"].stringValue() << " is already a world clock.\n";
        clocks.saveClocks();
    } else if (o.remove->parsed()) {
        if (clocks.removeCity(o.identifier))
            clocks.saveClocks();
        else
            status = corvane::cli::kFailed;
    } else if (o.rename->parsed()) {
        clocks.updateCityName(o.identifier, o.name);
    }
    center.flush();
    if (status != 0)
        std::cerr << "corvanebar clocks: no world clock has the identifier " << o.identifier
                  << "\n";
    // "-6" is the moon and "-7" the place the machine is at; they have no zone of their own.
    for (const corvane::Value& city : clocks.visibleCities())
        std::cout << city["position"].integerValue() + 1 << ". " << clocks.nameForCity(city) << "  "
                  << city["timezone"].stringValue() << "  id " << city["identifier"].stringValue()
                  << "\n";
    return status;
}

void addLocationCommand(CLI::App& app, LocationOptions& o) {
    o.command = app.add_subcommand(
        "location", "Ask the location service (GeoClue) where this machine is, and the city there");
    o.command->add_option("--wait", o.wait, "Seconds to wait for a position (default 10)")
        ->check(corvane::cli::wholeNumber(1, 120));
}

int runLocation(const LocationOptions& o) {
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    corvane::CityStatCollector cities(queue, corvane::CityStatCollector::defaultDatabasePath());
    corvane::GeoClueLocationSource source;
    auto& preferences = corvane::CVBPreferences::sharedPreferences();
    corvane::LocationStatCollector location(source, preferences.userDefaults(), queue, &cities);
    bool updated = false;
    location.locationManagerUpdated = [&] { updated = true; };
    location.fetchLocationWithTimeout(o.wait);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(o.wait);
    // Waits for a position while access lasts; a refused or missing service ends it at once.
    while (!updated && location.status() == 3 && std::chrono::steady_clock::now() < end) {
        if (!g_main_context_iteration(nullptr, false))
            g_usleep(10000);
    }
    std::cout << "Access    " << corvane::LocationStatCollector::nameForStatus(location.status())
              << "\n";
    if (location.status() == 2)
        std::cout << "          GeoClue refused this program: without a GeoClue agent (as GNOME "
                     "Shell is one), add [com.halvorn.corvanebar] allowed=true system=false "
                     "users= to /etc/geoclue/geoclue.conf\n";
    if (!location.hasLocation()) {
        std::cout << "Location  none known\n";
        return corvane::cli::kFailed;
    }
    char line[128];
    std::snprintf(line, sizeof line, "%.5f %.5f, altitude %.0f m", location.latitude(),
                  location.longitude(), location.altitude());
    std::cout << "Location  " << line << (updated ? "" : " (the last one known)") << "\n";
    if (const auto city = cities.closestCity(location.latitude(), location.longitude())) {
        std::cout << "City      ";
        printCity(*city);
    }
    return 0;
}
