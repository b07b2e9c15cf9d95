#include "collectors/weather/WeatherSentences.h"

#include "foundation/Log.h"

#include <cstdlib>
#include <functional>
#include <memory>
#include <unicode/regex.h>
#include <vector>

namespace corvane {

namespace {

using Groups = std::vector<std::string>;
using Replacement = std::function<std::string(const WeatherUtilities&, const Groups&)>;

struct Rule {
    const char* pattern;
    bool keepCase;
    Replacement replace;
};

double numberIn(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

std::string removed(const WeatherUtilities&, const Groups&) {
    return {};
}

// Low and high temperature clauses, one per language, each to that language's full stop.
constexpr const char* kFrenchClause =
    R"(\s*(?:Temp[ée]ratures? )?(?:minimales?|maximales?)\b[^.]*?-?[0-9]+\s*°?\s*C?\.)";
constexpr const char* kGermanClause =
    R"(\s*(?:Tiefst|H[öo]chst)(?:temperatur(?:en)?|werte?)\b[^.]*?-?[0-9]+\s*°?\s*C?\.)";
constexpr const char* kGreekClause =
    R"(\s*(?:Ελάχιστη|Μέγιστη) θερμοκρασία[^.]*?-?[0-9]+\s*°?\s*C?\.)";
constexpr const char* kChineseClause =
    R"(\s*(?:最低|最高)(?:气温|氣溫|温度|溫度)[^。]*?-?[0-9]+\s*°?\s*C?。)";
constexpr const char* kJapaneseClause = R"(\s*(?:最低|最高)気温[^。]*?-?[0-9]+\s*°?\s*C?。)";

std::string speedRange(const WeatherUtilities& units, const Groups& g, double (*toMps)(double)) {
    return units.weatherFormattedWindSpeedNoUnit(toMps(numberIn(g[1]))) + " " + g[2] + " " +
           units.weatherFormattedWindSpeedNoUnit(toMps(numberIn(g[3]))) + " " +
           units.weatherWindSpeedUnit();
}

std::string speed(const WeatherUtilities& units, const Groups& g, double (*toMps)(double)) {
    return " " + units.weatherFormattedWindSpeedNoUnit(toMps(numberIn(g[1]))) + " " +
           units.weatherWindSpeedUnit();
}

std::string snowRange(const WeatherUtilities& units, const Groups& g, double (*toMm)(double)) {
    return units.weatherFormattedSnowNoUnit(toMm(numberIn(g[1]))) + "-" +
           units.weatherFormattedSnowNoUnit(toMm(numberIn(g[2]))) + units.weatherSnowUnit();
}

const std::vector<Rule>& rules() {
    static const std::vector<Rule> table = {
        {R"(\s*Chance of (rain|precip|snow) [0-9]+%\.)", false, removed},
        {kFrenchClause, false, removed},
        {kGermanClause, false, removed},
        {kGreekClause, false, removed},
        {kChineseClause, false, removed},
        {kJapaneseClause, false, removed},
        {"([0-9]{1,3})～([0-9]{1,3})キロメートル毎時。", false,
         [](const WeatherUtilities& u, const Groups& g) {
             return u.weatherFormattedWindSpeedNoUnit(kphToMps(numberIn(g[1]))) + "～" +
                    u.weatherFormattedWindSpeedNoUnit(kphToMps(numberIn(g[2]))) + " " +
                    u.weatherWindSpeedUnit() + "。";
         }},
        {"([0-9]{1,3}) ([^.]{1,8}) ([0-9]{1,3}) km/h", false,
         [](const WeatherUtilities& u, const Groups& g) { return speedRange(u, g, kphToMps); }},
        {"([0-9]{1,3}) ([^.]{1,8}) ([0-9]{1,3}) mph", false,
         [](const WeatherUtilities& u, const Groups& g) { return speedRange(u, g, mphToMps); }},
        {"([0-9]{1,3}) ([^.]{1,8}) ([0-9]{1,3}) 每 km / h", false,
         [](const WeatherUtilities& u, const Groups& g) { return speedRange(u, g, kphToMps); }},
        {" ([0-9]+) km/h", false,
         [](const WeatherUtilities& u, const Groups& g) { return speed(u, g, kphToMps); }},
        {" ([0-9]+) mph", false,
         [](const WeatherUtilities& u, const Groups& g) { return speed(u, g, mphToMps); }},
        {" ([0-9]+) 每 km / h", false,
         [](const WeatherUtilities& u, const Groups& g) { return speed(u, g, kphToMps); }},
        {R"(([0-9]{1,2})–([0-9]{1,2}) cm\.)", false,
         [](const WeatherUtilities& u, const Groups& g) { return snowRange(u, g, cmToMm); }},
        {R"(([0-9]{1,2})–([0-9]{1,2}) in\.)", false,
         [](const WeatherUtilities& u, const Groups& g) { return snowRange(u, g, inchToMm); }},
        {R"(< ([0-9]+) in\.)", false,
         [](const WeatherUtilities& u, const Groups& g) {
             return "< " + u.weatherFormattedSnowNoUnit(inchToMm(numberIn(g[1]))) +
                    u.weatherSnowUnit();
         }},
        {" ([0-9]+mm)", false,
         [](const WeatherUtilities& u, const Groups& g) {
             return " " + u.weatherFormattedRain(numberIn(g[1]));
         }},
        {" ([0-9]+)cm", false,
         [](const WeatherUtilities& u, const Groups& g) {
             return " " + u.weatherFormattedSnow(cmToMm(numberIn(g[1])));
         }},
        {R"( ([a-zA-Z\s]+) ([0-9]{1,2}C)\.)", true, removed},
        {R"( Low ([a-zA-Z]+) ([0-9]{1,2}F)\.)", true, removed},
        {R"( ([a-zA-Z]+) ([0-9]{1,2}F)\.)", true, removed},
        {" ([0-9]{1,2}C)", true,
         [](const WeatherUtilities& u, const Groups& g) {
             return " " + u.weatherFormattedTemperature2(numberIn(g[1]), false);
         }},
    };
    return table;
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

// Every match of the rule replaced as a whole.
icu::UnicodeString applyRule(const WeatherUtilities& units, const Rule& rule,
                             const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(
        new icu::RegexMatcher(icu::UnicodeString::fromUTF8(rule.pattern), text,
                              rule.keepCase ? 0 : UREGEX_CASE_INSENSITIVE, status));
    if (U_FAILURE(status)) {
        CVBLog("Weather sentence pattern %s: %s", rule.pattern, u_errorName(status));
        return text;
    }
    icu::UnicodeString out;
    int32_t copied = 0;
    while (matcher->find(status) && U_SUCCESS(status)) {
        const int32_t start = matcher->start(status);
        const int32_t end = matcher->end(status);
        Groups groups;
        for (int32_t i = 0; i <= matcher->groupCount(); ++i)
            groups.push_back(utf8(matcher->group(i, status)));
        out.append(text, copied, start - copied);
        out.append(icu::UnicodeString::fromUTF8(rule.replace(units, groups)));
        copied = end;
    }
    out.append(text, copied, text.length() - copied);
    return out;
}

} // namespace

std::string weatherReplaceUnitsInString(const WeatherUtilities& units, std::string_view text) {
    icu::UnicodeString current = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    for (const Rule& rule : rules())
        current = applyRule(units, rule, current);
    return utf8(current);
}

} // namespace corvane
