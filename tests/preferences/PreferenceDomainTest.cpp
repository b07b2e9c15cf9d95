#include "preferences/PreferenceDomain.h"

#include "PreferencesFixture.h"
#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "support/TemporaryDirectory.h"

#include <chrono>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
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

TEST_F(Domain, ChangesArePendingUntilSynchronizedAndWritersKeepEachOthersKeys) {
    PreferenceDomain writer("test", file());
    writer.setValue("a", 1);
    EXPECT_EQ(writer.copyValue("a"), Value(1));
    EXPECT_EQ(writer.copyKeyList(), std::vector<std::string>{"a"});
    EXPECT_FALSE(std::filesystem::exists(file()));
    ASSERT_TRUE(writer.synchronize());
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"a", 1}}));

    writer.setValue("a", Value());
    writer.synchronize();
    EXPECT_EQ(readPropertyListFile(file()), Value::dict());

    // Writers of different keys see each other's change without any call and keep each
    // other's keys, until one removes all.
    PreferenceDomain first("test", file());
    PreferenceDomain second("test", file());
    first.copyValue("x"); // both have read the empty file
    second.copyValue("x");
    first.setValue("one", 1);
    second.setValue("two", 2);
    first.synchronize();
    second.synchronize();
    EXPECT_EQ(first.copyValue("two"), Value(2));
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"one", 1}, {"two", 2}}));

    // Removing all clears what the other wrote too.
    first.removeAll();
    first.setValue("kept", true);
    first.synchronize();
    EXPECT_EQ(first.copyAll(), Value::dict({{"kept", true}}));
    EXPECT_EQ(second.copyKeyList(), std::vector<std::string>{"kept"});
}

std::vector<std::filesystem::path> asideFiles(const std::filesystem::path& dir) {
    std::vector<std::filesystem::path> aside;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        if (entry.path().filename().string().find(".corrupt-") != std::string::npos)
            aside.push_back(entry.path());
    }
    return aside;
}

TEST_F(Domain, ACorruptFileIsMovedAsideNeverOverwritten) {
    std::ofstream(file()) << "<?xml version=\"1.0\"?><plist><dict><key>a</key><integer>1";
    // Files set aside earlier in this second (and the next, should the clock tick meanwhile).
    const auto now = std::time(nullptr);
    for (auto second : {now, now + 1})
        std::ofstream(file().string() + ".corrupt-" + std::to_string(second)) << "earlier";
    LogCapture log;
    PreferenceDomain domain("test", file());
    EXPECT_FALSE(domain.setAsideCopy());
    EXPECT_TRUE(domain.copyValue("a").isNull());
    EXPECT_TRUE(log.contains("moved aside")) << log.lines();
    EXPECT_TRUE(log.contains("did not read (malformed XML")) << log.lines();

    const auto aside = asideFiles(dir.path());
    ASSERT_EQ(aside.size(), 3u);
    int earlier = 0;
    for (const auto& path : aside) {
        const std::string text = readFileContents(path).value_or("");
        if (text == "earlier") {
            ++earlier;
        } else {
            EXPECT_NE(text.find("<integer>1"), std::string::npos) << path;
            EXPECT_EQ(domain.setAsideCopy(), path);
        }
    }
    EXPECT_EQ(earlier, 2) << "an earlier file was replaced";

    domain.setValue("b", 2);
    EXPECT_TRUE(domain.synchronize());
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"b", 2}}));
}

// As earlier versions wrote a control character: raw, which every other reader refuses.
TEST_F(Domain, TextOtherReadersRefuseLeavesTheFileAndTheOtherSettingsStay) {
    const std::string written = "<?xml version=\"1.0\"?><plist><dict><key>a</key><integer>1"
                                "</integer><key>b</key><array><string>x\x01y</string></array>"
                                "<key>c\x02</key><true/></dict></plist>";
    std::ofstream(file()) << written;
    LogCapture log;
    PreferenceDomain domain("test", file());
    EXPECT_EQ(domain.copyAll(), Value::dict({{"a", 1}}));
    EXPECT_TRUE(log.contains("b: text holds U+0001")) << log.lines();
    EXPECT_TRUE(log.contains("c?: the key holds")) << log.lines();
    ASSERT_TRUE(domain.setAsideCopy());
    EXPECT_EQ(readFileContents(*domain.setAsideCopy()), written);
    EXPECT_EQ(readFileContents(file()).value_or("").find('\x01'), std::string::npos);
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"a", 1}}));
}

