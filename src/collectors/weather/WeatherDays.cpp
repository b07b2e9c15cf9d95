#include "collectors/weather/WeatherDays.h"

#include "text/ValueFormatters.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace corvane {

double startOfDay(double now, const std::string& zone) {
    UErrorCode status = U_ZERO_ERROR;
    // An unknown name gives ICU's "Etc/Unknown", which keeps UTC's hours.
    icu::TimeZone* timeZone = icu::TimeZone::createTimeZone(
        icu::UnicodeString::fromUTF8(zone.empty() ? std::string("UTC") : zone));
    icu::GregorianCalendar calendar(timeZone, status);
    calendar.setTime(now * 1000.0, status);
    calendar.set(UCAL_HOUR_OF_DAY, 0);
    calendar.set(UCAL_MINUTE, 0);
    calendar.set(UCAL_SECOND, 0);
    calendar.set(UCAL_MILLISECOND, 0);
    const double start = calendar.getTime(status) / 1000.0;
    return U_SUCCESS(status) ? start : std::floor(now / 86400) * 86400;
}

namespace {

std::optional<std::string> iconBase(const Value& record, bool night, int size) {
    const std::string& icon = record["icon"].string();
    if (icon.empty())
        return std::nullopt;
    std::string name = icon;
    if (record.contains("dn"))
        name += night ? "-night" : "-day";
    return name + "-" + std::to_string(size);
}

} // namespace

std::optional<std::string> weatherIcon(const Value& record, bool night, int size) {
    return iconBase(record, night, size);
}

std::optional<std::string> weatherIconLight(const Value& record, bool night, int size) {
    auto name = iconBase(record, night, size);
    if (name)
        *name += "-onlight";
    return name;
}

std::optional<std::string> weatherIconMenubar(const Value& record, bool night, bool coloured,
                                              int size, bool darkPanel) {
    auto name = iconBase(record, night, size);
    if (name && coloured && !darkPanel)
        *name += "-onlight";
    else if (name && !coloured)
        *name += darkPanel ? "-white" : "-black";
    return name;
}

const Value& weatherDayPart(const Value& day, std::string_view key, bool night) {
    const std::string base(key);
    if (night)
        if (const Value* entry = day.find(base + "-night"))
            return *entry;
    if (const Value* entry = day.find(base + "-day"))
        return *entry;
    return day[key];
}

namespace {

double number(const Value& value) {
    return value.isNumber() ? value.doubleValue() : 0;
}

std::optional<std::string> rainAmount(const WeatherUtilities& units, const Value& precipitation) {
    const Value* low = precipitation.find("rain-forecast-low");
    const Value* high = precipitation.find("rain-forecast-high");
    if (low && high && number(*high) > 0)
        return units.weatherFormattedRainDetailedRange(number(*low), number(*high));
    if (high && !low && number(*high) > 0) {
        if (precipitation["value-modifier"].string() == "<")
            return units.weatherFormattedRainDetailedRange(0, number(*high));
        return units.weatherFormattedRainForecast(number(*high));
    }
    if (low && !high)
        return units.weatherFormattedRainForecast(number(*low));
    if (number(precipitation["rain-forecast"]) > 0)
        return units.weatherFormattedRainForecast(number(precipitation["rain-forecast"]));
    return std::nullopt;
}

std::optional<std::string> mixedAmount(const WeatherUtilities& units, const Value& precipitation) {
    const double rain = number(precipitation["rain-forecast"]);
    const double snow = number(precipitation["snow-forecast"]);
    if (rain > 0 && snow > 0)
        return units.weatherFormattedRainForecast(rain) + " / " +
               units.weatherFormattedSnowForecast(snow);
    if (snow > 0)
        return units.weatherFormattedSnowForecast(snow);
    return std::nullopt;
}

} // namespace

Value rainFromData(const WeatherUtilities& units, const Value& day, bool night) {
    const Value* precipitation = &day["precipitation"];
    if (precipitation->contains("day") && precipitation->contains("night"))
        precipitation = &(*precipitation)[night ? "night" : "day"];
    const std::string& type = (*precipitation)["type"].string();
    std::optional<std::string> amount;
    const char* label = nullptr;
    const char* labelLong = nullptr;
    if (type == "mixed") {
        label = "Rain & Snow";
        labelLong = "Chance of Rain & Snow";
        amount = mixedAmount(units, *precipitation);
    } else if (type == "snow") {
        label = "Snow";
        labelLong = "Chance of Snow";
        if (const double snow = number((*precipitation)["snow-forecast"]); snow > 0)
            amount = units.weatherFormattedRainForecast(snow);
    } else if (type == "rain") {
        label = "Rain";
        labelLong = "Chance of Rain";
        amount = rainAmount(units, *precipitation);
    } else {
        return Value::dict();
    }
    const double probability = number((*precipitation)["probability"]);
    std::string value = units.text().formatters.stringFromDouble0(probability) + "%";
    if (amount)
        value += ", " + *amount;
    Value result = Value::dict({{"type", type},
                                {"label", units.localized(label)},
                                {"label-long", units.localized(labelLong)},
                                {"value", value},
                                {"probability", probability}});
    if (amount)
        result.set("amount", *amount);
    return result;
}

namespace {

// The warmest hour from just after the day's start to six hours past its end.
std::optional<double> hourlyHigh(const Value& record, double start, double end) {
    std::optional<double> high;
    for (const Value& hour : record["hourly"].arrayItems()) {
        const double time = number(hour["time"]);
        if (time > start && time <= end + 21600 && hour["temperature"].isNumber())
            high = std::max(high.value_or(-INFINITY), hour["temperature"].doubleValue());
    }
    return high;
}

} // namespace

Value formattedDayData(const WeatherUtilities& units, const Value& record, double now) {
    Value days = Value::array();
    const double today = startOfDay(now, record["timezone"].string());
    const double sunset = number(record["sun-data"]["current"]["sun"]["set"]);
    for (const Value& source : record["forecast"].arrayItems()) {
        const double start = number(source["start"]);
        const double end = number(source["end"]);
        if (start < today)
            continue;
        Value day = source;
        const bool night = now >= start && now <= end && sunset > 0 && now > sunset;
        const bool highInSource = source["temperature-high"].isNumber();
        bool anyHigh = highInSource;
        if (!highInSource) {
            if (record["currently"]["temperature-since7am"].isNumber()) {
                day.set("temperature-high", record["currently"]["temperature-since7am"]);
                anyHigh = true;
            } else if (const auto high = hourlyHigh(record, start, end)) {
                if (!(std::round(*high) > number(source["temperature-low"])))
                    continue;
                day.set("temperature-high", std::round(*high));
                anyHigh = true;
            }
        }
        if ((!highInSource && night) || !anyHigh)
            day.set("is-night", true);
        for (const char* key : {"summary", "conditions", "icon"})
            day.set(key, weatherDayPart(source, key, night));
        const Value rain = rainFromData(units, source, night);
        day.set("precipitation-formatted", rain);
        std::string summary;
        if (rain.contains("probability") && rain["probability"].doubleValue() >= 0) {
            const bool snowy = rain["type"].string() != "rain";
            summary = formattedString(
                units.localized(snowy ? "%@ chance of snow" : "%@ chance of rain"),
                units.text().formatters.stringFromDouble0(rain["probability"].doubleValue()) + "%");
        }
        day.set("rain-summary", summary);
        days.append(std::move(day));
    }
    return days;
}

} // namespace corvane
