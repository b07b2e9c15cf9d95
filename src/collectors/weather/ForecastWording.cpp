#include "collectors/weather/ForecastWording.h"

#include "collectors/weather/WeatherDays.h"

#include <cmath>
#include <glib.h>

namespace corvane {

namespace {

// A moment as `format` (strftime-like) in the zone; empty for no moment.
std::string timeText(double moment, const std::string& zone, const char* format) {
    if (!(moment > 0))
        return {};
    GTimeZone* tz = zone.empty() ? nullptr : g_time_zone_new_identifier(zone.c_str());
    if (!tz)
        tz = g_time_zone_new_utc();
    GDateTime* utc = g_date_time_new_from_unix_utc(static_cast<gint64>(moment));
    GDateTime* local = utc ? g_date_time_to_timezone(utc, tz) : nullptr;
    gchar* text = local ? g_date_time_format(local, format) : nullptr;
    std::string out = text ? text : "";
    g_free(text);
    if (local)
        g_date_time_unref(local);
    if (utc)
        g_date_time_unref(utc);
    g_time_zone_unref(tz);
    return out;
}

std::string joined(std::initializer_list<std::string> parts) {
    std::string out;
    for (const std::string& part : parts)
        if (!part.empty())
            out += (out.empty() ? "" : " ") + part;
    return out;
}

std::string temperature(const WeatherUtilities& units, const Value& value) {
    return value.isNumber() ? units.weatherFormattedTemperature2(value.doubleValue(), false) : "";
}

// The source's words for a condition, translated where the table has them.
std::string conditions(const WeatherUtilities& units, const Value& reading) {
    const std::string words = reading["conditions"].stringValue();
    return words.empty() ? words : units.localized(words.c_str());
}

std::string percentage(const WeatherUtilities& units, const Value& value) {
    return value.isNumber() ? units.weatherFormattedPercentage(0, value.doubleValue()) : "";
}

void addDetails(ForecastWording& w, const WeatherUtilities& units, const Value& currently,
                const Value& today, const std::string& zone) {
    const auto add = [&](const char* label, std::string value) {
        if (!value.empty())
            w.details.emplace_back(units.localized(label), std::move(value));
    };
    add("Feels Like", temperature(units, currently["apparent"]));
    if (today["temperature-high"].isNumber() && today["temperature-low"].isNumber())
        add("Today", temperature(units, today["temperature-high"]) + " / " +
                         temperature(units, today["temperature-low"]));
    if (currently["wind-speed"].isNumber())
        add("Wind",
            joined({units.weatherFormattedWindSpeed(currently["wind-speed"].doubleValue()),
                    currently["wind-direction"].isNumber()
                        ? units.weatherWindDirection(currently["wind-direction"].doubleValue())
                        : ""}));
    if (currently["humidity"].isNumber())
        add("Humidity", units.weatherFormattedHumidity(currently["humidity"].doubleValue() / 100));
    if (currently["uv-index"].isNumber())
        add("UV Index", joined({std::to_string(std::lround(currently["uv-index"].doubleValue())),
                                units.weatherUVLabel(currently["uv-index"].doubleValue())}));
    add("Sunrise", timeText(today["sunrise"].doubleValue(), zone, "%H:%M"));
    add("Sunset", timeText(today["sunset"].doubleValue(), zone, "%H:%M"));
}

} // namespace

ForecastWording wordForecast(const Value& record, const WeatherUtilities& units, double now) {
    ForecastWording w;
    const Value& location = record["metadata"]["location"];
    const std::string name = location["name"].stringValue();
    w.place = name.empty() ? units.localized("Current Location") : name;
    if (!record["currently"].isDictionary()) {
        w.note = units.localized("No forecast yet");
        return w;
    }
    w.empty = false;
    const std::string zone = record["timezone"].stringValue();
    const Value& currently = record["currently"];
    w.now = joined({temperature(units, currently["temperature"]), conditions(units, currently)});
    const Value days = formattedDayData(units, record, now);
    addDetails(w, units, currently, days[0], zone);
    for (const Value& hour : record["hourly"].arrayItems()) {
        if (hour["time"].doubleValue() + 3600 <= now)
            continue;
        if (w.hours.size() >= std::size_t(kWordedHours))
            break;
        w.hours.emplace_back(
            timeText(hour["time"].doubleValue(), zone, "%H:%M"),
            joined({temperature(units, hour["temperature"]), conditions(units, hour),
                    percentage(units, hour["probability"])}));
    }
    for (const Value& day : days.arrayItems())
        w.days.emplace_back(timeText(day["start"].doubleValue() + 43200, zone, "%A"),
                            joined({temperature(units, day["temperature-high"]) + " / " +
                                        temperature(units, day["temperature-low"]),
                                    conditions(units, day), day["rain-summary"].stringValue()}));
    w.attribution = record["attribution"].stringValue();
    if (record["stale"].boolValue())
        w.note = units.localized("Not updated since") + " " +
                 timeText(record["fetched"].doubleValue(), zone, "%H:%M");
    return w;
}

} // namespace corvane
