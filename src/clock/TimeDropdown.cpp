#include "clock/TimeDropdown.h"

#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/ClockFormatCompiler.h"
#include "clock/ClockTokens.h"

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

} // namespace corvane
