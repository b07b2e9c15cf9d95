#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/MainQueue.h"
#include "shell/Menu.h"
#include "shell/MenuActions.h"

#include <string_view>

namespace corvane {

class CVBPreferences;

inline constexpr const char* kUpdateCheckerChangeNotification = "CorvaneBarUpdateCheckerChange";
inline constexpr const char* kStatusRestartNotification = "CorvaneBarStatusRestart";

// The application's menus as a model: the menu bar as the window's interface file gives it,
// the items that start-up adds, their toggles and ticks. A window only shows them.
class ApplicationMenus {
public:
    ApplicationMenus(CVBPreferences& preferences, DistributedNotificationCenter& center,
                     MainQueue& queue, MenuActions& actions);
    ~ApplicationMenus();
    ApplicationMenus(const ApplicationMenus&) = delete;
    ApplicationMenus& operator=(const ApplicationMenus&) = delete;

    Menu& mainMenu() { return mainMenu_; }
    Menu& appMenu() { return *appMenu_; }
    Menu& statsMenu() { return *statsMenu_; }
    Menu& diagnosticsMenu() { return *diagnosticsMenu_; }
    Menu& languageMenu() { return *languageMenu_; }
    Menu& windowMenu() { return *windowMenu_; }
    Menu& helpMenu() { return *helpMenu_; }

    // Translates every title of the menu and its submenus through the menu table.
    void processMenu(Menu& menu) const;
    // processMenu on the menu bar now, and once more a second later, when late tables are in.
    void translateMainMenu();

    // The items start-up adds after "About" and its separator.
    void buildAppMenu();
    void buildHelpMenu();
    void buildStatsMenu();
    void buildDiagnosticsMenu();
    // The first item of the application menu, with the product's name put in.
    void updateAboutTitle();
    // The Window menu lists the main window.
    void addWindowItem(const std::string& title);

    // Every tick from the stored preferences.
    void updateMenuItems();

    // What the items run, with the item chosen.
    void toggleAutomaticChecks(MenuItem& item);
    void toggleAutomaticInstalls(MenuItem& item);
    void resetNetworkFiltering();
    void resetDiskFiltering();
    void resetSensorFiltering();
    void toggleCombineProcesses(MenuItem& item);
    void toggleMonitorSMART(MenuItem& item);
    void toggleFrequencyMonitoring(MenuItem& item);
    void toggleDiagnostics(MenuItem& item);
    void togglePWSSupport(MenuItem& item);
    void deleteHistoryDatabase();

    MenuItem* disablePWSMenuItem() const { return disablePWSMenuItem_; }

private:
    // An item titled through "prefs", named by its untranslated title.
    std::unique_ptr<MenuItem> makeItem(const char* title, MenuItem::Action action) const;
    std::unique_ptr<MenuItem> makeToggle(const char* title,
                                         void (ApplicationMenus::*toggle)(MenuItem&));
    void togglePreference(MenuItem& item, std::string_view key, const char* notification);
    // Writes one key and says whether it reached the settings file; a failure is logged and
    // told to the actions.
    bool store(std::string_view key, const Value& value);
    void toggleUpdateSetting(MenuItem& item, std::string_view disabledKey);
    void post(const char* name);

    CVBPreferences& preferences_;
    DistributedNotificationCenter& center_;
    MainQueue& queue_;
    MenuActions& actions_;
    Menu mainMenu_;
    Menu* appMenu_ = nullptr;
    Menu* statsMenu_ = nullptr;
    Menu* diagnosticsMenu_ = nullptr;
    Menu* languageMenu_ = nullptr;
    Menu* windowMenu_ = nullptr;
    Menu* helpMenu_ = nullptr;
    MenuItem* disablePWSMenuItem_ = nullptr;
    MainQueue::TimerId retranslation_ = 0;
};

} // namespace corvane