TEST_F(Domain, AFileThatCannotBeReadIsLeftInPlaceAndNeverWrittenOver) {
    PreferenceDomain domain("test", file());
    domain.setValue("a", 1);
    ASSERT_TRUE(domain.synchronize());

    // Something that opens but fails to read: a folder in the file's place.
    std::filesystem::remove(file());
    std::filesystem::create_directory(file());
    LogCapture log;
    EXPECT_EQ(domain.copyValue("a"), Value(1)) << "keeps what it had";
    domain.setValue("b", 2);
    EXPECT_FALSE(domain.synchronize());
    EXPECT_TRUE(std::filesystem::is_directory(file()));
    EXPECT_TRUE(asideFiles(dir.path()).empty());
    EXPECT_TRUE(log.contains("cannot be read")) << log.lines();

    // Readable again: the change waiting is written over what the file holds now.
    std::filesystem::remove(file());
    ASSERT_TRUE(writePropertyListFile(file(), Value::dict({{"a", 1}, {"c", 3}})));
    EXPECT_EQ(domain.copyValue("c"), Value(3));
    EXPECT_TRUE(domain.synchronize());
    EXPECT_EQ(readPropertyListFile(file()), Value::dict({{"a", 1}, {"b", 2}, {"c", 3}}));
}

// A link into another folder (settings kept with the user's other files) stays a link, and a
// damaged file is moved aside beside itself.
TEST_F(Domain, ALinkedSettingsFileStaysALink) {
    std::filesystem::create_directory(dir.path() / "kept");
    const auto target = dir.path() / "kept" / "real.plist";
    std::ofstream(target) << "<plist><dict><key>a</key>";
    std::filesystem::create_symlink(target, file());

    PreferenceDomain domain("test", file());
    domain.setValue("b", 2);
    ASSERT_TRUE(domain.synchronize());
    EXPECT_TRUE(std::filesystem::is_symlink(file()));
    EXPECT_EQ(readPropertyListFile(target), Value::dict({{"b", 2}}));
    ASSERT_TRUE(domain.setAsideCopy());
    EXPECT_EQ(domain.setAsideCopy()->parent_path(), target.parent_path());
    EXPECT_EQ(readFileContents(*domain.setAsideCopy()), "<plist><dict><key>a</key>");
}

