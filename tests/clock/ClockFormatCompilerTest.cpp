#include "clock/ClockFormatCompiler.h"

#include "clock/ClockPatternText.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using Kind = ClockSegment::Kind;

ClockSegment p(const char* text) {
    return {Kind::Pattern, text};
}
ClockSegment icon(const char* text) {
    return {Kind::Icon, text};
}
const ClockSegment kSeconds{Kind::Seconds, "ss"};

struct LineCase {
    const char* name;
    std::vector<const char*> components;
    bool flash;
    std::vector<ClockSegment> segments;
};

Value componentArray(const std::vector<const char*>& components) {
    Value line = Value::array();
    for (const char* c : components)
        line.append(c);
    return line;
}

// A separator measures 5 in one line and 3 in two, so the test sees which style was asked.
ClockCompileOptions options(bool flash) {
    return {flash, [](std::string_view, bool twoLines) { return twoLines ? 3.2 : 4.5; }};
}

class LineCompiling : public ::testing::TestWithParam<LineCase> {};

TEST_P(LineCompiling, MakesTheSegments) {
    const Value record =
        Value::dict({{"format", Value::array({componentArray(GetParam().components)})}});
    const CompiledClock clock =
        formattedLocations(Value::array({record}), options(GetParam().flash));
    ASSERT_EQ(clock.locations.size(), 1u);
    ASSERT_EQ(clock.locations[0].lines.size(), 1u);
    EXPECT_EQ(clock.locations[0].lines[0].segments, GetParam().segments);
}

const LineCase kLineCases[] = {
    {"SteadyColonStaysInThePattern", {"HH", "':'", "mm"}, false, {p("HH':'mm")}},
    {"FlashingColonAfterAnHour", {"HH", "':'", "mm"}, true, {p("HH"), p("'__COLON__'"), p("mm")}},
    {"BareColonFlashesToo",
     {"EE", "' '", "H", ":", "mm"},
     true,
     {p("EE' 'H"), p("'__COLON__'"), p("mm")}},
    {"FlashingDotAfterMinutes",
     {"HH", "mm", "'.'", "ss"},
     true,
     {p("HHmm"), p("'__DOT__'"), kSeconds}},
    {"ColonAfterAnotherFieldIsPlain", {"EEE", "':'", "HH"}, true, {p("EEE"), p("':'"), p("HH")}},
    {"LaterHoursBecomeMinutes", {"h", "' '", "hh"}, false, {p("h' 'mm")}},
    {"HoursStayBesideMinutes", {"h", "hh", "mm"}, false, {p("h"), p("hhmm")}},
    {"LikeFieldsDoNotRunTogether", {"d", "dd", "' '", "MMM"}, false, {p("d"), p("dd' 'MMM")}},
    {"SecondsStandAlone", {"HH", "':'", "mm", "':'", "ss"}, false, {p("HH':'mm':'"), kSeconds}},
    {"AmPmMarksBecomeTokens",
     {"h", "aa", "' '", "aaa", "a"},
     false,
     {p("h'__AMPM_UPPER__ __AMPM_LOWER____AMPM_DEFAULT__'")}},
    {"WeekAndTokensAreQuoted",
     {"w", "__DAY_MTWRFSU__", "FUZZY"},
     false,
     {p("'__WEEKNUMBER____DAY_MTWRFSU__FUZZY'")}},
    {"QuotesInsideTextSurvive", {"'It's '", "HH"}, false, {p("'It__SQ__s 'HH")}},
    {"EmptyLiteralsVanish", {"''", "HH", "''"}, false, {p("HH")}},
    {"IconsSplitOneLineClocks",
     {"EEE", "___ICON__RED___", "HH", "mm"},
     false,
     {p("EEE"), icon("___ICON__RED___"), p("HHmm")}},
};

INSTANTIATE_TEST_SUITE_P(Rules, LineCompiling, ::testing::ValuesIn(kLineCases),
                         [](const auto& in) { return std::string(in.param.name); });

TEST(ClockCompiling, SeparatorWidthsAreStoredInTheLinesOwnStyle) {
    Value record = Value::dict({{"format", Value::array({componentArray({"HH", "':'", "mm"})})}});
    const auto width = [&](bool flash) {
        return formattedLocations(Value::array({record}), options(flash))
            .separatorWidth("'__COLON__'");
    };
    EXPECT_EQ(width(true), 5);
    EXPECT_EQ(width(false), -1);
    record.set("lines", 2);
    EXPECT_EQ(width(true), 4);
}

