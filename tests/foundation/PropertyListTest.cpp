#include "foundation/PropertyList.h"

#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "support/Spawn.h"
#include "support/TemporaryDirectory.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

using namespace corvane;

namespace {

Value everyKind() {
    return Value::dict({
        {"bool", true},
        {"int", 42},
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
        {"nested", Value::array({Value::dict({{"key", 1}, {"modes", Value::array({0, 3, 5})}}),
                                 Value::array({Value::array({"deep"})})})},
    });
}

class RoundTrip : public testing::TestWithParam<PropertyListFormat> {};

TEST_P(RoundTrip, KeepsEveryKindAndNesting) {
    const Value original = everyKind();
    const std::string bytes = writePropertyList(original, GetParam());
    EXPECT_EQ(bytes.substr(0, 8) == "bplist00", GetParam() == PropertyListFormat::Binary);
    const Value read = readPropertyList(bytes, "round trip");
    // Equality is strict about kinds: an integer read back as a real differs.
    EXPECT_EQ(read, original) << read.description();
}

// Nulls are left out and dates keep whole seconds, rounded down.
TEST_P(RoundTrip, ArraysAtTheRootNullsAndFractionalDates) {
    const Value written(Value::Array{1, Value(), Date::fromSecondsSince2001(815140800.4),
                                     Date::fromSecondsSince2001(-300000000.6)});
    EXPECT_EQ(readPropertyList(writePropertyList(written, GetParam())),
              Value::array({1, Date::fromSecondsSince2001(815140800),
                            Date::fromSecondsSince2001(-300000001)}));
}

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip,
                         testing::Values(PropertyListFormat::XML, PropertyListFormat::Binary),
                         [](const auto& param) {
                             return param.param == PropertyListFormat::XML ? "XML" : "Binary";
                         });

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

std::string nestedArrays(int depth) {
    std::string body;
    for (int i = 0; i < depth; ++i)
        body = "<array>" + body + "</array>";
    return xmlPlist(body);
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
        BadInput{"emptyPlist", xmlPlist(""), "no value"},
        BadInput{"deepNesting", nestedArrays(300), "nested too deeply"},
        // Found by the fuzzer: the reader asserted on a NUL inside a string.
        BadInput{"nulInText", xmlPlist(std::string("<string>a\0b</string>", 19)), "NUL byte"},
        // libplist would read these as -1 and as INT64_MAX.
        BadInput{"hugeInteger", xmlPlist("<integer>99999999999999999999</integer>"),
                 "no 64-bit whole number"},
        BadInput{"belowInt64", xmlPlist("<array><integer>-9223372036854775809</integer></array>"),
                 "no 64-bit whole number"}),
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

struct TextCase {
    const char* label;
    std::string text;
    const char* problem; // null: the text can be written
};

class Text : public testing::TestWithParam<TextCase> {};

// What XML 1.0 can carry decides; the other controls and broken UTF-8 would make every strict
// reader refuse the whole file.
TEST_P(Text, IsWrittenOnlyWhenEveryXmlReaderCanReadIt) {
    const auto& c = GetParam();
    const auto problem = propertyListTextProblem(c.text);
    const Value inside = Value::dict({{"list", Value::array({c.text})}});
    LogCapture log;
    const std::string xml = writePropertyList(inside, PropertyListFormat::XML);
    if (!c.problem) {
        EXPECT_FALSE(problem) << *problem;
        EXPECT_EQ(readPropertyList(xml), inside);
        return;
    }
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find(c.problem), std::string::npos) << *problem;
    EXPECT_TRUE(xml.empty()) << xml;
    EXPECT_TRUE(log.contains(c.problem)) << log.lines();
    EXPECT_NE(propertyListValueProblem(inside).value_or("").find("list[0]"), std::string::npos);
    EXPECT_TRUE(propertyListValueProblem(Value::dict({{c.text, 1}}))) << "a key";
}

