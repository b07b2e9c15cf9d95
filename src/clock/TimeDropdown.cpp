#include "clock/TimeDropdown.h"

#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/ClockFormatCompiler.h"
#include "clock/ClockTokens.h"
#include "clock/SkyDay.h"
#include "sky/MoonPhase.h"

#include <cmath>

namespace corvane {

namespace {

constexpr const char* kMoon = "-6";
constexpr const char* kHere = "-7";

std::string shownName(CVBDateAndTimeUtilities& u, const Value& city, const Value& names) {
    const std::string id = city["identifier"].stringValue();
    for (const Value& entry : names.arrayItems())
        if (entry["identifier"].stringValue() == id && !entry["name"].stringValue().empty())
            return entry["name"].stringValue();
    const std::string own = city["city"].stringValue();
    return id == kHere ? u.localized(own.empty() ? "Current Location" : own) : own;
}

} // namespace

std::string menubarClockText(CVBDateAndTimeUtilities& u, const Value& format, double time) {
    const CompiledClock clock = formattedLocations(format, {false, nullptr});
    std::string text;
    for (const ClockLocation& location : clock.locations)
        for (const ClockLine& line : location.lines) {
            const std::string part = lineText(u, line, time, 1);
            if (!part.empty())
                text += (text.empty() ? "" : "  ") + part;
        }
    return text;
}

std::vector<std::string> worldClockRows(CVBDateAndTimeUtilities& u, const Value& cities,
                                        const Value& names, double time) {
    std::vector<std::string> rows;
    const std::string timePattern = u.dropdownTimeFormat();
    for (const Value& city : cities.arrayItems()) {
        const std::string id = city["identifier"].stringValue();
        if (id == kMoon || !city.isDictionary())
            continue;
        const std::string zone = id == kHere ? std::string() : city["timezone"].stringValue();
        if (id != kHere && zone.empty())
            continue;
        auto& f = u.formatters();
        rows.push_back(shownName(u, city, names) + "  " + f.format(time, zone, timePattern) + "  " +
                       f.format(time, zone, "EEE d MMM") + "  " +
                       expandTokens(u, "__RELATIVE_DAY__", zone, time, 1));
    }
    return rows;
}

std::optional<SkyPlace> skyPlace(const Value& lastLocation, const Value& cities) {
    const double latitude = lastLocation["latitude"].doubleValue();
    const double longitude = lastLocation["longitude"].doubleValue();
    if (lastLocation.isDictionary() && (latitude != 0 || longitude != 0))
        return SkyPlace{latitude, longitude, {}, {}};
    for (const Value& city : cities.arrayItems()) {
        const std::string id = city["identifier"].stringValue();
        if (id == kMoon || id == kHere || city["timezone"].stringValue().empty() ||
            city["latitude"].isNull() || city["longitude"].isNull())
            continue;
        return SkyPlace{city["latitude"].doubleValue(), city["longitude"].doubleValue(),
                        city["timezone"].stringValue(), city["city"].stringValue()};
    }
    return std::nullopt;
}

std::vector<std::string> skyRows(CVBDateAndTimeUtilities& u, const SkyPlace& place, double time) {
    const int zoneSeconds = static_cast<int>(u.formatters().offsetSeconds(time, place.zone));
    const SkyDay sky = skyDay(time, zoneSeconds, place.latitude, place.longitude);
    const std::string pattern = u.dropdownTimeFormat();
    const auto event = [&](const char* word, const std::optional<double>& at) {
        return at ? u.localized(word) + " " + u.formatters().format(*at, place.zone, pattern)
                  : std::string();
    };
    const auto joined = [](std::string a, const std::string& b) {
        return a.empty() ? b : b.empty() ? a : a + "   " + b;
    };
    std::string sun = joined(event("Sunrise", sky.sunrise), event("Sunset", sky.sunset));
    if (sun.empty())
        sun = u.localized(sky.sunUpAllDay ? "The sun does not set" : "The sun does not rise");
    const std::string lit = std::to_string(std::lround(sky.moonIllumination * 100)) + " %";
    const std::string moon =
        joined(u.localized(nameForPhase(sky.moonPhase)) + " " + lit,
               joined(event("Moonrise", sky.moonrise), event("Moonset", sky.moonset)));
    return {sun, moon};
}

} // namespace corvane
