#include "foundation/Json.h"

#include "foundation/Log.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

// Value equality is strict about kinds, so one comparison checks integers against reals.
TEST(Json, ParsesNumbersByTheirShape) {
    Value v = parseJson(R"({"i": 12, "neg": -3, "r": 1.5, "e": 1e2, "big": 18446744073709551615,
                                  "s": "Grüße", "b": true, "n": null, "a": [1, [2]], "o": {}})");
    EXPECT_TRUE(v.contains("n") && v["n"].isNull()) << "a JSON null is kept as a null";
    v.erase("n");
    EXPECT_EQ(v, Value::dict({{"i", 12},
                              {"neg", -3},
                              {"r", 1.5},
                              {"e", 100.0},
                              {"big", 18446744073709551615.0},
                              {"s", "Grüße"},
                              {"b", true},
                              {"a", Value::array({1, Value::array({2})})},
                              {"o", Value::dict()}}))
        << v.description();
}

TEST(Json, RoundTripsWhatJsonCanHoldAndWritesTheRestAsText) {
    const Value original = Value::dict({{"name", "a \"quoted\" \\ line\n"},
                                        {"list", Value::array({1, 2.5, false, "x"})},
                                        {"inner", Value::dict({{"k", -7}})}});
    EXPECT_EQ(parseJson(toJson(original)), original);
    EXPECT_EQ(parseJson(toJson(original, 2)), original);
    // Dates, data and broken text are written as text, not fatal.
    const Value v =
        Value::dict({{"when", Date{1795334400.9}}, {"bytes", Value::data("hi!")}, {"nan", NAN}});
    EXPECT_EQ(toJson(v), R"({"bytes":"aGkh","nan":null,"when":"2026-11-22T08:00:00Z"})");
    EXPECT_EQ(toJson(Value(std::string("ok\xff"))), "\"ok\xEF\xBF\xBD\"");
}

TEST(Json, MalformedOrTooDeepInputGivesNullAndALogLine) {
    for (const char* bad :
         {"", "{", "[1,]", "{\"a\" 1}", "nul", "\"unterminated", "{} trailing", "[1e999999]"}) {
        LogCapture log;
        EXPECT_TRUE(parseJson(bad, "feed").isNull()) << bad;
        EXPECT_TRUE(log.contains("JSON feed: malformed")) << bad << ": " << log.lines();
    }
    LogCapture log;
    EXPECT_TRUE(parseJson(std::string(5000, '[') + std::string(5000, ']'), "deep").isNull());
    EXPECT_TRUE(log.contains("nested too deeply"));
}

} // namespace
