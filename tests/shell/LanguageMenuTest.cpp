#include "shell/LanguageMenu.h"

#include "MenuFixture.h"
#include "foundation/Log.h"
#include "shell/Menu.h"
#include "support/Spawn.h"

#include <chrono>
#include <thread>

namespace corvane {
namespace {

class Languages : public test::MenuFixture {
protected:
    void SetUp() override {
        MenuFixture::SetUp();
        observation = bus.addObserver(kLanguageChangeNotification,
                                      [this](const Notification&) { events.push_back("posted"); });
        language = std::make_unique<LanguageMenu>(CVBPreferences::sharedPreferences(), bus, restart,
                                                  restart, "/opt/corvane bar/corvanebar");
        language->build(menu);
    }

    MenuItem& item(std::string_view title) { return *menu.findItem(title); }
    std::vector<std::string> ticked() {
        std::vector<std::string> keys;
        for (const auto& i : menu.items())
            if (i->state)
                keys.push_back(i->representedObject.stringValue());
        return keys;
    }

    std::vector<std::string> events;
    test::RecordingRestart restart{events};
    Observation observation;
    Menu menu{"Language"};
    std::unique_ptr<LanguageMenu> language;
};

TEST_F(Languages, SystemDefaultComesFirstAndNamesFollowTheChosenLanguage) {
    ASSERT_EQ(menu.numberOfItems(), 2 + LanguageMenu::languages().size());
    EXPECT_EQ(menu.itemAtIndex(0).title, "System Default");
    EXPECT_EQ(menu.itemAtIndex(0).representedObject, Value(""));
    EXPECT_TRUE(menu.itemAtIndex(1).isSeparator());
    EXPECT_EQ(item("Spanish (Latin America)").representedObject, Value("es-419"));
    EXPECT_EQ(ticked(), std::vector<std::string>{""}) << "nothing stored: the system's";

    // Names are translated into the chosen language.
    CVBSetObjectForKey(Value("de"), "language");
    language->build(menu);
    EXPECT_EQ(item("German").title, "Deutsch");
    EXPECT_EQ(ticked(), std::vector<std::string>{"de"});
}

TEST_F(Languages, AChoiceIsStoredTickedAnnouncedAndTheProgramStartsAgain) {
    auto& defaults = CVBPreferences::sharedPreferences().userDefaults();
    defaults.setValue("AppleLanguages", Value::array({"fr"}));
    defaults.synchronize();

    item("German").perform();
    EXPECT_EQ(CVBPreferences::sharedPreferences().domain().copyValue("language"), Value("de"));
    EXPECT_TRUE(storedUserDefault("AppleLanguages").isNull());
    EXPECT_EQ(ticked(), std::vector<std::string>{"de"});
    EXPECT_EQ(events, (std::vector<std::string>{"posted", "launch", "terminate"}));
    EXPECT_EQ(restart.arguments,
              (std::vector<std::string>{"/bin/sh", "-c", "sleep 1;'/opt/corvane bar/corvanebar'"}));

    // The system's language removes the key and restarts like any other choice.
    CVBSetObjectForKey(Value("pt-BR"), "language");
    language->updateLanguageMenu();
    EXPECT_EQ(ticked(), std::vector<std::string>{"pt-BR"});
    events.clear();
    item("System Default").perform();
    EXPECT_TRUE(CVBPreferences::sharedPreferences().domain().copyValue("language").isNull());
    EXPECT_EQ(ticked(), std::vector<std::string>{""});
    EXPECT_EQ(events, (std::vector<std::string>{"posted", "launch", "terminate"}));
}

TEST_F(Languages, WhenTheProgramCannotStartAgainOrTheChoiceIsNotStoredThisOneKeepsRunning) {
    LogCapture log;
    restart.starts = false;
    item("German").perform();
    EXPECT_EQ(CVBPreferences::sharedPreferences().domain().copyValue("language"), Value("de"))
        << "kept for the next start";
    EXPECT_EQ(events, (std::vector<std::string>{"posted", "launch"}));
    EXPECT_TRUE(log.contains("Cannot start /opt/corvane bar/corvanebar again")) << log.lines();

    events.clear();
    LanguageMenu pathless(CVBPreferences::sharedPreferences(), bus, restart, restart, "");
    pathless.selectLanguage("fr");
    EXPECT_EQ(events, std::vector<std::string>{"posted"});
    EXPECT_TRUE(log.contains("without the program's path"));

    // Started again, it would show the old language: it neither posts nor starts.
    events.clear();
    LanguageMenu unwritable(installUnwritable(), bus, restart, restart, "/opt/corvanebar");
    unwritable.selectLanguage("fr");
    EXPECT_TRUE(events.empty());
}

TEST(Relaunch, AnyProgramPathSurvivesTheShellAsOneWord) {
    for (const std::string path :
         {"/usr/bin/corvanebar", "/home/o'neil/bin/corvane bar", "/tmp/$(touch x);`id`/\"a\"\\b"}) {
        const std::string command = LanguageMenu::relaunchCommand(path);
        ASSERT_EQ(command.rfind("sleep 1;", 0), 0u);
        const std::string quoted = command.substr(std::string("sleep 1;").size());
        EXPECT_EQ(test::spawn({"sh", "-c", "printf '%s' " + quoted}).output, path);
    }
}

TEST(Relaunch, TheLauncherStartsAProgramThatOutlivesTheCall) {
    test::TemporaryDirectory dir;
    const auto marker = dir / "started";
    GLibProcessLauncher launcher;
    ASSERT_TRUE(
        launcher.launchDetached({"/bin/sh", "-c", "echo $$ > " + shellQuoted(marker.string())}));
    for (int i = 0; i < 200 && !std::filesystem::exists(marker); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_TRUE(std::filesystem::exists(marker));
    EXPECT_FALSE(launcher.launchDetached({(dir / "missing").string()}));
}

} // namespace
} // namespace corvane