// Dates are written in 32-bit seconds since 2001; one beyond them is refused with its reason,
// and the check that explains a refused write names it.
TEST(PropertyListDates, BeyondThirtyTwoBitSecondsAreRefusedAndNamed) {
    const Value far = Value::dict({{"when", Date::fromSecondsSince2001(3e9)}});
    LogCapture log;
    EXPECT_TRUE(writePropertyList(far, PropertyListFormat::XML).empty());
    EXPECT_NE(propertyListValueProblem(far).value_or("").find("date"), std::string::npos);
    EXPECT_FALSE(
        propertyListValueProblem(Value::dict({{"when", Date::fromSecondsSince2001(2e9)}})));
}

INSTANTIATE_TEST_SUITE_P(Texts, Text,
                         testing::Values(TextCase{"tabNewlineReturn", "a\tb\nc\r\nd\r", nullptr},
                                         TextCase{"deleteAndC1", "\x7f\xc2\x85\xc2\x9f", nullptr},
                                         TextCase{"astral", "\xf0\x9f\x8c\xa1 \xef\xbf\xbd",
                                                  nullptr},
                                         TextCase{"escape", "\x1b[0m", "U+001B"},
                                         TextCase{"nul", std::string("a\0b", 3), "U+0000"},
                                         TextCase{"noncharacter", "\xef\xbf\xbe", "U+FFFE"},
                                         TextCase{"latin1", "caf\xe9", "byte 0xE9 at offset 3"},
                                         TextCase{"overlong", "\xc0\xaf", "UTF-8"},
                                         TextCase{"surrogate", "\xed\xa0\x80", "UTF-8"},
                                         TextCase{"truncated", "\xe2\x82", "UTF-8"},
                                         TextCase{"beyondUnicode", "\xf4\x90\x80\x80", "UTF-8"}),
                         [](const auto& param) { return std::string(param.param.label); });

// What python's plistlib (on expat, a strict XML parser) makes of the file, as JSON.
Value readByPython(const std::filesystem::path& file) {
    const auto run = test::spawn({"python3", "-c",
                                  "import json, plistlib, sys; "
                                  "print(json.dumps(plistlib.load(open(sys.argv[1], 'rb'))))",
                                  file.string()});
    EXPECT_EQ(run.status, 0) << "python3 (scripts/install-deps) could not read the file: "
                             << run.output;
    return parseJson(run.output, "python");
}

using corvane::test::TemporaryDirectory;

TEST(PropertyListFile, AnotherReaderReadsWhatWasWritten) {
    TemporaryDirectory dir;
    const Value written = Value::dict({
        {"line ends", "one\r\ntwo\rthree\n"},
        {"markup", "<a href=\"x\">&amp; ]]> 'q'</a>"},
        {"blanks", "  padded\t "},
        {"wide", "Gr\u00fc\u00dfe, \u6e29\u5ea6, \U0001f321 \x7f\u0085"},
        {"key\rwith return", Value::array({std::numeric_limits<std::int64_t>::min(),
                                           std::numeric_limits<std::int64_t>::max(), 0.5})},
    });
    const auto file = dir / "domain.plist";
    ASSERT_TRUE(writePropertyListFile(file, written));
    EXPECT_EQ(readByPython(file), written);
    EXPECT_EQ(readPropertyListFile(file), written);
}

TEST(PropertyListFile, ReplacesTheFileWholeAndLeavesNoTemporaries) {
    TemporaryDirectory dir;
    const auto file = dir.path() / "domain.plist";
    ASSERT_TRUE(writePropertyListFile(file, Value::dict({{"a", 1}})));
    ASSERT_TRUE(writePropertyListFile(file, Value::dict({{"b", 2}}), PropertyListFormat::Binary));
    EXPECT_EQ(readPropertyListFile(file), Value::dict({{"b", 2}}));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file.parent_path()),
                            std::filesystem::directory_iterator()),
              1);
}

