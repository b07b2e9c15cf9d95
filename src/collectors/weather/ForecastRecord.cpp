#include "collectors/weather/ForecastRecord.h"

#include "foundation/Json.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

constexpr WeatherCondition kConditions[] = {
    {0, "clear", true, "Clear"},
    {1, "clear", true, "Mainly Clear"},
    {2, "partly-cloudy", true, "Partly Cloudy"},
    {3, "cloudy", false, "Overcast"},
    {45, "fog", false, "Fog"},
    {48, "fog", false, "Rime Fog"},
    {51, "drizzle", false, "Light Drizzle"},
    {53, "drizzle", false, "Drizzle"},
    {55, "drizzle", false, "Heavy Drizzle"},
    {56, "freezing-rain", false, "Freezing Drizzle"},
    {57, "freezing-rain", false, "Freezing Drizzle"},
    {61, "rain", false, "Light Rain"},
    {63, "rain", false, "Rain"},
    {65, "rain", false, "Heavy Rain"},
    {66, "freezing-rain", false, "Freezing Rain"},
    {67, "freezing-rain", false, "Freezing Rain"},
    {71, "snow", false, "Light Snow"},
    {73, "snow", false, "Snow"},
    {75, "snow", false, "Heavy Snow"},
    {77, "snow", false, "Snow Grains"},
    {80, "showers", true, "Light Showers"},
    {81, "showers", true, "Showers"},
    {82, "showers", true, "Heavy Showers"},
    {85, "snow", false, "Snow Showers"},
    {86, "snow", false, "Heavy Snow Showers"},
    {95, "thunderstorm", false, "Thunderstorm"},
    {96, "hail", false, "Thunderstorm with Hail"},
    {99, "hail", false, "Thunderstorm with Hail"},
};

// What a reading may be before it is taken for a broken answer rather than weather.
struct Range {
    double lowest;
    double highest;
};
constexpr Range kTemperature{-100, 70};
constexpr Range kPercent{0, 100};
constexpr Range kPressure{800, 1100};
constexpr Range kWindSpeed{0, 150};
constexpr Range kDirection{0, 360};
constexpr Range kUV{0, 30};
constexpr Range kVisibility{0, 1e6}; // metres
constexpr Range kRain{0, 2000};      // mm a day
constexpr Range kSnowfall{0, 1000};  // cm a day
constexpr Range kTime{0, 1e11};
constexpr Range kCode{0, 99};

// Reads an answer's readings, remembering the first fault; later reads then do nothing useful
// and the answer is refused as a whole.
class Reader {
public:
    bool failed() const { return !fault_.empty(); }
    const std::string& fault() const { return fault_; }
    void fail(std::string fault) {
        if (fault_.empty())
            fault_ = std::move(fault);
    }

    // A reading that may be missing (null or absent: nullopt) but never wrong.
    std::optional<double> number(const Value& value, Range range, const char* name) {
        if (value.isNull())
            return std::nullopt;
        if (!value.isInteger() && !value.isReal()) {
            fail(std::string(name) + " is not a number");
            return std::nullopt;
        }
        const double number = value.doubleValue();
        if (!std::isfinite(number) || number < range.lowest || number > range.highest) {
            fail(std::string(name) + " is out of range");
            return std::nullopt;
        }
        return number;
    }

    // One series of a block ("hourly", "daily"), as long as its "time"; nullptr when absent.
    const Value* series(const Value& block, const char* name, std::size_t length) {
        const Value* found = block.find(name);
        if (!found)
            return nullptr;
        if (!found->isArray() || found->size() != length) {
            fail(std::string("the series ") + name + " does not match its times");
            return nullptr;
        }
        return found;
    }

    void put(Value& into, const char* key, std::optional<double> number) {
        if (number)
            into.set(key, *number);
    }

private:
    std::string fault_;
};

void putCondition(Value& into, std::optional<double> code, std::optional<double> isDay) {
    const WeatherCondition* condition =
        code ? weatherConditionForCode(std::lround(*code)) : nullptr;
    if (condition) {
        into.set("icon", condition->icon);
        into.set("conditions", condition->conditions);
        if (condition->dayNight)
            into.set("dn", true);
    }
    if (isDay)
        into.set("is-night", *isDay == 0);
}

