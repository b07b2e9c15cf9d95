#include "preferences/SettingsFile.h"

#include "PreferencesFixture.h"
#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "preferences/PreferenceMigration.h"

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>

namespace corvane::test {
namespace {

class SettingsFileTest : public PreferencesFixture {
protected:
    // Start-up migration would store its markers and show up in every export.
    SettingsFileTest() { migrateOnStart = false; }

    // The migration an import runs looks for 5.x files under the configuration directory.
    ScopedEnvironment configDir{"CORVANEBAR_CONFIG_DIR", dir.path().c_str()};
    RecordingRestarter restarter;
};

const char* const kMachineKeys[] = {
    "Network_HiddenIBridge", "_mac_id",          "SensorsSliderSet", "Network_PrimaryInterface",
    "FilteringNetwork",      "FilteringSensors", "FilteringDisks",   "FanControl_DefaultSet"};

// Every machine key holds "here"; sensor items are this machine's too.
void storeMachineKeys(CVBPreferences& preferences) {
    for (const char* key : kMachineKeys)
        preferences.setObject(Value("here"), key);
    preferences.setObject(Value::array({"x"}), "Sensors_MenubarItems");
}

TEST_F(SettingsFileTest, ExportLeavesOutThisMachinesKeysAndNeedsAnExistingFolder) {
    auto& preferences = install();
    storeMachineKeys(preferences);
    preferences.setObject(Value(3), "TimerFrequency");
    const auto file = dir.path() / "Corvane Bar Settings.cvbp";
    ASSERT_TRUE(SettingsFile(preferences, restarter).exportSettings(file));

    const Value written = readPropertyListFile(file);
    EXPECT_EQ(written["version"], Value("6.72"));
    EXPECT_EQ(written["build"], Value("1224"));
    EXPECT_EQ(written["preferences"], Value::dict({{"TimerFrequency", 3}}));

    // Into a missing folder it fails and says so, and makes no folder.
    const auto lost = dir.path() / "missing" / "Corvane Bar Settings.cvbp";
    const auto result = SettingsFile(preferences, restarter).exportSettings(lost);
    EXPECT_FALSE(result);
    EXPECT_NE(result.reason.find("does not exist"), std::string::npos) << result.reason;
    EXPECT_FALSE(std::filesystem::exists(lost.parent_path()));
}

TEST_F(SettingsFileTest, ImportWritesEveryEntryOverAllButTheEightMachineKeys) {
    auto& preferences = install();
    PreferenceMigration(preferences).migrateIfNeeded();
    storeMachineKeys(preferences);
    preferences.setObject(Value(9), "CPU_ProcessCount");
    (void)preferences.objectForKey("TimerFrequency"); // cached default

    const auto file = dir.path() / "in.cvbp";
    ASSERT_TRUE(writePropertyListFile(
        file, Value::dict({{"version", "6.72"},
                           {"build", "1224"},
                           {"preferences", Value::dict({{"TimerFrequency", 5},
                                                        {"CPU_MenubarMode", "100,6"},
                                                        {"_mac_id", "elsewhere"},
                                                        {"Migrated_6.5", true}})}})));
    std::vector<std::string> posted;
    auto observer = center.addObserver(kImportedPreferencesNotification,
                                       [&](const Notification& n) { posted.push_back(n.name); });
    const auto result = SettingsFile(preferences, restarter).importSettingsFile(file);
    ASSERT_TRUE(result) << result.reason;

    const Value stored = onDisk();
    for (const char* key : kMachineKeys) {
        // A file normally holds none of these; one that does is taken at its word.
        EXPECT_EQ(stored[key], Value(key == std::string("_mac_id") ? "elsewhere" : "here")) << key;
    }
    EXPECT_TRUE(stored["CPU_ProcessCount"].isNull());
    EXPECT_TRUE(stored["Sensors_MenubarItems"].isNull());
    EXPECT_EQ(preferences.objectForKey("TimerFrequency"), Value(5)) << "cache cleared";
    EXPECT_EQ(stored["CPU_MenubarMode"].size(), 2u) << "migrated after the import";
    EXPECT_EQ(stored["Migrated_6.0"], Value(true));
    EXPECT_EQ(posted.size(), 1u);
    EXPECT_EQ(restarter.restarts, 1);
}

TEST_F(SettingsFileTest, ExportOfAFreshInstallationImportsCleanly) {
    auto& preferences = install();
    SettingsFile settings(preferences, restarter);
    const auto empty = dir.path() / "empty.cvbp";
    ASSERT_TRUE(settings.exportSettings(empty));
    EXPECT_EQ(readPropertyListFile(empty)["preferences"], Value::dict());
    ASSERT_TRUE(settings.importSettingsFile(empty));

    // Once migrated, a fresh installation holds only markers; they round-trip.
    const Value before = onDisk();
    const auto fresh = dir.path() / "fresh.cvbp";
    ASSERT_TRUE(settings.exportSettings(fresh));
    const auto result = settings.importSettingsFile(fresh);
    ASSERT_TRUE(result) << result.reason;
    EXPECT_EQ(onDisk(), before);
}

// A binary file can carry any bytes; stored, they would make the settings file unreadable.
std::string binarySettingsWithText(std::string_view text, char replacement = 0) {
    std::string bytes = writePropertyList(
        Value::dict({{"preferences", Value::dict({{"Weather_ProviderKey", std::string(text)}})}}),
        PropertyListFormat::Binary);
    if (replacement)
        bytes[bytes.find(text)] = replacement;
    return bytes;
}

TEST_F(SettingsFileTest, BadFilesChangeNothing) {
    auto& preferences = install();
    preferences.setObject(Value(4), "TimerFrequency");
    const Value before = onDisk();
    SettingsFile settings(preferences, restarter);

    const auto xml = [](const Value& v) { return writePropertyList(v, PropertyListFormat::XML); };
    const std::pair<std::string, const char*> cases[] = {
        {"this is not a property list", "not a property list"},
        {"", "not a property list"},
        {xml(Value::array({1})), "no settings dictionary"},
        {xml(Value::dict({{"version", "6.72"}})), "no \"preferences\""},
        {xml(Value::dict({{"preferences", Value::array({"a"})}})), "not a dictionary"},
        {binarySettingsWithText("a\x07"), "U+0007"},
        {binarySettingsWithText("Xavier", '\xe9'), "not valid UTF-8"},
    };
    const auto file = dir.path() / "bad.cvbp";
    for (const auto& [bytes, reason] : cases) {
        ASSERT_TRUE(writeFileAtomically(file, bytes));
        const auto result = settings.importSettingsFile(file);
        EXPECT_FALSE(result) << reason;
        EXPECT_NE(result.reason.find(reason), std::string::npos) << result.reason;
    }
    EXPECT_FALSE(settings.importSettingsFile(dir.path() / "missing.cvbp"));
    EXPECT_EQ(onDisk(), before);
    EXPECT_EQ(restarter.restarts, 0);
}

TEST_F(SettingsFileTest, FileOlderThan6DoesNotBringBackThe5xDomain) {
    storeInVersion5(Value::dict({{"TimerFrequency", 0}}));
    auto& preferences = install();
    const auto file = dir.path() / "old.cvbp";
    ASSERT_TRUE(writePropertyListFile(
        file, Value::dict({{"version", "5.9"},
                           {"preferences",
                            Value::dict({{"TimerFrequency", 7}, {"Migrated_6.0", true}})}})));
    ASSERT_TRUE(SettingsFile(preferences, restarter).importSettingsFile(file));
    EXPECT_FALSE(preferences.didMigratePreferences);
    EXPECT_EQ(onDisk()["TimerFrequency"], Value(7));
    EXPECT_EQ(onDisk()["Migrated_6.0"], Value(true)) << "set by migration, not the file";
    EXPECT_TRUE(preferences.previousDomain().copyKeyList().empty());
}

TEST_F(SettingsFileTest, ImportAndResetThatCannotBeWrittenChangeNothingAndSayWhy) {
    const Value before = Value::dict({{"CPU_ProcessCount", 9}, {"FilteringNetwork", "en0"}});
    std::ofstream(unwritableFile()) << writePropertyList(before, PropertyListFormat::XML);
    auto& preferences = installUnwritable();
    int posted = 0;
    auto observer = center.addObserver(kImportedPreferencesNotification,
                                       [&](const Notification&) { ++posted; });

    const auto settingsFile = dir.path() / "in.cvbp";
    ASSERT_TRUE(writePropertyListFile(
        settingsFile,
        Value::dict({{"version", "6.72"}, {"preferences", Value::dict({{"TimerFrequency", 5}})}})));
    SettingsFile settings(preferences, restarter);
    LogCapture log;
    const auto imported = settings.importSettingsFile(settingsFile);
    EXPECT_FALSE(imported);
    EXPECT_NE(imported.reason.find("could not be written"), std::string::npos) << imported.reason;
    const auto reset = settings.resetSettings();
    EXPECT_FALSE(reset);
    EXPECT_NE(reset.reason.find("could not be written"), std::string::npos) << reset.reason;

    EXPECT_EQ(posted, 0);
    EXPECT_EQ(restarter.restarts, 0);
    EXPECT_EQ(readPropertyListFile(unwritableFile()), before);
    // Nothing is left waiting in memory either, for a later write to carry out.
    EXPECT_EQ(preferences.domain().copyAll(), before);
    EXPECT_TRUE(preferences.objectForKey("Migrated_6.0", false).isNull()) << "migration ran";
    EXPECT_EQ(preferences.objectForKey("TimerFrequency"), Value(2));
}

TEST_F(SettingsFileTest, ResetKeepsThisMachinesOwnSettings) {
    auto& preferences = install();
    PreferenceMigration(preferences).migrateIfNeeded();
    std::vector<std::string> own(std::begin(kMachineKeys), std::end(kMachineKeys));
    own.insert(own.end(), {"Sensors_MenubarItems", "Sensors-Limits"});
    for (const auto& key : own)
        preferences.setObject(Value("here"), key);
    preferences.setObject(Value(9), "CPU_ProcessCount");
    preferences.setObject(Value(true), "UpdateCheckerDisabled");
    ASSERT_TRUE(SettingsFile(preferences, restarter).resetSettings());
    const Value stored = onDisk();
    for (const auto& key : own)
        EXPECT_EQ(stored[key], Value("here")) << key;
    EXPECT_TRUE(stored["CPU_ProcessCount"].isNull());
    EXPECT_TRUE(stored["UpdateCheckerDisabled"].isNull());
    EXPECT_EQ(preferences.objectForKey("CPU_ProcessCount"), Value(5));
    EXPECT_EQ(restarter.restarts, 1);
}

TEST(SystemStatusItemRestarter, FallsBackWithoutABusAndNeverHangs) {
    ScopedEnvironment noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    TemporaryDirectory dir;
    const auto marker = dir.path() / "ran";
    LogCapture log;
    SystemStatusItemRestarter ran(nullptr, {"touch", marker.string()}, 5.0);
    ran.restartStatusItem();
    EXPECT_TRUE(std::filesystem::exists(marker)) << log.lines();

    SystemStatusItemRestarter stuck(nullptr, {"sleep", "30"}, 0.2);
    const auto start = std::chrono::steady_clock::now();
    stuck.restartStatusItem();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_TRUE(log.contains("gave up")) << log.lines();
}

} // namespace
} // namespace corvane::test
