#include "foundation/FileLogger.h"

#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>

using namespace corvane;
using corvane::test::ScopedEnvironment;
using corvane::test::TemporaryDirectory;

namespace {

std::string contents(const std::filesystem::path& file) {
    return readFileContents(file).value_or("");
}

std::size_t fileCount(const std::filesystem::path& dir) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(dir),
                                                  std::filesystem::directory_iterator()));
}

class LocalTime : public ::testing::Test {
protected:
    ScopedEnvironment tz{"TZ", "Europe/Berlin"};
    void SetUp() override { tzset(); }
    void TearDown() override { tzset(); }
};

TEST_F(LocalTime, LinesCarryTheLocalTimeToTheMillisecondAndDebugLinesTheWeekYear) {
    // 2026-11-22 08:15:30.042 UTC is 09:15 in Berlin.
    EXPECT_EQ(FileLogger::formatLine(1795335330.042, "INSTALL - started"),
              "2026/11/22 09:15:30:042  INSTALL - started");
    EXPECT_EQ(FileLogger::formatLine(1795335330.9999, "x"), "2026/11/22 09:15:30:999  x");
    // Debug lines use the week-based year.
    EXPECT_EQ(dlogLine(1795335330.5, "hello"), "2026-11-22 09:15:30.500: hello");
    // Monday 2024-12-30 belongs to the first week of 2025.
    EXPECT_EQ(dlogLine(1735552800.0, "x"), "2025-12-30 11:00:00.000: x");
}

TEST(FileLogger, RollsBeforeALineWouldPassTheLimitAndKeepsSevenFiles) {
    TemporaryDirectory dir;
    const std::uint64_t limit = 300;
    FileLogger logger(dir.path(), "App", limit);
    const std::string message(40, 'm'); // 66 bytes a line with time and newline
    for (int i = 0; i < 200; ++i)
        logger.log(message + std::to_string(i % 10));

    EXPECT_EQ(fileCount(dir.path()), 7u);
    EXPECT_TRUE(std::filesystem::exists(logger.currentFile()));
    for (int n = 1; n <= 6; ++n) {
        ASSERT_TRUE(std::filesystem::exists(logger.archiveFile(n))) << n;
        EXPECT_LE(std::filesystem::file_size(logger.archiveFile(n)), limit);
        EXPECT_GT(std::filesystem::file_size(logger.archiveFile(n)), limit - 67);
    }
    EXPECT_FALSE(std::filesystem::exists(logger.archiveFile(7)));

    // The newest archive ends with the line before the current file's first.
    const std::string current = contents(logger.currentFile());
    const std::string newest = contents(logger.archiveFile(1));
    const char lastArchived = newest[newest.size() - 2];
    const char firstCurrent = current[current.find('\n') - 1];
    EXPECT_EQ((lastArchived - '0' + 1) % 10, firstCurrent - '0');
}

TEST(FileLogger, ContinuesAnExistingFileAcrossRestarts) {
    TemporaryDirectory dir;
    {
        FileLogger first(dir.path(), "Status", 1000);
        first.log("one");
    }
    FileLogger second(dir.path(), "Status", 1000);
    second.log("two");
    const std::string text = contents(second.currentFile());
    EXPECT_NE(text.find("  one\n"), std::string::npos);
    EXPECT_NE(text.find("  two\n"), std::string::npos);
    EXPECT_EQ(fileCount(dir.path()), 1u);
}

TEST(FileLogger, AnUnwritableDirectoryIsNotFatal) {
    TemporaryDirectory dir;
    std::ofstream(dir.path() / "blocker") << "file";
    FileLogger logger(dir.path() / "blocker" / "logs", "App");
    logger.log("lost, but the process goes on");
    EXPECT_FALSE(std::filesystem::exists(logger.currentFile()));
}

TEST(Log, SetupSendsLinesToTheProcessFolderUnderTheStateDirectory) {
    TemporaryDirectory dir;
    ScopedEnvironment state("XDG_STATE_HOME", dir.path().c_str());
    ScopedEnvironment unset("CORVANEBAR_STATE_DIR", nullptr);
    ScopedEnvironment unset2("CORVANEBAR_LOG_DIR", nullptr);
    setupLog("App");
    LogCapture capture;
    CVBLog("status version %s", "6.72");
    teardownLog();

    const auto file = dir.path() / "corvanebar" / "logs" / "App" / "App.log";
    const std::string text = contents(file);
    EXPECT_TRUE(std::regex_match(
        text, std::regex(R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d:\d{3}  status version 6\.72\n)")))
        << text;
    EXPECT_EQ(capture.lines(), "status version 6.72\n");
}

} // namespace