Value currently(Reader& reader, const Value& current) {
    Value out = Value::dict();
    reader.put(out, "time", reader.number(current["time"], kTime, "the current time"));
    reader.put(out, "temperature",
               reader.number(current["temperature_2m"], kTemperature, "the temperature"));
    reader.put(out, "apparent",
               reader.number(current["apparent_temperature"], kTemperature, "the apparent one"));
    reader.put(out, "dew", reader.number(current["dew_point_2m"], kTemperature, "the dew point"));
    reader.put(out, "humidity",
               reader.number(current["relative_humidity_2m"], kPercent, "the humidity"));
    reader.put(out, "pressure", reader.number(current["pressure_msl"], kPressure, "the pressure"));
    reader.put(out, "wind-speed",
               reader.number(current["wind_speed_10m"], kWindSpeed, "the wind speed"));
    reader.put(out, "wind-direction",
               reader.number(current["wind_direction_10m"], kDirection, "the wind direction"));
    reader.put(out, "uv-index", reader.number(current["uv_index"], kUV, "the UV index"));
    if (auto metres = reader.number(current["visibility"], kVisibility, "the visibility"))
        out.set("visibility", *metres / 1000);
    putCondition(out, reader.number(current["weather_code"], kCode, "the weather code"),
                 reader.number(current["is_day"], {0, 1}, "the day flag"));
    if (!out.contains("time"))
        reader.fail("the current readings have no time");
    return out;
}

// The times of a block, each a number in range; empty (with a fault) when there are none.
std::vector<double> times(Reader& reader, const Value& block, const char* name) {
    std::vector<double> out;
    const Value& time = block["time"];
    if (!time.isArray() || time.empty()) {
        reader.fail(std::string("the ") + name + " block has no times");
        return out;
    }
    for (const Value& item : time.arrayItems()) {
        const auto moment = reader.number(item, kTime, "a time");
        if (!moment) {
            reader.fail(std::string("a time of the ") + name + " block is missing");
            return {};
        }
        out.push_back(*moment);
    }
    return out;
}

Value hourly(Reader& reader, const Value& block, double now) {
    Value out = Value::array();
    const auto hours = times(reader, block, "hourly");
    const Value* temperature = reader.series(block, "temperature_2m", hours.size());
    const Value* code = reader.series(block, "weather_code", hours.size());
    const Value* probability = reader.series(block, "precipitation_probability", hours.size());
    const Value* isDay = reader.series(block, "is_day", hours.size());
    static const Value kNull;
    const auto at = [](const Value* series, std::size_t i) -> const Value& {
        return series ? (*series)[i] : kNull;
    };
    for (std::size_t i = 0; i < hours.size() && !reader.failed(); ++i) {
        // The hour under way counts; the ones before it do not.
        if (hours[i] + 3600 <= now || out.size() >= forecast::kHoursKept)
            continue;
        Value hour = Value::dict({{"time", hours[i]}});
        reader.put(hour, "temperature",
                   reader.number(at(temperature, i), kTemperature, "a temperature"));
        reader.put(hour, "probability",
                   reader.number(at(probability, i), kPercent, "a probability"));
        putCondition(hour, reader.number(at(code, i), kCode, "a weather code"),
                     reader.number(at(isDay, i), {0, 1}, "a day flag"));
        out.append(std::move(hour));
    }
    return out;
}

Value precipitation(Reader& reader, std::optional<double> probability, std::optional<double> rain,
                    std::optional<double> showers, std::optional<double> snowfall) {
    Value out = Value::dict();
    const double rainMm = rain.value_or(0) + showers.value_or(0);
    const double snowMm = snowfall.value_or(0) * 10; // the source gives centimetres
    out.set("type", snowMm > 0 ? (rainMm > 0 ? "mixed" : "snow") : "rain");
    reader.put(out, "probability", probability);
    if (rain || showers)
        out.set("rain-forecast", rainMm);
    if (snowfall)
        out.set("snow-forecast", snowMm);
    return out;
}

