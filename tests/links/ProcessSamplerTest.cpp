#include "links/ProcessSampler.h"

#include "foundation/ProcessStat.h"
#include "links/ProcessInfo.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

// A /proc and an applications folder written by the test: stat lines at 100 ticks a second
// and 4096-byte pages.
class ProcessTree : public ::testing::Test {
protected:
    void write(const std::filesystem::path& relative, const std::string& text) {
        const auto file = dir / relative;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    void process(long pid, const std::string& name, std::uint64_t ticks, std::uint64_t start = 5,
                 const std::string& exe = "") {
        const std::string folder = "proc/" + std::to_string(pid);
        write(folder + "/stat", std::to_string(pid) + " (" + name + ") S 1 1 1 0 -1 0 0 0 0 0 " +
                                    std::to_string(ticks) + " 0 0 0 20 0 1 0 " +
                                    std::to_string(start) + " 1000 25 0\n");
        write(folder + "/comm", name + "\n");
        if (!exe.empty() && !std::filesystem::is_symlink(dir / folder / "exe"))
            std::filesystem::create_symlink(exe, dir / folder / "exe");
    }
    void entry(const std::string& file, const std::string& keys) {
        write("applications/" + file, "[Desktop Entry]\nType=Application\n" + keys);
    }
    static const Value* rowOf(const Value& rows, long pid) {
        for (const auto& row : rows.arrayItems())
            if (row["pid"].integerValue() == pid)
                return &row;
        return nullptr;
    }

    test::TemporaryDirectory dir;
    const DesktopEntries noEntries{{}};
    ProcessSampler sampler{SysRoot(dir.path()), noEntries, 100, 4096};
};

TEST(ProcessStat, ReadsTheFieldsPastOddNamesOrNothing) {
    const std::string tail = " S 1 1 1 0 -1 0 0 0 0 0 30 12 0 0 20 0 1 0 777 1000 25 0";
    const auto spaced = parseProcessStat("42 (a (b) c)" + tail);
    ASSERT_TRUE(spaced);
    EXPECT_EQ(spaced->name, "a (b) c"); // the name runs to the last parenthesis
    EXPECT_EQ(spaced->ticks, 42u);
    EXPECT_EQ(spaced->startTicks, 777u);
    EXPECT_EQ(spaced->residentPages, 25u);
    const std::vector<std::string> bad{
        "42 (x) S 1 1 1", "42 x" + tail,
        "42 (x) S 1 1 1 0 -1 0 0 0 0 0 3x 12 0 0 20 0 1 0 777 1000 25 0", ""};
    for (const auto& line : bad)
        EXPECT_FALSE(parseProcessStat(line)) << line;
}

TEST_F(ProcessTree, SharesComeFromTheTicksBetweenSamples) {
    process(10, "busy", 100);
    process(11, "idle", 7);
    const Value first = sampler.sample(50.0, false);
    ASSERT_EQ(first.size(), 2u);
    EXPECT_EQ(first[0]["cpu"].doubleValue(), 0.0); // nothing to compare with yet

    process(10, "busy", 250); // 150 ticks in 2 s of 100 ticks: three quarters of a processor
    const Value second = sampler.sample(52.0, false);
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[0]["pid"].integerValue(), 10); // busiest first
    EXPECT_DOUBLE_EQ(second[0]["cpu"].doubleValue(), 75.0);
    EXPECT_DOUBLE_EQ(second[0]["memory"].doubleValue(), 25.0 * 4096);
    EXPECT_EQ(second[1]["cpu"].doubleValue(), 0.0);

    // The same pid for a new process (another start time) starts from nothing, not from the
    // ticks of the one before; a process that ended leaves the list.
    std::filesystem::remove_all(dir / "proc/11");
    process(10, "other", 30, 900);
    const Value third = sampler.sample(53.0, false);
    ASSERT_EQ(third.size(), 1u);
    EXPECT_EQ(third[0]["cpu"].doubleValue(), 0.0);
    EXPECT_EQ(third[0]["name"].string(), "other");
}

TEST_F(ProcessTree, DiskTrafficIsARateWhereReadable) {
    process(10, "writer", 1);
    write("proc/10/io", "rchar: 1\nread_bytes: 1000\nwrite_bytes: 0\n");
    process(11, "private", 1);
    sampler.sample(10.0, false);
    write("proc/10/io", "rchar: 1\nread_bytes: 5000\nwrite_bytes: 8192\n");
    const Value rows = sampler.sample(12.0, false);
    const Value* writer = rowOf(rows, 10);
    ASSERT_NE(writer, nullptr);
    EXPECT_DOUBLE_EQ((*writer)["read"].doubleValue(), 2000.0);
    EXPECT_DOUBLE_EQ((*writer)["written"].doubleValue(), 4096.0);
    const Value* hidden = rowOf(rows, 11);
    ASSERT_NE(hidden, nullptr);
    EXPECT_FALSE(hidden->contains("read")); // no io file: unknown, not zero
}

TEST_F(ProcessTree, CombiningSumsOneNameUnderItsLowestPid) {
    process(30, "worker", 10);
    process(20, "worker", 10);
    process(40, "main", 10);
    sampler.sample(1.0, false);
    process(30, "worker", 40);
    process(20, "worker", 30);
    process(40, "main", 50);
    const Value rows = sampler.sample(2.0, true);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["name"].string(), "worker");
    EXPECT_EQ(rows[0]["pid"].integerValue(), 20);
    EXPECT_DOUBLE_EQ(rows[0]["cpu"].doubleValue(), 50.0);
    EXPECT_DOUBLE_EQ(rows[0]["memory"].doubleValue(), 2 * 25.0 * 4096);
}

TEST_F(ProcessTree, InfoNamesAProcessByItsDesktopEntry) {
    entry("org.example.Editor.desktop",
          "Name=Editor\nIcon=accessories-text-editor\nExec=\"/opt/edit/editor\" %F\n");
    entry("tool.desktop", "Name=Tool\nIcon=tool\nTryExec=toolbin\nExec=env A=1 toolbin\n");
    entry("gone.desktop", "Name=Gone\nHidden=true\nExec=kernelthread\n");
    write("applications/broken.desktop", "not a key file");
    process(10, "editor", 1, 5, "/opt/edit/editor (deleted)");
    process(11, "toolbin", 1, 5, "/usr/bin/toolbin");
    process(12, "kernelthread", 1);
    process(13, "cut-short-name", 1, 5, "/usr/bin/plain");
    const SysRoot root(dir.path());
    const DesktopEntries entries({dir / "applications", dir / "missing"});

    struct Case {
        long pid;
        const char* name;
        const char* path;
        const char* icon;
    };
    for (const Case& c :
         {Case{10, "Editor", "/opt/edit/editor", "accessories-text-editor"},
          Case{11, "Tool", "/usr/bin/toolbin", "tool"}, Case{12, "kernelthread", "", nullptr},
          Case{13, "plain", "/usr/bin/plain", nullptr}}) {
        const Value info = processInfo(root, entries, c.pid);
        EXPECT_EQ(info["pid"].integerValue(), c.pid);
        EXPECT_EQ(info["name"].stringValue(), c.name) << c.pid;
        EXPECT_EQ(info["path"].stringValue(), c.path) << c.pid;
        EXPECT_EQ(info.contains("icon"), c.icon != nullptr) << c.pid;
        if (c.icon) {
            EXPECT_EQ(info["icon"].stringValue(), c.icon);
        }
    }
    EXPECT_TRUE(processInfo(root, entries, 99).empty());
}

} // namespace
} // namespace corvane