// Only the old temporary file of a write that died is removed; a reader makes none.
TEST_F(Domain, ReadingAMissingDomainLeavesNoFilesBehind) {
    const auto stale = dir.path() / "com.test.plist.tmp-Q3x9Zk";
    std::ofstream(stale) << "<plist><dict>";
    std::filesystem::last_write_time(stale, std::filesystem::file_time_type::clock::now() -
                                                std::chrono::hours(2));
    PreferenceDomain domain("test", file());
    EXPECT_TRUE(domain.copyValue("a").isNull());
    EXPECT_TRUE(domain.copyKeyList().empty());
    EXPECT_TRUE(domain.synchronize());
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST_F(Domain, AFailedWriteKeepsTheChangePendingButAFailedUpdateDoesNot) {
    // A plain file where the folder should be stops every write, for root too.
    std::ofstream(dir.path() / "blocked") << "not a folder";
    const auto path = dir.path() / "blocked" / "d.plist";
    PreferenceDomain domain("test", path);
    LogCapture log;
    domain.setValue("k", 1);
    EXPECT_FALSE(domain.synchronize());
    EXPECT_EQ(domain.copyValue("k"), Value(1));
    EXPECT_TRUE(log.contains("could not be written")) << log.lines();

    // An update that cannot be stored leaves nothing waiting in memory for a later write.
    PreferenceDomain updater("test", path);
    EXPECT_FALSE(updater.updateValue("n", [](const Value&) { return Value(1); }));
    EXPECT_TRUE(updater.copyValue("n").isNull());

    std::filesystem::remove(dir.path() / "blocked");
    EXPECT_TRUE(domain.synchronize());
    EXPECT_EQ(readPropertyListFile(path), Value::dict({{"k", 1}}));
}

pid_t spawnWriter(std::vector<std::string> arguments) {
    const pid_t pid = fork();
    if (pid == 0) {
        std::vector<char*> argv{const_cast<char*>(CVB_PREFERENCE_WRITER)};
        for (auto& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(CVB_PREFERENCE_WRITER, argv.data());
        _exit(127);
    }
    return pid;
}

void expectSuccess(pid_t pid) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(Domain, TwoProcessesWritingFiveHundredKeysEachLoseNothing) {
    const pid_t a = spawnWriter({file().string(), "first-", "500"});
    const pid_t b = spawnWriter({file().string(), "second-", "500"});
    for (pid_t pid : {a, b})
        expectSuccess(pid);
    const Value all = readPropertyListFile(file());
    ASSERT_EQ(all.size(), 1000u);
    for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(all["first-" + std::to_string(i)], Value(i));
        EXPECT_EQ(all["second-" + std::to_string(i)], Value(i));
    }
}

TEST_F(Domain, AnUpdateStartsFromTheFileAndRefusesTextNoReaderTakes) {
    PreferenceDomain mine("test", file());
    PreferenceDomain theirs("test", file());
    EXPECT_TRUE(mine.updateValue("n", [](const Value& current) {
        EXPECT_TRUE(current.isNull());
        return Value(1);
    }));
    theirs.setValue("n", 10);
    ASSERT_TRUE(theirs.synchronize());
    auto increment = [](const Value& current) { return Value(current.integerValue() + 1); };
    EXPECT_TRUE(mine.updateValue("n", increment));
    EXPECT_EQ(theirs.copyValue("n"), Value(11));

    LogCapture log;
    EXPECT_FALSE(mine.updateValue("n", [](const Value&) { return Value("caf\xe9"); }));
    EXPECT_TRUE(log.contains("not valid UTF-8")) << log.lines();
    EXPECT_TRUE(mine.updateValue("n", [](const Value&) { return Value(); }));
    EXPECT_EQ(readPropertyListFile(file()), Value::dict());
}

using CrossProcess = corvane::test::PreferencesFixture;

// The writer replaces the file twice, so the inode the reader loaded is free again by the
// second write; with timestamps as coarse as some kernels keep, only the inode would tell the
// file apart from the one read.
TEST_F(CrossProcess, AReaderSeesAnotherProcesssChangeOfTheSameSize) {
    install();
    const auto file = dir.path() / "extras.plist";
    const std::string key = "Weather_ProviderKey";
    for (int round = 0; round < 10; ++round) {
        const std::string mine = "mine-" + std::to_string(round);
        const std::string theirs = "last-" + std::to_string(round);
        CVBSetObjectForKey(Value(mine), key);
        ASSERT_EQ(CVBObjectForKey(key), Value(mine));
        struct stat loaded {};
        ASSERT_EQ(::stat(file.c_str(), &loaded), 0);

        expectSuccess(
            spawnWriter({file.string(), "--set", key, "next-" + std::to_string(round), theirs}));
        struct stat now {};
        ASSERT_EQ(::stat(file.c_str(), &now), 0);
        ASSERT_EQ(now.st_size, loaded.st_size);
        EXPECT_NE(now.st_ino, loaded.st_ino) << "the inode the reader loaded came back";

        CVBRefreshKey(key);
        EXPECT_EQ(CVBObjectForKey(key), Value(theirs)) << "round " << round;
    }
}

} // namespace
