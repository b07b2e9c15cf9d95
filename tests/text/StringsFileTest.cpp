#include "text/StringsFile.h"

#include "foundation/Log.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(StringsFile, CommentsEscapesBareWordsSurrogatesAndOctalBytes) {
    const auto table = parseStringsTable(R"(/* block
   comment */ "a" = "line\nnext\t\"q\" \\ \u00e9"; // trailing
key_2 = bare.value;
"only key";
"smile" = "\UD83D\UDE00!";
"lone" = "\UD83D x";
"octal" = "caf\351 \101";)");
    EXPECT_EQ(table.at("a"), "line\nnext\t\"q\" \\ \xC3\xA9");
    EXPECT_EQ(table.at("key_2"), "bare.value");
    EXPECT_EQ(table.at("only key"), "only key");
    EXPECT_EQ(table.at("smile"), "\xF0\x9F\x98\x80!");
    EXPECT_EQ(table.at("lone"), "\xEF\xBF\xBD x");
    EXPECT_EQ(table.at("octal"), "caf\xC3\xA9 A");
}

TEST(StringsFile, ByteOrderMarksOfUtf8AndBothUtf16Orders) {
    EXPECT_EQ(parseStringsTable("\xEF\xBB\xBF\"k\" = \"v\";").at("k"), "v");
    const auto table =
        readStringsFile(std::filesystem::path(CVB_FIXTURES_DIR) / "text" / "utf16.strings");
    EXPECT_EQ(table.at("Hello"), "Hallo \"du\"");
    // Big-endian, U+1F600 as D83D DE00 inside quotes.
    const std::string bytes("\xFE\xFF\0\"\0k\0\"\0=\0\"\xD8\x3D\xDE\x00\0\"\0;", 20);
    EXPECT_EQ(parseStringsTable(bytes).at("k"), "\xF0\x9F\x98\x80");
}

TEST(StringsFile, MalformedInputKeepsWhatCameBeforeAndLogs) {
    LogCapture log;
    const auto table = parseStringsTable("\"good\" = \"yes\";\n\"bad\" = \"unterminated");
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(table.at("good"), "yes");
    EXPECT_TRUE(log.contains("Strings table"));

    EXPECT_TRUE(parseStringsTable("\"x\" = \"y\"").empty()); // missing ';'
    EXPECT_TRUE(readStringsFile("/nonexistent/x.strings").empty());
}

} // namespace
} // namespace corvane
