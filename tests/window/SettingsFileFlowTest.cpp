#include "window/SettingsFileFlow.h"

#include "preferences/PreferencesFixture.h"
#include "preferences/SettingsFile.h"

#include <fstream>
#include <gtest/gtest.h>

namespace corvane::test {
namespace {

struct BadImport {
    const char* name;
    const char* content;
    const char* says; // a part of the message the window shows
};

class SettingsFileFlowTest : public PreferencesFixture,
                             public ::testing::WithParamInterface<BadImport> {
protected:
    void SetUp() override { install(); }
    DistributedNotificationCenter bus{nullptr}; // delivers in this process only
    RecordingRestarter restarter;
};

// What the user picked is not a settings file: a message says so, and nothing of the settings
// changes, nor is anyone told that it did.
TEST_P(SettingsFileFlowTest, ABadImportSaysWhyAndChangesNothing) {
    CVBSetObjectForKey(Value(7), "CPU_ProcessCount");
    std::vector<std::string> heard;
    auto observation = bus.addObserver("CorvaneBarExternalChange",
                                       [&](const Notification& n) { heard.push_back(n.name); });
    const auto file = dir.path() / GetParam().name;
    std::ofstream(file) << GetParam().content;

    SettingsFileFlow flow(CVBPreferences::sharedPreferences(), restarter, bus);
    const auto outcome = flow.importFrom(file);
    EXPECT_FALSE(outcome.done);
    EXPECT_NE(outcome.message.find(GetParam().says), std::string::npos) << outcome.message;
    EXPECT_NE(outcome.message.find("nothing changed"), std::string::npos) << outcome.message;
    EXPECT_EQ(CVBIntegerForKey("CPU_ProcessCount"), 7);
    EXPECT_TRUE(heard.empty());
    EXPECT_EQ(restarter.restarts, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Files, SettingsFileFlowTest,
    ::testing::Values(BadImport{"notes.txt", "CPU_ProcessCount = 3", "is not a settings file"},
                      BadImport{"damaged.cvbp", "<?xml version=\"1.0\"?><plist><dict><key>",
                                "damaged.cvbp"},
                      BadImport{"list.cvbp",
                                "<?xml version=\"1.0\"?><plist version=\"1.0\"><array>"
                                "<integer>3</integer></array></plist>",
                                "list.cvbp"}));

} // namespace
} // namespace corvane::test
