#include "preferences/PreferenceDomain.h"

#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace corvane;
using corvane::test::TemporaryDirectory;

namespace {

class Domain : public ::testing::Test {
protected:
    std::filesystem::path file() const { return dir.path() / "com.test.plist"; }
    TemporaryDirectory dir;
};

TEST_F(Domain, ChangesArePendingUntilSynchronizedAndThenOnDisk) {
    PreferenceDomain writer("test", file());
    writer.setValue("a", 1);
    EXPECT_EQ(writer.copyValue("a"), Value(1));
    EXPECT_FALSE(std::filesystem::exists(file()));
    ASSERT_TRUE(writer.synchronize());
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"a", 1}}));

    writer.setValue("a", Value());
    writer.synchronize();
    EXPECT_EQ(readPropertyListFile(file()), Value::dict());
}

TEST_F(Domain, AReaderSeesAnotherWritersChangeWithoutAnyCall) {
    PreferenceDomain reader("test", file());
    PreferenceDomain writer("test", file());
    EXPECT_TRUE(reader.copyValue("k").isNull());
    writer.setValue("k", "v");
    writer.synchronize();
    EXPECT_EQ(reader.copyValue("k"), Value("v"));
}

TEST_F(Domain, WritersOfDifferentKeysKeepEachOthersKeys) {
    PreferenceDomain first("test", file());
    PreferenceDomain second("test", file());
    first.copyValue("x"); // both have read the empty file
    second.copyValue("x");
    first.setValue("one", 1);
    second.setValue("two", 2);
    first.synchronize();
    second.synchronize();
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"one", 1}, {"two", 2}}));
}

TEST_F(Domain, RemoveAllClearsWhatOthersWroteToo) {
    PreferenceDomain a("test", file());
    PreferenceDomain b("test", file());
    b.setValue("theirs", 1);
    b.synchronize();
    a.removeAll();
    a.setValue("kept", true);
    a.synchronize();
    EXPECT_EQ(a.copyAll(), Value::dict({{"kept", true}}));
    EXPECT_EQ(b.copyKeyList(), std::vector<std::string>{"kept"});
}

TEST_F(Domain, ACorruptFileIsMovedAsideNeverOverwritten) {
    {
        std::ofstream out(file());
        out << "<?xml version=\"1.0\"?><plist><dict><key>a</key><integer>1";
    }
    LogCapture log;
    PreferenceDomain domain("test", file());
    EXPECT_TRUE(domain.copyValue("a").isNull());
    EXPECT_TRUE(log.contains("moved aside")) << log.lines();

    std::vector<std::filesystem::path> aside;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        if (entry.path().filename().string().find(".corrupt-") != std::string::npos)
            aside.push_back(entry.path());
    ASSERT_EQ(aside.size(), 1u);
    std::ifstream in(aside[0]);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("<integer>1"), std::string::npos);

    domain.setValue("b", 2);
    EXPECT_TRUE(domain.synchronize());
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"b", 2}}));
}

TEST_F(Domain, AFailedWriteKeepsTheChangePending) {
    // A plain file where the folder should be stops every write, for root too.
    std::ofstream(dir.path() / "blocked") << "not a folder";
    const auto path = dir.path() / "blocked" / "d.plist";
    PreferenceDomain domain("test", path);
    LogCapture log;
    domain.setValue("k", 1);
    EXPECT_FALSE(domain.synchronize());
    EXPECT_EQ(domain.copyValue("k"), Value(1));
    EXPECT_TRUE(log.contains("could not be written")) << log.lines();

    std::filesystem::remove(dir.path() / "blocked");
    EXPECT_TRUE(domain.synchronize());
    EXPECT_EQ(readPropertyListFile(path), Value::dict({{"k", 1}}));
}

pid_t spawnWriter(const std::filesystem::path& file, const char* prefix, int count) {
    const pid_t pid = fork();
    if (pid == 0) {
        execl(CVB_PREFERENCE_WRITER, CVB_PREFERENCE_WRITER, file.c_str(), prefix,
              std::to_string(count).c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    return pid;
}

TEST_F(Domain, TwoProcessesWritingFiveHundredKeysEachLoseNothing) {
    const pid_t a = spawnWriter(file(), "first-", 500);
    const pid_t b = spawnWriter(file(), "second-", 500);
    for (pid_t pid : {a, b}) {
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    const Value all = readPropertyListFile(file());
    ASSERT_EQ(all.size(), 1000u);
    for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(all["first-" + std::to_string(i)], Value(i));
        EXPECT_EQ(all["second-" + std::to_string(i)], Value(i));
    }
}

} // namespace
