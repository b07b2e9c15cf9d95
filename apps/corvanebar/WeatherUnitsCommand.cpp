#include "WeatherUnitsCommand.h"

#include "CommandLine.h"
#include "collectors/weather/WeatherUnits.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SystemFacts.h"
#include "text/TextContext.h"

#include <iostream>
#include <memory>

namespace {

using corvane::WeatherUtilities;

struct Options {
    std::string locale;
    std::string kind;
    double value = 0;
    bool swap = false;
};

// The user's settings. These commands run while the arguments are read, before the program
// sets up the settings the other commands read.
corvane::CVBPreferences& userPreferences() {
    corvane::CVBPreferences::installOnFirstUse(&corvane::CVBPreferences::systemEnvironment);
    return corvane::CVBPreferences::sharedPreferences();
}

std::string kindList() {
    std::string list;
    for (const auto& kind : corvane::weatherReadingKinds())
        list += (list.empty() ? "" : ", ") + std::string(kind.name) + " (" + kind.unit + ")";
    return list;
}

// Where a unit in force comes from: the user's setting, or the locale when it is 0.
const char* origin(const char* key) {
    return userPreferences().objectForKey(key).integerValue() > 0 ? "setting" : "locale";
}

int runUnits(const Options& o) {
    corvane::setupLog("App");
    const std::string locale =
        o.locale.empty() ? corvane::formatsLocaleId("LC_MEASUREMENT") : o.locale;
    const auto defaults = corvane::WeatherDefaultUnits::forLocale(locale);
    corvane::TextCaches caches;
    const WeatherUtilities units(caches.with(userPreferences()), defaults);
    const std::string temperature = units.defaultTemperatureUnit(false) == 2 ? "°F" : "°C";
    const char* pressure[] = {"", "hPa", "mb", "inches"};
    std::cout << "In force:\n"
              << "  temperature    " << temperature << " (" << origin("Weather_TemperatureUnits")
              << ")\n"
              << "  wind           " << units.weatherWindSpeedUnit() << " ("
              << origin("Weather_WindUnits") << ")\n"
              << "  pressure       " << pressure[units.defaultPressureUnit()] << " ("
              << origin("Weather_PressureUnits") << ")\n"
              << "  visibility     " << (units.defaultDistanceUnit() == 2 ? "miles" : "km") << " ("
              << origin("Weather_VisibilityUnits") << ")\n"
              << "  precipitation  "
              << (units.defaultPrecipitationUnits() == 2 ? "inches" : "mm and cm") << " ("
              << origin("Weather_RainUnits") << ")\n"
              << "Defaults of the locale " << locale << ":\n";
    const corvane::Value table = defaults.dictionary();
    for (const auto& [key, value] : table.dictionaryItems())
        std::cout << "  " << key << std::string(15 - std::min<std::size_t>(key.size(), 14), ' ')
                  << value.string() << "\n";
    return 0;
}

int runFormat(const Options& o) {
    corvane::setupLog("App");
    const std::string locale =
        o.locale.empty() ? corvane::formatsLocaleId("LC_MEASUREMENT") : o.locale;
    corvane::TextCaches caches;
    const WeatherUtilities units(caches.with(userPreferences()),
                                 corvane::WeatherDefaultUnits::forLocale(locale));
    const auto text = units.formattedReading(o.kind, o.value, o.swap);
    if (!text) {
        std::cerr << "corvanebar weather format: unknown kind \"" << o.kind
                  << "\"; one of: " << kindList() << "\n";
        return corvane::cli::kUsageError;
    }
    std::cout << *text << "\n";
    return 0;
}

} // namespace

void addWeatherUnitsCommands(CLI::App& weather, int& exitCode) {
    auto options = std::make_shared<Options>();
    CLI::App* units = weather.add_subcommand(
        "units", "Print the weather units in force and the defaults of the measurement locale");
    units->add_option(
        "--locale", options->locale,
        "An ICU locale (en_GB) to take the defaults from instead of the desktop's region");
    units->callback([options, &exitCode] { exitCode = runUnits(*options); });

    CLI::App* format =
        weather.add_subcommand("format", "Print a metric reading as the weather panel words it");
    format->add_option("kind", options->kind, "What the value is: " + kindList())->required();
    format->add_option("value", options->value, "The reading, in the kind's metric unit")
        ->required()
        ->check(corvane::cli::finiteNumber(-1e9, 1e9));
    format->add_option("--locale", options->locale,
                       "An ICU locale (en_US) whose default units to use");
    format->add_flag("--swap", options->swap, "Show temperatures in the other scale");
    format->callback([options, &exitCode] { exitCode = runFormat(*options); });
}
