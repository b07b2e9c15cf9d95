#include "foundation/PropertyList.h"

#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "support/TemporaryDirectory.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>

using namespace corvane;

namespace {

Value everyKind() {
    return Value::dict({
        {"bool", true},
        {"false", false},
        {"int", 42},
        {"negative", -17},
        {"max", std::numeric_limits<std::int64_t>::max()},
        {"min", std::numeric_limits<std::int64_t>::min()},
        {"real", 0.1},
        {"tiny", -2.5e-300},
        {"string", "Grüße, 温度, 🌡"},
        {"escaped", "<a & b> \"q\""},
        {"data", Value::data(std::string("\x00\x01\xfe\xff", 4))},
        {"date", Date::fromSecondsSince2001(815140800)},
        {"old date", Date::fromSecondsSince2001(-300000001)},
        {"empty array", Value::array()},
        {"empty dict", Value::dict()},
        {"empty string", ""},
        {"nested", Value::array({Value::dict({{"key", 1}, {"modes", Value::array({0, 3, 5})}}),
                                 Value::array({Value::array({"deep"})})})},
    });
}

class RoundTrip : public testing::TestWithParam<PropertyListFormat> {};

TEST_P(RoundTrip, KeepsEveryKindAndNesting) {
    const Value original = everyKind();
    const std::string bytes = writePropertyList(original, GetParam());
    ASSERT_FALSE(bytes.empty());
    const Value read = readPropertyList(bytes, "round trip");
    EXPECT_EQ(read, original) << read.description();
    EXPECT_TRUE(read["int"].isInteger());
    EXPECT_TRUE(read["real"].isReal());
    EXPECT_TRUE(read["date"].isDate());
}

TEST_P(RoundTrip, ArraysAtTheRootAndNullsLeftOut) {
    const Value withNulls(Value::Array{1, Value(), "x"});
    const Value read = readPropertyList(writePropertyList(withNulls, GetParam()));
    EXPECT_EQ(read, Value::array({1, "x"}));
}

TEST_P(RoundTrip, DatesKeepWholeSeconds) {
    const Value dates = Value::array(
        {Date::fromSecondsSince2001(815140800.4), Date::fromSecondsSince2001(-300000000.6)});
    const Value read = readPropertyList(writePropertyList(dates, GetParam()));
    EXPECT_EQ(read, Value::array({Date::fromSecondsSince2001(815140800),
                                  Date::fromSecondsSince2001(-300000001)}));
}

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip,
                         testing::Values(PropertyListFormat::XML, PropertyListFormat::Binary),
                         [](const auto& param) {
                             return param.param == PropertyListFormat::XML ? "XML" : "Binary";
                         });

TEST(PropertyList, WritesTheFormatsAsNamed) {
    EXPECT_EQ(writePropertyList(Value(1), PropertyListFormat::Binary).substr(0, 8), "bplist00");
    const std::string xml = writePropertyList(Value::dict({{"k", "v"}}), PropertyListFormat::XML);
    EXPECT_NE(xml.find("<key>k</key>"), std::string::npos);
    EXPECT_TRUE(writePropertyList(Value(), PropertyListFormat::XML).empty());
}

constexpr const char* kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                "<plist version=\"1.0\">";

std::string xmlPlist(const std::string& body) {
    return kHeader + body + "</plist>";
}

TEST(PropertyList, ReadsWhatTheDesktopWrites) {
    const Value v = readPropertyList(
        xmlPlist("<dict><key>CPU_MenubarMode</key><array><dict><key>key</key><integer>0"
                 "</integer></dict></array><key>when</key><date>2026-11-22T08:00:00Z</date>"
                 "<key>ratio</key><real>-infinity</real><key>hex</key><integer>0x1F</integer>"
                 "</dict>"));
    EXPECT_EQ(v["CPU_MenubarMode"][0]["key"], Value(0));
    EXPECT_EQ(v["when"].date().secondsSince1970, 1795334400.0);
    EXPECT_TRUE(std::isinf(v["ratio"].doubleValue()));
}

struct BadInput {
    const char* label;
    std::string bytes;
    const char* logged;
};

class Malformed : public testing::TestWithParam<BadInput> {};

TEST_P(Malformed, GivesNullAndALogLine) {
    LogCapture log;
    const Value v = readPropertyList(GetParam().bytes, "test.plist");
    EXPECT_TRUE(v.isNull()) << v.description();
    EXPECT_TRUE(log.contains("test.plist")) << log.lines();
    EXPECT_TRUE(log.contains(GetParam().logged)) << log.lines();
}

