#include "foundation/TextParsing.h"

#include <gtest/gtest.h>
#include <limits>

using namespace corvane;

namespace {

TEST(ParseInteger, TakesOnlyAWholeNumber) {
    EXPECT_EQ(parseInteger("42\n"), 42);
    EXPECT_EQ(parseInteger("  -7 "), -7);
    EXPECT_EQ(parseInteger("+3"), 3);
    EXPECT_EQ(parseInteger("12 kB"), std::nullopt);
    EXPECT_EQ(parseInteger(""), std::nullopt);
    EXPECT_EQ(parseInteger("-"), std::nullopt);
    EXPECT_EQ(parseInteger("9223372036854775808"), std::nullopt);
    EXPECT_EQ(parseUnsigned("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(parseUnsigned("-1"), std::nullopt);
    EXPECT_EQ(parseDouble("2.5"), 2.5);
    EXPECT_EQ(parseDouble("nan"), std::nullopt);
    EXPECT_EQ(parseDouble("1e999"), std::nullopt);
}

TEST(Split, LinesAndWords) {
    EXPECT_EQ(splitLines("a\nb\n\nc"), (std::vector<std::string_view>{"a", "b", "", "c"}));
    EXPECT_EQ(splitLines("a\n"), (std::vector<std::string_view>{"a"}));
    EXPECT_EQ(splitWhitespace("cpu0  10 \t20\n"),
              (std::vector<std::string_view>{"cpu0", "10", "20"}));
    EXPECT_TRUE(splitWhitespace("  \n").empty());
}

} // namespace
