#include "foundation/Value.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

using corvane::Date;
using corvane::Value;

namespace {

// Reads like a text field or number.
TEST(IntegerValue, ConvertsEveryKind) {
    const std::pair<Value, std::int64_t> cases[] = {
        {Value(), 0},
        {Value(true), 1},
        {Value(3.99), 3},
        {Value(-3.99), -3},
        {Value(NAN), 0},
        {Value(1e300), std::numeric_limits<std::int64_t>::max()},
        {Value(-1e300), std::numeric_limits<std::int64_t>::min()},
        {Value("42"), 42},
        {Value("  -12kg"), -12},
        {Value("3.9"), 3},
        {Value("1e3"), 1},
        {Value("abc"), 0},
        {Value(""), 0},
        {Value("99999999999999999999"), std::numeric_limits<std::int64_t>::max()},
        {Value("-9223372036854775808"), std::numeric_limits<std::int64_t>::min()},
        {Value(Date{1234.9}), 1234},
        {Value::array({1, 2}), 0},
        {Value(std::numeric_limits<std::uint64_t>::max()),
         std::numeric_limits<std::int64_t>::max()},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(value.integerValue(), expected) << value.description();
}

// Reads the leading decimal number.
TEST(DoubleValue, ConvertsEveryKind) {
    const std::pair<Value, double> cases[] = {{Value(), 0},
                                              {Value(false), 0},
                                              {Value("2.5 GHz"), 2.5},
                                              {Value(" -0.25"), -0.25},
                                              {Value(".5"), 0.5},
                                              {Value("1e3"), 1000},
                                              {Value("1,5"), 1},
                                              {Value("nan"), 0},
                                              {Value("inf"), 0},
                                              {Value("0x1A"), 0},
                                              {Value("1e-400"), 0},
                                              {Value(Date{10.5}), 10.5},
                                              {Value("1e999"), INFINITY},
                                              {Value("-1e999"), -INFINITY},
                                              {Value::dict(), 0}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(value.doubleValue(), expected) << value.description();
}

TEST(BoolValue, FollowsStoredFlagConventions) {
    for (const char* yes : {"YES", "yes", "true", "T", "1", "007", " +9", "-1"})
        EXPECT_TRUE(Value(yes).boolValue()) << yes;
    for (const char* no : {"NO", "no", "false", "0", "0.5", "", "   ", "-0", "x1"})
        EXPECT_FALSE(Value(no).boolValue()) << no;
    EXPECT_TRUE(Value(2).boolValue());
    EXPECT_FALSE(Value(0).boolValue());
    EXPECT_TRUE(Value(0.1).boolValue());
    EXPECT_FALSE(Value(0.0).boolValue());
    EXPECT_FALSE(Value(Date{5}).boolValue());
    EXPECT_FALSE(Value::array({1}).boolValue());
}

TEST(StringValue, HasATextForEveryKind) {
    EXPECT_EQ(Value().stringValue(), "");
    EXPECT_EQ(Value(true).stringValue(), "1");
    EXPECT_EQ(Value(-42).stringValue(), "-42");
    EXPECT_EQ(Value(3.0).stringValue(), "3");
    EXPECT_EQ(Value(0.1).stringValue(), "0.1");
    EXPECT_EQ(Value(1e20).stringValue(), "1e+20");
    EXPECT_EQ(Value(-INFINITY).stringValue(), "-inf");
    EXPECT_EQ(Value::data(std::string("\x00\xff\x10", 3)).stringValue(), "00ff10");
    EXPECT_EQ(Value(Date::fromSecondsSince2001(0.75)).stringValue(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(Value::array({1, "a"}).stringValue(), "(1, \"a\")");
    EXPECT_EQ(Value::dict({{"k", 1}}).stringValue(), "{\"k\" = 1; }");
    // Reals read back exactly under any locale: a German one would write and read "2,5".
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    for (double d : {0.1, 1.0 / 3.0, 123456.789, -2.5e-300, 6.72})
        EXPECT_EQ(Value(Value(d).stringValue()).doubleValue(), d);
    std::setlocale(LC_NUMERIC, "C");
}

TEST(Containers, CopiesAreIndependentAfterAChange) {
    Value original = Value::dict({{"cpu", Value::array({1, 2})}, {"name", "core"}});
    Value copy = original;
    copy.set("name", "changed");
    copy.mutableDictionary()["cpu"].append(3);

    EXPECT_EQ(original["name"].string(), "core");
    EXPECT_EQ(original["cpu"].size(), 2u);
    EXPECT_EQ(copy["cpu"].size(), 3u);
    EXPECT_EQ(copy["name"].string(), "changed");
}

TEST(Containers, MissingEntriesReadAsNullAndNullRemoves) {
    const Value dict = Value::dict({{"a", 1}});
    EXPECT_TRUE(dict["missing"].isNull());
    EXPECT_TRUE(dict[0].isNull());
    EXPECT_TRUE(Value::array({1})[5].isNull());
    EXPECT_TRUE(Value(3)["a"].isNull());
    EXPECT_EQ(Value(3).size(), 0u);

    // Null removes and is never stored by builders.
    Value built = Value::dict({{"a", 1}, {"gone", Value()}});
    EXPECT_EQ(built.size(), 1u);
    built.set("a", Value());
    EXPECT_TRUE(built.empty());
    EXPECT_FALSE(built.erase("a"));

    Value scalar = 5;
    scalar.set("k", "v"); // a scalar becomes a dictionary
    EXPECT_EQ(scalar["k"].string(), "v");
}

TEST(Equality, IsStrictAboutKindsUnlessNumericallyCompared) {
    EXPECT_NE(Value(1), Value(1.0));
    EXPECT_NE(Value(1), Value(true));
    EXPECT_NE(Value("1"), Value(1));
    EXPECT_EQ(Value(NAN), Value(NAN));
    EXPECT_EQ(Value::dict({{"a", Value::array({1, "x"})}}),
              Value::dict({{"a", Value::array({1, "x"})}}));
    EXPECT_NE(Value::dict({{"a", 1}}), Value::dict({{"a", 2}}));
    EXPECT_NE(Value(Date{1}), Value(1.0));
    // numericallyEquals compares numbers across kinds.
    EXPECT_TRUE(Value(1).numericallyEquals(Value(1.0)));
    EXPECT_TRUE(Value(true).numericallyEquals(Value(1)));
    EXPECT_FALSE(Value(1).numericallyEquals(Value(1.5)));
    EXPECT_FALSE(Value(1).numericallyEquals(Value("1")));
    // Large integers must not be compared through doubles.
    EXPECT_FALSE(Value(9007199254740993LL).numericallyEquals(Value(9007199254740992LL)));
}

} // namespace