std::string truncatedBinary() {
    std::string bytes = writePropertyList(everyKind(), PropertyListFormat::Binary);
    return bytes.substr(0, bytes.size() - 20);
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, Malformed,
    testing::Values(
        BadInput{"empty", "", "empty"},
        BadInput{"garbage", std::string("\x01\x02garbage\xff\x00", 11), "malformed XML"},
        BadInput{"truncatedXml", xmlPlist("<dict><key>a</key><string>x</string>").substr(0, 150),
                 "malformed XML"},
        BadInput{"truncatedBinary", truncatedBinary(), "not a readable"},
        BadInput{"badInteger", xmlPlist("<dict><key>a</key><integer>abc</integer></dict>"),
                 "<integer> holds \"abc\""},
        BadInput{"badDate", xmlPlist("<dict><key>a</key><date>yesterday</date></dict>"),
                 "<date> holds"},
        BadInput{"badReal", xmlPlist("<array><real>1,5</real></array>"), "<real> holds"},
        BadInput{"badData", xmlPlist("<data>!!!</data>"), "not Base64"},
        BadInput{"keyWithoutValue", xmlPlist("<dict><key>a</key></dict>"), "key without a value"},
        BadInput{"valueWithoutKey", xmlPlist("<dict><string>x</string></dict>"), "without a key"},
        BadInput{"unknownElement", xmlPlist("<dict><key>a</key><number>1</number></dict>"),
                 "unknown element <number>"},
        BadInput{"notAPlist", "<html><body>hello</body></html>", "root element is <html>"},
        BadInput{"emptyPlist", xmlPlist(""), "no value"}),
    [](const auto& param) { return std::string(param.param.label); });

// libplist would abort the process on these; they must be refused before it reads them.
TEST(PropertyList, BinaryStringsWithANulCharacterAreRefused) {
    for (const char* text : {"keyXvalue", "GrüßeX"}) {
        std::string bytes = writePropertyList(Value::array({text}), PropertyListFormat::Binary);
        const bool utf16 = std::string_view(text).find("ü") != std::string_view::npos;
        const auto x = bytes.find(utf16 ? std::string("\0X", 2) : std::string("X"));
        ASSERT_NE(x, std::string::npos);
        bytes[x + (utf16 ? 1 : 0)] = '\0';
        LogCapture log;
        EXPECT_TRUE(readPropertyList(bytes, "hostile").isNull()) << text;
        EXPECT_TRUE(log.contains("NUL character")) << log.lines();
    }
}

TEST(PropertyList, WrongRootKindIsRefusedWhenAKindIsExpected) {
    LogCapture log;
    const std::string bytes = writePropertyList(Value::array({1}), PropertyListFormat::XML);
    EXPECT_TRUE(readPropertyList(bytes, "prefs", Value::Kind::Dictionary).isNull());
    EXPECT_TRUE(log.contains("expected dictionary at the root, found array")) << log.lines();
    EXPECT_EQ(readPropertyList(bytes, "prefs", Value::Kind::Array), Value::array({1}));
}

TEST(PropertyList, DeepNestingIsRefusedNotOverflowed) {
    std::string body;
    for (int i = 0; i < 300; ++i)
        body += "<array>";
    for (int i = 0; i < 300; ++i)
        body += "</array>";
    LogCapture log;
    EXPECT_TRUE(readPropertyList(xmlPlist(body), "deep").isNull());
    EXPECT_TRUE(log.contains("nested too deeply")) << log.lines();
}

using corvane::test::TemporaryDirectory;

TEST(PropertyListFile, ReplacesTheFileWholeAndLeavesNoTemporaries) {
    TemporaryDirectory dir;
    const auto file = dir.path() / "sub" / "domain.plist";
    ASSERT_TRUE(writePropertyListFile(file, Value::dict({{"a", 1}})));
    ASSERT_TRUE(writePropertyListFile(file, Value::dict({{"b", 2}}), PropertyListFormat::Binary));
    EXPECT_EQ(readPropertyListFile(file), Value::dict({{"b", 2}}));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file.parent_path()),
                            std::filesystem::directory_iterator()),
              1);
}

TEST(PropertyListFile, AFailedWriteKeepsTheOldFile) {
    TemporaryDirectory dir;
    const auto file = dir.path() / "domain.plist";
    ASSERT_TRUE(writePropertyListFile(file, Value::dict({{"keep", true}})));
    LogCapture log;
    EXPECT_FALSE(writePropertyListFile(file, Value()));
    ASSERT_TRUE(writeFileAtomically(dir.path() / "blocker", "a file, not a folder"));
    EXPECT_FALSE(writeFileAtomically(dir.path() / "blocker" / "x.plist", "data"));
    EXPECT_EQ(readPropertyListFile(file), Value::dict({{"keep", true}}));
    EXPECT_TRUE(log.contains("not a property list")) << log.lines();
}

TEST(PropertyListFile, MissingFileIsNullWithALogLine) {
    LogCapture log;
    EXPECT_TRUE(readPropertyListFile("/nonexistent/corvane.plist").isNull());
    EXPECT_TRUE(log.contains("cannot be opened"));
}

} // namespace