// Settings kept under version control are often links into the user's own folder.
TEST(PropertyListFile, ALinkStaysALinkAndTheFileKeepsItsMode) {
    TemporaryDirectory dir;
    std::filesystem::create_directory(dir / "kept");
    const auto target = dir / "kept" / "domain.plist";
    ASSERT_TRUE(writeFileAtomically(target, "old"));
    ASSERT_EQ(::chmod(target.c_str(), 0600), 0);
    const auto link = dir / "domain.plist";
    std::filesystem::create_symlink("kept/domain.plist", link);

    ASSERT_TRUE(writePropertyListFile(link, Value::dict({{"a", 1}})));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readPropertyListFile(target), Value::dict({{"a", 1}}));
    struct stat st {};
    ASSERT_EQ(::stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0600u);
    EXPECT_EQ(resolvedFile(link), target);
}

TEST(PropertyListFile, OnlyOldTemporariesOfTheFileAreRemoved) {
    TemporaryDirectory dir;
    const auto file = dir / "domain.plist";
    const auto anHourAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    auto make = [&](const char* name, bool old) {
        ASSERT_TRUE(writeFileAtomically(dir / name, "partial"));
        if (old)
            std::filesystem::last_write_time(dir / name, anHourAgo);
    };
    make("domain.plist.tmp-a1B2c3", true);
    make("domain.plist.tmp-Z9y8x7", false); // a write under way
    make("domain.plist.tmp-a1B2c", true);   // not a name the writer makes
    make("domain.plist.tmp-a1B2c3.keep", true);
    make("other.plist.tmp-a1B2c3", true);
    std::filesystem::create_symlink("other.plist.tmp-a1B2c3", dir / "domain.plist.tmp-link00");

    EXPECT_EQ(removeStaleTemporaries(file), 1);
    EXPECT_FALSE(std::filesystem::exists(dir / "domain.plist.tmp-a1B2c3"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()),
                            std::filesystem::directory_iterator()),
              5);
}

// A file rewritten every second keeps its two files open; the name must still show the last
// bytes written after someone else replaced or removed the files behind its back.
TEST(FrequentlyWrittenFile, TheNameAlwaysShowsTheLastWriteWhole) {
    TemporaryDirectory dir;
    const auto file = dir / "cpu.json";
    const auto read = [&] { return readFileContents(file).value_or("(none)"); };
    FrequentlyWrittenFile writer(file);
    for (const char* bytes : {"first, long", "second", "third, longer than both", "4th"}) {
        ASSERT_TRUE(writer.write(bytes));
        EXPECT_EQ(read(), bytes);
    }
    // Another program renames a file over the side file, then over the file itself.
    ASSERT_TRUE(writeFileAtomically(swapFileOf(file), "stranger"));
    ASSERT_TRUE(writer.write("fifth"));
    EXPECT_EQ(read(), "fifth");
    ASSERT_TRUE(writeFileAtomically(file, "stranger"));
    ASSERT_TRUE(writer.write("sixth"));
    ASSERT_TRUE(writer.write("seventh"));
    EXPECT_EQ(read(), "seventh");

    std::filesystem::remove_all(dir.path());
    EXPECT_FALSE(writer.write("into nothing"));
    std::filesystem::create_directories(dir.path());
    ASSERT_TRUE(writer.write("back"));
    EXPECT_EQ(read(), "back");
    writer.remove();
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

// Failures log a line and leave the old file; a missing folder is not made.
TEST(PropertyListFile, AFailedWriteKeepsTheOldFile) {
    TemporaryDirectory dir;
    const auto file = dir.path() / "domain.plist";
    ASSERT_TRUE(writePropertyListFile(file, Value::dict({{"keep", true}})));
    LogCapture log;
    EXPECT_FALSE(writePropertyListFile(file, Value()));
    EXPECT_TRUE(log.contains("not a property list")) << log.lines();
    EXPECT_FALSE(writeFileAtomically(dir / "missing" / "x.plist", "data"));
    EXPECT_FALSE(std::filesystem::exists(dir / "missing"));
    EXPECT_TRUE(log.contains("No such file or directory")) << log.lines();
    EXPECT_EQ(readPropertyListFile(file), Value::dict({{"keep", true}}));
    EXPECT_TRUE(readPropertyListFile(dir / "missing.plist").isNull());
    EXPECT_TRUE(log.contains("cannot be opened"));
}

} // namespace