Value daily(Reader& reader, const Value& block) {
    Value out = Value::array();
    const auto days = times(reader, block, "daily");
    const std::size_t n = days.size();
    const Value* series[] = {
        reader.series(block, "weather_code", n),
        reader.series(block, "temperature_2m_max", n),
        reader.series(block, "temperature_2m_min", n),
        reader.series(block, "sunrise", n),
        reader.series(block, "sunset", n),
        reader.series(block, "uv_index_max", n),
        reader.series(block, "precipitation_probability_max", n),
        reader.series(block, "rain_sum", n),
        reader.series(block, "showers_sum", n),
        reader.series(block, "snowfall_sum", n),
    };
    static const Value kNull;
    for (std::size_t i = 0; i < n && !reader.failed(); ++i) {
        const auto at = [&](int which) -> const Value& {
            return series[which] ? (*series[which])[i] : kNull;
        };
        // A day ends where the next begins, which is not always 24 hours later.
        const double end = i + 1 < n ? days[i + 1] : days[i] + 86400;
        if (end <= days[i]) {
            reader.fail("the days are not in order");
            break;
        }
        Value day = Value::dict({{"start", days[i]}, {"end", end}});
        putCondition(day, reader.number(at(0), kCode, "a weather code"), std::nullopt);
        if (day.contains("conditions"))
            day.set("summary", day["conditions"]);
        reader.put(day, "temperature-high", reader.number(at(1), kTemperature, "a high"));
        reader.put(day, "temperature-low", reader.number(at(2), kTemperature, "a low"));
        reader.put(day, "sunrise", reader.number(at(3), kTime, "a sunrise"));
        reader.put(day, "sunset", reader.number(at(4), kTime, "a sunset"));
        reader.put(day, "uv-index", reader.number(at(5), kUV, "a UV index"));
        day.set("precipitation",
                precipitation(reader, reader.number(at(6), kPercent, "a probability"),
                              reader.number(at(7), kRain, "a rain sum"),
                              reader.number(at(8), kRain, "a showers sum"),
                              reader.number(at(9), kSnowfall, "a snowfall sum")));
        out.append(std::move(day));
    }
    return out;
}

// The sun of the day that holds `now`, for the night flag of the day list.
Value sunData(const Value& days, double now) {
    for (const Value& day : days.arrayItems()) {
        if (day["start"].doubleValue() <= now && now < day["end"].doubleValue())
            return Value::dict({{"current", Value::dict({{"sun", Value::dict({
                                                                     {"rise", day["sunrise"]},
                                                                     {"set", day["sunset"]},
                                                                 })}})}});
    }
    return {};
}

std::string coordinate(double degrees) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", degrees);
    return text;
}

} // namespace

const WeatherCondition* weatherConditionForCode(std::int64_t code) {
    const auto found = std::find_if(std::begin(kConditions), std::end(kConditions),
                                    [code](const WeatherCondition& c) { return c.code == code; });
    return found == std::end(kConditions) ? nullptr : found;
}

std::string forecastQuery(const ForecastPlace& place) {
    return "?latitude=" + coordinate(place.latitude) + "&longitude=" + coordinate(place.longitude) +
           "&current=temperature_2m,apparent_temperature,relative_humidity_2m,dew_point_2m,"
           "pressure_msl,wind_speed_10m,wind_direction_10m,weather_code,is_day,uv_index,"
           "visibility"
           "&hourly=temperature_2m,weather_code,precipitation_probability,is_day"
           "&daily=weather_code,temperature_2m_max,temperature_2m_min,sunrise,sunset,"
           "uv_index_max,precipitation_probability_max,rain_sum,showers_sum,snowfall_sum"
           "&timezone=auto&timeformat=unixtime&wind_speed_unit=ms&forecast_days=7";
}

std::optional<Value> forecastRecordFromAnswer(std::string_view answer, const ForecastPlace& place,
                                              double now) {
    if (answer.size() > forecast::kLongestAnswer) {
        CVBLog("Weather: refused a forecast of %zu bytes", answer.size());
        return std::nullopt;
    }
    const Value json = parseJson(answer, "the forecast");
    Reader reader;
    if (!json.isDictionary())
        reader.fail("it is not a JSON object");
    const Value& timezone = json["timezone"];
    if (!reader.failed() &&
        (!timezone.isString() || timezone.string().empty() || timezone.string().size() > 64))
        reader.fail("it names no time zone");
    Value record = Value::dict({{"source", forecast::kSource},
                                {"attribution", forecast::kAttribution},
                                {"fetched", now},
                                {"stale", false},
                                {"timezone", timezone}});
    if (!reader.failed() && !json["current"].isDictionary())
        reader.fail("it has no current readings");
    if (!reader.failed())
        record.set("currently", currently(reader, json["current"]));
    if (!reader.failed())
        record.set("hourly", hourly(reader, json["hourly"], now));
    if (!reader.failed())
        record.set("forecast", daily(reader, json["daily"]));
    if (reader.failed()) {
        CVBLog("Weather: refused a forecast answer (%zu bytes): %s", answer.size(),
               reader.fault().c_str());
        return std::nullopt;
    }
    if (Value sun = sunData(record["forecast"], now); !sun.isNull())
        record.set("sun-data", std::move(sun));
    record.set("metadata", Value::dict({{"location", Value::dict({
                                                         {"name", place.name},
                                                         {"identifier", place.identifier},
                                                         {"timezone", timezone},
                                                         {"latitude", place.latitude},
                                                         {"longitude", place.longitude},
                                                     })}}));
    return record;
}

} // namespace corvane
