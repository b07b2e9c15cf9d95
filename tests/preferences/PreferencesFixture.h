#pragma once

#include "foundation/ManualMainQueue.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace corvane::test {

// The blank-separated words of `text`: long lists of keys, kept compact.
inline std::vector<std::string> wordsOf(const char* text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

// Counts the restarts of the status items that it was asked for instead of doing them.
struct RecordingRestarter final : StatusItemRestarter {
    int restarts = 0;
    void restartStatusItem() override { ++restarts; }
};

// An item's list of elements as stored: codes, or elements with settings of their own.
inline Value modes(const std::vector<Value>& codes) {
    Value list = Value::array();
    for (const Value& code : codes)
        list.append(code.isDictionary() ? code : Value::dict({{"key", code}}));
    return list;
}
inline Value modes(std::initializer_list<int> codes) {
    return modes(std::vector<Value>(codes.begin(), codes.end()));
}

// A desktop whose look the test sets.
class FakeAppearance final : public AppearanceSource {
public:
    std::optional<bool> dark;
    std::optional<bool> contrast;
    std::function<void()> handler;

    std::optional<bool> prefersDark() override { return dark; }
    std::optional<bool> increaseContrast() override { return contrast; }
    void setChangeHandler(std::function<void()> h) override { handler = std::move(h); }
};

// Preferences on domains in a temporary directory, installed as the process's shared instance
// so that the free accessors reach them.
class PreferencesFixture : public ::testing::Test {
protected:
    CVBPreferences::Environment environment(MachineFacts machine = {}) {
        CVBPreferences::Environment env;
        env.domain = std::make_shared<PreferenceDomain>(kExtrasDomain, dir.path() / "extras.plist");
        env.userDefaults =
            std::make_shared<PreferenceDomain>(kApplicationDomain, dir.path() / "app.plist");
        env.previousDomain =
            std::make_shared<PreferenceDomain>(kPreviousExtrasDomain, dir.path() / "extras5.plist");
        env.appearance = appearance;
        env.machine = std::move(machine);
        env.queue = &queue;
        env.center = &center;
        env.migrateOnStart = migrateOnStart;
        return env;
    }

    CVBPreferences& install(MachineFacts machine = {}) {
        CVBPreferences::install(std::make_unique<CVBPreferences>(environment(std::move(machine))));
        return CVBPreferences::sharedPreferences();
    }

    // Preferences on a file that reads but can never be written: its name leaves no room for
    // the temporary file a write goes through, which stops root too.
    CVBPreferences& installUnwritable() {
        auto env = environment();
        env.domain = std::make_shared<PreferenceDomain>(kExtrasDomain, unwritableFile());
        CVBPreferences::install(std::make_unique<CVBPreferences>(std::move(env)));
        return CVBPreferences::sharedPreferences();
    }
    std::filesystem::path unwritableFile() const {
        return dir.path() / (std::string(244, 'x') + ".plist");
    }

    // Stores `settings` as another process does, in this version's domain or in 5.x's.
    void storeElsewhere(const Value& settings) { store(kExtrasDomain, "extras.plist", settings); }
    void storeInVersion5(const Value& settings) {
        store(kPreviousExtrasDomain, "extras5.plist", settings);
    }
    void store(const char* domain, const char* file, const Value& settings) {
        PreferenceDomain writer(domain, dir.path() / file);
        for (const auto& [key, value] : settings.dictionaryItems())
            writer.setValue(key, value);
        ASSERT_TRUE(writer.synchronize());
    }
    // What another process reads from the settings file now.
    Value onDisk() {
        return PreferenceDomain(kExtrasDomain, dir.path() / "extras.plist").copyAll();
    }
    Value onDisk(std::string_view key) { return onDisk()[key]; }

    void TearDown() override { CVBPreferences::cleanup(); }

    bool migrateOnStart = true;
    TemporaryDirectory dir;
    ManualMainQueue queue;
    NotificationCenter center;
    std::shared_ptr<FakeAppearance> appearance = std::make_shared<FakeAppearance>();
};

} // namespace corvane::test
