#include "foundation/Json.h"

#include "foundation/Log.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace corvane;

namespace {

TEST(Json, ParsesNumbersByTheirShape) {
    const Value v =
        parseJson(R"({"i": 12, "neg": -3, "r": 1.5, "e": 1e2, "big": 18446744073709551615,
                                  "s": "Grüße", "b": true, "n": null, "a": [1, [2]], "o": {}})");
    EXPECT_EQ(v["i"], Value(12));
    EXPECT_EQ(v["neg"], Value(-3));
    EXPECT_EQ(v["r"], Value(1.5));
    EXPECT_EQ(v["e"], Value(100.0));
    EXPECT_TRUE(v["big"].isReal());
    EXPECT_DOUBLE_EQ(v["big"].doubleValue(), 18446744073709551615.0);
    EXPECT_EQ(v["s"], Value("Grüße"));
    EXPECT_EQ(v["b"], Value(true));
    EXPECT_TRUE(v.contains("n"));
    EXPECT_TRUE(v["n"].isNull());
    EXPECT_EQ(v["a"], Value::array({1, Value::array({2})}));
    EXPECT_EQ(v["o"], Value::dict());
}

TEST(Json, RoundTripsWhatJsonCanHold) {
    const Value original = Value::dict({{"name", "a \"quoted\" \\ line\n"},
                                        {"list", Value::array({1, 2.5, false, "x"})},
                                        {"inner", Value::dict({{"k", -7}})}});
    EXPECT_EQ(parseJson(toJson(original)), original);
    EXPECT_EQ(parseJson(toJson(original, 2)), original);
}

TEST(Json, WritesDatesAndDataAsText) {
    const Value v =
        Value::dict({{"when", Date{1795334400.9}}, {"bytes", Value::data("hi!")}, {"nan", NAN}});
    EXPECT_EQ(toJson(v), R"({"bytes":"aGkh","nan":null,"when":"2026-11-22T08:00:00Z"})");
}

TEST(Json, InvalidUtf8IsReplacedNotFatal) {
    const std::string text = toJson(Value(std::string("ok\xff")));
    EXPECT_EQ(text, "\"ok\xEF\xBF\xBD\"");
}

TEST(Json, MalformedInputGivesNullAndALogLine) {
    for (const char* bad :
         {"", "{", "[1,]", "{\"a\" 1}", "nul", "\"unterminated", "{} trailing", "[1e999999]"}) {
        LogCapture log;
        EXPECT_TRUE(parseJson(bad, "feed").isNull()) << bad;
        EXPECT_TRUE(log.contains("JSON feed: malformed")) << bad << ": " << log.lines();
    }
}

TEST(Json, DeepNestingIsRefused) {
    const std::string deep = std::string(5000, '[') + std::string(5000, ']');
    LogCapture log;
    EXPECT_TRUE(parseJson(deep, "deep").isNull());
    EXPECT_TRUE(log.contains("nested too deeply"));
}

} // namespace