TEST(ClockCompiling, TwoLineRecordsGatherIconsAndKeepTheirZones) {
    const Value record =
        Value::dict({{"lines", 2},
                     {"timezone", "Asia/Kolkata"},
                     {"timezone-2", "America/New_York"},
                     {"format", Value::array({componentArray({"___ICON__CLOCK__", "HH", "mm"}),
                                              componentArray({"EEE", "___ICON__MOON__"}),
                                              componentArray({"ignored"})})}});
    const Value untitled =
        Value::dict({{"format", Value::array({componentArray({"HH"}), componentArray({"mm"})})}});
    const CompiledClock clock =
        formattedLocations(Value::array({record, "junk", untitled}), options(false));
    ASSERT_EQ(clock.locations.size(), 2u);
    const ClockLocation& two = clock.locations[0];
    EXPECT_EQ(two.icons, (std::vector<std::string>{"___ICON__CLOCK__", "___ICON__MOON__"}));
    ASSERT_EQ(two.lines.size(), 2u);
    EXPECT_EQ(two.lines[0].zone, "Asia/Kolkata");
    EXPECT_EQ(two.lines[1].zone, "America/New_York");
    EXPECT_EQ(two.lines[1].segments, std::vector<ClockSegment>{p("EEE")});
    // A record without "lines" is one line in the system's zone, whatever else it holds.
    ASSERT_EQ(clock.locations[1].lines.size(), 1u);
    EXPECT_EQ(clock.locations[1].lines[0].zone, "");
}

// What the format editor's text fields store, and how a stored line reads back in them.
TEST(ClockPatternText, TypedLinesBecomeComponentsAndReadBackTheSame) {
    const struct {
        const char* typed;
        std::vector<const char*> components;
    } cases[] = {
        {"EE HH:mm", {"EE", "' '", "HH", ":", "mm"}},
        {"h.mm a", {"h", ".", "mm", "' '", "a"}},
        {"EEE, d MMM", {"EEE", "', '", "d", "' '", "MMM"}},
        {"HH 'Uhr' mm", {"HH", "' '", "'Uhr'", "' '", "mm"}},
        {"'o''clock'", {"'o''clock'"}},
        {"___ICON__MOON__ FUZZY", {"___ICON__MOON__", "' '", "FUZZY"}},
        {"d__DAY_SUFFIX_UPPER__ __RELATIVE_DAY__",
         {"d", "__DAY_SUFFIX_UPPER__", "' '", "__RELATIVE_DAY__"}},
        {"HHmmss", {"HH", "mm", "ss"}},
        {"", {}},
    };
    for (const auto& c : cases) {
        const Value components = clockComponentsFromText(c.typed);
        EXPECT_EQ(components, componentArray(c.components)) << c.typed;
        EXPECT_EQ(clockTextFromComponents(components), c.typed);
    }
    // Unclosed quotes are closed rather than swallowing what a stored line means.
    EXPECT_EQ(clockComponentsFromText("HH 'h"), componentArray({"HH", "' '", "'h'"}));
    // Quoted texts side by side are joined, not read back as one holding a quote.
    EXPECT_EQ(clockTextFromComponents(componentArray({"' : '", "'_'"})), "' : _'");
}

TEST(ClockPatternText, EditingTheFirstLocationKeepsItsZonesAndTheOtherLocations) {
    const Value format = Value::array(
        {Value::dict({{"timezone", "Asia/Kathmandu"},
                      {"format", Value::array({componentArray({"EE", "' '", "HH", ":", "mm"})})}}),
         Value::dict({{"timezone", "UTC"}})});
    EXPECT_EQ(menubarClockLines(format), std::vector<std::string>{"EE HH:mm"});
    const Value two = withMenubarClockLines(format, {"HH:mm", "d MMM"});
    EXPECT_EQ(menubarClockLines(two), (std::vector<std::string>{"HH:mm", "d MMM"}));
    EXPECT_EQ(two[0]["timezone"].stringValue(), "Asia/Kathmandu");
    EXPECT_EQ(two[1], format[1]);
    EXPECT_EQ(menubarClockLines(withMenubarClockLines(two, {"mm"})),
              std::vector<std::string>{"mm"});
    EXPECT_EQ(menubarClockLines(withMenubarClockLines(Value(), {"HH"})),
              std::vector<std::string>{"HH"});
}

} // namespace
} // namespace corvane
