#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "preferences/PreferencesFixture.h"
#include "shell/LanguageMenu.h"
#include "shell/MenuActions.h"
#include "shell/SectionFixture.h"
#include "support/TemporaryDirectory.h"
#include "text/CVBTranslations.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace corvane::test {

// The window's and the peers' side of the menu commands, as a log of calls.
struct RecordingMenuActions final : MenuActions {
    std::vector<std::string> calls;
    std::function<void()> databaseReply;

    void showAbout() override { calls.push_back("about"); }
    void quit() override { calls.push_back("quit"); }
    void reinstall() override { calls.push_back("reinstall"); }
    void uninstall() override { calls.push_back("uninstall"); }
    void requestCalendarAccess() override { calls.push_back("calendar"); }
    void deleteDatabase(std::function<void()> reply) override {
        calls.push_back("deleteDatabase");
        databaseReply = std::move(reply);
    }
    void sendLogFiles() override { calls.push_back("logs"); }
    void openURL(const std::string& address) override { calls.push_back("open " + address); }
};

// Records a restart instead of doing it, in one list with what else the test logs.
struct RecordingRestart final : ProcessLauncher, ApplicationTerminator {
    std::vector<std::string>& events;
    std::vector<std::string> arguments;
    bool starts = true;
    explicit RecordingRestart(std::vector<std::string>& log)
        : events(log) {}
    bool launchDetached(const std::vector<std::string>& argv) override {
        events.push_back("launch");
        arguments = argv;
        return starts;
    }
    void terminate() override { events.push_back("terminate"); }
};

// Temporary preferences, a bus-less distributed centre that logs every post, and string
// tables of its own: English as the desktop's language, German tables for the menus.
class MenuFixture : public PreferencesFixture {
protected:
    void SetUp() override {
        writeTables();
        install();
        CVBTranslations::cleanup();
    }
    void TearDown() override {
        CVBTranslations::cleanup();
        PreferencesFixture::TearDown();
    }

    void writeTables() {
        std::filesystem::create_directories(dir / "data" / "de.lproj");
        std::ofstream(dir / "data" / "de.lproj" / "prefs.strings")
            << "\"Reset Disk Filtering\" = \"Festplattenfilter zur\xC3\xBC"
               "cksetzen\";\n"
               "\"German\" = \"Deutsch\";\n";
        std::ofstream(dir / "data" / "MainMenuTranslations.plist")
            << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
               "<key>de.lproj</key><dict>"
               "<key>About APPLICATIONNAME</key><string>\xC3\x9C"
               "ber APPLICATIONNAME</string>"
               "<key>Quit APPLICATIONNAME</key><string>APPLICATIONNAME beenden</string>"
               "<key>Window</key><string>Fenster</string>"
               "</dict></dict></plist>\n";
    }

    // What another process reads from the standard user defaults' file.
    Value storedUserDefault(const std::string& key) {
        PreferenceDomain fresh(kApplicationDomain, dir / "app.plist");
        return fresh.copyValue(key);
    }

    ScopedEnvironment dataDirectory{"CORVANEBAR_DATA_DIR", (dir / "data").c_str()};
    ScopedEnvironment desktopLanguage{"LANGUAGE", "en"};
    DistributedNotificationCenter bus{nullptr};
    PostLog posts{bus};
};

} // namespace corvane::test
