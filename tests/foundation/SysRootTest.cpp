#include "foundation/SysRoot.h"

#include "foundation/SysRootFile.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace corvane;
using corvane::test::TemporaryDirectory;

namespace {

class RecordedTree : public ::testing::Test {
protected:
    void write(const std::string& livePath, const std::string& text) {
        const auto file = dir.path() / livePath.substr(1);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    TemporaryDirectory dir;
};

TEST_F(RecordedTree, ReadsFilesAttributesLinksAndFoldersUnderItsRoot) {
    write("/proc/loadavg", "0.52 0.58 0.59 2/1007 12345\n");
    write("/sys/class/power_supply/BAT0/capacity", " 87\n");
    write("/sys/class/power_supply/BAT0/status", "Discharging\n");
    write("/sys/devices/system/cpu/online", "0-3,5\n");
    const SysRoot root(dir.path());

    EXPECT_EQ(root.readFile("/proc/loadavg"), "0.52 0.58 0.59 2/1007 12345\n");
    EXPECT_EQ(root.readInteger("/sys/class/power_supply/BAT0/capacity"), 87);
    EXPECT_EQ(root.readAttribute("sys/class/power_supply/BAT0/status"), "Discharging");
    EXPECT_EQ(root.readInteger("/sys/class/power_supply/BAT0/status"), std::nullopt);
    EXPECT_EQ(root.readFile("/proc/missing"), std::nullopt);
    EXPECT_EQ(root.list("/sys/class/power_supply"), std::vector<std::string>{"BAT0"});
    EXPECT_TRUE(root.list("/sys/class/missing").empty());
    EXPECT_TRUE(root.isDirectory("/sys/devices/system/cpu"));
    EXPECT_FALSE(root.isLive());

    // Relative links resolve inside the tree.
    write("/sys/devices/platform/bat/power_supply/BAT1/capacity", "50\n");
    std::filesystem::create_symlink("../../devices/platform/bat/power_supply/BAT1",
                                    dir.path() / "sys/class/power_supply/BAT1");
    EXPECT_EQ(root.readInteger("/sys/class/power_supply/BAT1/capacity"), 50);
    EXPECT_EQ(root.readLink("/sys/class/power_supply/BAT1"),
              "../../devices/platform/bat/power_supply/BAT1");

    for (const char* pid : {"/proc/1/comm", "/proc/42/comm", "/proc/self/comm"})
        write(pid, "x");
    EXPECT_EQ(countNumericEntries(root, "/proc"), 2u) << "process folders";
    EXPECT_EQ(countNumericEntries(root, "/missing"), 0u);
}

// A tree may hold anything where a kernel file is expected: none of it may hang or exhaust a
// reader. A FIFO without a writer blocks an ordinary open; a device never ends.
TEST_F(RecordedTree, OnlyRegularFilesAreReadAndNeverPastTheCap) {
    std::filesystem::create_directories(dir.path() / "proc");
    ASSERT_EQ(::mkfifo((dir.path() / "proc/stat").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", dir.path() / "proc/meminfo");
    std::ofstream(dir.path() / "proc/huge").close();
    std::filesystem::resize_file(dir.path() / "proc/huge", std::uintmax_t{64} << 20);
    const SysRoot root(dir.path());

    for (const char* path : {"/proc/stat", "/proc/meminfo"}) {
        EXPECT_EQ(root.readFile(path), std::nullopt) << path;
        EXPECT_EQ(SysRootFile(root, path).read(), std::nullopt) << path;
    }
    EXPECT_EQ(root.readFile("/proc/huge")->size(), std::size_t{4} << 20);
    EXPECT_EQ(root.readFile("/proc/huge", 4096)->size(), 4096u);
    SysRootFile huge(root, "/proc/huge");
    EXPECT_EQ(huge.read()->size(), std::size_t{4} << 20);
}

TEST_F(RecordedTree, KeptOpenFilesSeeNewContentAndLateFiles) {
    const SysRoot root(dir.path());
    SysRootFile file(root, "/proc/loadavg");
    EXPECT_EQ(file.read(), std::nullopt);
    write("/proc/loadavg", "0.1 0.2 0.3 1/10 5\n");
    EXPECT_EQ(file.read(), "0.1 0.2 0.3 1/10 5\n");
    // Rewritten in place, as procfs makes its text anew, and longer than the first buffer.
    std::ofstream(dir.path() / "proc/loadavg", std::ios::trunc) << std::string(20000, 'x');
    EXPECT_EQ(file.read()->size(), 20000u);
}

TEST(LiveRoot, ReadsProcfsFilesThatReportNoSize) {
    const SysRoot live;
    EXPECT_TRUE(live.isLive());
    SysRootFile stat(live, "/proc/stat");
    ASSERT_TRUE(stat.read().has_value());
    EXPECT_EQ(stat.read()->substr(0, 4), "cpu ");
    const auto status = live.readFile("/proc/self/status");
    ASSERT_TRUE(status.has_value());
    EXPECT_NE(status->find("Pid:"), std::string::npos);
    // A directory is not a readable file.
    EXPECT_EQ(live.readFile("/proc/self"), std::nullopt);
}

} // namespace
