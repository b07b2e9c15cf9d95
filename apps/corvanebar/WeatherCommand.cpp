#include "WeatherCommand.h"

#include "CommandLine.h"
#include "WeatherUnitsCommand.h"
#include "clock/CityStatCollector.h"
#include "collectors/weather/ForecastSource.h"
#include "collectors/weather/ForecastWording.h"
#include "collectors/weather/LocationSearch.h"
#include "foundation/AtomicFile.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "shell/WeatherController.h"
#include "text/TextContext.h"

#include <chrono>
#include <glib.h>
#include <iostream>

namespace {

using corvane::Value;

// Seconds a search waits for its answer.
constexpr int kSearchWait = 10;

int showForecast(const WeatherOptions& o) {
    const std::filesystem::path file = o.file.empty() ? corvane::ForecastSource::defaultStateFile()
                                                      : std::filesystem::path(o.file);
    const auto text = corvane::readFileContents(file);
    const Value record = text ? corvane::parseJson(*text, file.string()) : Value();
    corvane::TextCaches caches;
    const corvane::WeatherUtilities units(caches.with(corvane::CVBPreferences::sharedPreferences()),
                                          corvane::WeatherDefaultUnits::current());
    const auto w = corvane::wordForecast(record, units, corvane::SystemClock::shared().now());
    std::cout << w.place << "\n";
    if (w.empty) {
        std::cout << w.note << " (the status program keeps it in " << file.string()
                  << " once the weather item is on).\n";
        return corvane::cli::kFailed;
    }
    std::cout << "  " << w.now << "\n";
    for (const auto& [label, value] : w.details)
        std::cout << "  " << label << ": " << value << "\n";
    for (const auto* list : {&w.hours, &w.days}) {
        std::cout << "\n";
        for (const auto& [when, value] : *list)
            std::cout << "  " << when << "  " << value << "\n";
    }
    std::cout << "\n";
    if (!w.note.empty())
        std::cout << w.note << "\n";
    std::cout << w.attribution << "\n";
    return 0;
}

int search(const WeatherOptions& o) {
    corvane::GLibMainQueue queue;
    corvane::CityStatCollector cities(queue, corvane::CityStatCollector::defaultDatabasePath());
    bool answered = false;
    corvane::LocationSearch search(queue, {}, &cities, [&] { answered = true; });
    answered = false; // the empty list it starts with
    search.searchFieldChanged(o.text);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(kSearchWait);
    while (!answered && std::chrono::steady_clock::now() < end)
        g_main_context_iteration(nullptr, TRUE);
    if (!answered) {
        std::cerr << "corvanebar weather search: no answer within " << kSearchWait << " s\n";
        return corvane::cli::kFailed;
    }
    for (const Value& row : search.rows().arrayItems()) {
        const std::string id = row["record"]["identifier"].stringValue();
        std::cout << row["title"].stringValue() << "  id " << (id.empty() ? "current" : id) << "\n";
    }
    return 0;
}

int select(const WeatherOptions& o) {
    Value result = Value::dict();
    if (o.text != "current") {
        corvane::GLibMainQueue queue;
        corvane::CityStatCollector cities(queue, corvane::CityStatCollector::defaultDatabasePath());
        const auto city = cities.cityWithIdentifier(o.text);
        if (!city) {
            std::cerr << "corvanebar weather select: no city has the identifier " << o.text
                      << " (see `corvanebar weather search`)\n";
            return corvane::cli::kFailed;
        }
        result = corvane::LocationSearch::resultOfCity(*city);
    }
    auto& preferences = corvane::CVBPreferences::sharedPreferences();
    const Value record = corvane::WeatherController::locationRecordForResult(result);
    if (!preferences.setObject(Value::array({record}), corvane::WeatherController::kLocationsKey)) {
        std::cerr << "corvanebar weather select: the settings could not be written\n";
        return corvane::cli::kFailed;
    }
    auto& center = corvane::DistributedNotificationCenter::defaultCenter();
    center.postNotificationName(corvane::WeatherController::kChangedNotification,
                                Value::dict({{"key", corvane::WeatherController::kLocationsKey}}));
    center.flush();
    const std::string name = record["name"].stringValue();
    std::cout << "The weather is now for "
              << (name.empty() ? "the current location"
                               : name + ", " + record["country"].stringValue())
              << ".\n";
    return 0;
}

} // namespace

void addWeatherCommand(CLI::App& app, WeatherOptions& o) {
    o.command = app.add_subcommand(
        "weather", "The kept forecast as the panel words it; search and choose the place");
    o.command->add_option("--file", o.file, "Read this kept forecast instead");
    o.search = o.command->add_subcommand("search", "Places whose name starts with TEXT");
    o.search->add_option("TEXT", o.text, "The start of a place's name")->required();
    o.select = o.command->add_subcommand(
        "select", "Show the weather of the place with this identifier, or of `current`");
    o.select->add_option("ID", o.text, "An identifier that `weather search` prints, or current")
        ->required();
    // The units commands run as soon as they are parsed, before the program would make the
    // settings ready for the commands.
    o.command->parse_complete_callback([] {
        corvane::CVBPreferences::installOnFirstUse(&corvane::CVBPreferences::systemEnvironment);
    });
    addWeatherUnitsCommands(*o.command, o.exitCode);
}

int runWeather(const WeatherOptions& o) {
    corvane::setupLog("App");
    if (o.exitCode >= 0)
        return o.exitCode;
    if (o.search->parsed())
        return search(o);
    if (o.select->parsed())
        return select(o);
    return showForecast(o);
}
