#pragma once

#include "foundation/ManualMainQueue.h"
#include "preferences/CVBPreferences.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <optional>

namespace corvane::test {

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

    void TearDown() override { CVBPreferences::cleanup(); }

    bool migrateOnStart = true;
    TemporaryDirectory dir;
    ManualMainQueue queue;
    NotificationCenter center;
    std::shared_ptr<FakeAppearance> appearance = std::make_shared<FakeAppearance>();
};

} // namespace corvane::test
