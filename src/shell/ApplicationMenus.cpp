#include "shell/ApplicationMenus.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceCommands.h"
#include "shell/ApplicationText.h"
#include "shell/HelpMenu.h"

#include <array>

namespace corvane {

namespace {

constexpr const char* kApplicationName = "Corvane Bar";
constexpr const char* kAboutTitle = "About APPLICATIONNAME";

struct PreferenceToggle {
    const char* title;
    const char* key;
    const char* notification; // null: posts nothing
};

constexpr PreferenceToggle kCombineProcesses{"Combine Processes", "ProcessesCombine",
                                             "CorvaneBarGlobalDisplayChange"};
constexpr PreferenceToggle kMonitorSMART{"Monitor S.M.A.R.T. Disks", "Disks_MonitorSMART",
                                         "CorvaneBarSMARTPreferencesChanged"};
constexpr PreferenceToggle kDisableFrequency{
    "Disable Frequency Monitoring", "Sensors_DisableIntelKext", "CorvaneBarIntelFrequencyChange"};
constexpr PreferenceToggle kSendDiagnostics{"Automatically Send Diagnostic Data",
                                            "Diagnostics_Enabled", nullptr};
constexpr PreferenceToggle kDisablePWS{"Disable Personal Weather Stations", "Weather_PWSDisabled",
                                       "CorvaneBarWeatherPWSChanged"};
constexpr std::array kPreferenceToggles{&kCombineProcesses, &kMonitorSMART, &kDisableFrequency,
                                        &kSendDiagnostics, &kDisablePWS};

// The update items tick when their "...Disabled" key in the shared settings is not set.
struct UpdateToggle {
    const char* title;
    const char* disabledKey;
};

constexpr UpdateToggle kAutomaticChecks{"Automatically Check For Updates", "UpdateCheckerDisabled"};
constexpr UpdateToggle kAutomaticInstalls{"Automatically Install Updates",
                                          "UpdateCheckerAutomaticDisabled"};

Menu& addSubmenu(Menu& bar, const char* title) {
    auto& item = bar.addItem(title);
    item.setSubmenu(std::make_unique<Menu>(title));
    return *item.submenu();
}

} // namespace

ApplicationMenus::ApplicationMenus(CVBPreferences& preferences,
                                   DistributedNotificationCenter& center, MainQueue& queue,
                                   MenuActions& actions)
    : preferences_(preferences)
    , center_(center)
    , queue_(queue)
    , actions_(actions) {
    // The menu bar as the interface file has it; start-up adds the rest.
    appMenu_ = &addSubmenu(mainMenu_, kApplicationName);
    appMenu_->addItem(kAboutTitle, [this](MenuItem&) { actions_.showAbout(); });
    appMenu_->addSeparator();
    auto& quit = appMenu_->addItem("Quit Corvane Bar", [this](MenuItem&) { actions_.quit(); });
    quit.keyEquivalent = "q";
    statsMenu_ = &addSubmenu(mainMenu_, "Stats");
    diagnosticsMenu_ = &addSubmenu(mainMenu_, "Diagnostics");
    languageMenu_ = &addSubmenu(mainMenu_, "Language");
    windowMenu_ = &addSubmenu(mainMenu_, "Window");
    helpMenu_ = &addSubmenu(mainMenu_, "Help");
}

ApplicationMenus::~ApplicationMenus() {
    if (retranslation_)
        queue_.cancel(retranslation_);
}

void ApplicationMenus::processMenu(Menu& menu) const {
    const TextContext text = applicationText(preferences_);
    for (const auto& item : menu.items()) {
        if (!item->isSeparator())
            item->title = HLVLocalizedMenuString(text, item->title);
        if (Menu* submenu = item->submenu()) {
            submenu->title = HLVLocalizedMenuString(text, submenu->title);
            processMenu(*submenu);
        }
    }
}

void ApplicationMenus::translateMainMenu() {
    processMenu(mainMenu_);
    if (retranslation_)
        queue_.cancel(retranslation_);
    retranslation_ = queue_.after(1.0, [this] {
        retranslation_ = 0;
        processMenu(mainMenu_);
    });
}

std::unique_ptr<MenuItem> ApplicationMenus::makeItem(const char* title,
                                                     MenuItem::Action action) const {
    auto item = std::make_unique<MenuItem>(
        HLVLocalizedString(applicationText(preferences_), title, {}, "prefs"), std::move(action));
    item->identifier = title;
    return item;
}

std::unique_ptr<MenuItem>
ApplicationMenus::makeToggle(const char* title, void (ApplicationMenus::*toggle)(MenuItem&)) {
    auto item = makeItem(title, [this, toggle](MenuItem& chosen) { (this->*toggle)(chosen); });
    item->checkable = true;
    return item;
}

void ApplicationMenus::buildAppMenu() {
    std::size_t index = 2; // after "About" and its separator
    auto insert = [&](std::unique_ptr<MenuItem> item) {
        appMenu_->insertItem(std::move(item), index++);
    };
    insert(makeItem("Reinstall...", [this](MenuItem&) { actions_.reinstall(); }));
    insert(makeItem("Uninstall...", [this](MenuItem&) { actions_.uninstall(); }));
    insert(MenuItem::separatorItem());
    insert(makeToggle(kAutomaticChecks.title, &ApplicationMenus::toggleAutomaticChecks));
    insert(makeToggle(kAutomaticInstalls.title, &ApplicationMenus::toggleAutomaticInstalls));
    insert(MenuItem::separatorItem());
}

void ApplicationMenus::buildHelpMenu() {
    corvane::buildHelpMenu(*helpMenu_, applicationText(preferences_), queue_, actions_);
}

void ApplicationMenus::buildStatsMenu() {
    Menu& menu = *statsMenu_;
    menu.removeAllItems();
    menu.addItem(
        makeItem("Reset Network Filtering", [this](MenuItem&) { resetNetworkFiltering(); }));
    menu.addItem(makeItem("Reset Disk Filtering", [this](MenuItem&) { resetDiskFiltering(); }));
    menu.addItem(makeItem("Reset Sensor Filtering", [this](MenuItem&) { resetSensorFiltering(); }));
    menu.addSeparator();
    menu.addItem(makeToggle(kCombineProcesses.title, &ApplicationMenus::toggleCombineProcesses));
    menu.addItem(makeToggle(kMonitorSMART.title, &ApplicationMenus::toggleMonitorSMART));
    menu.addItem(makeToggle(kDisableFrequency.title, &ApplicationMenus::toggleFrequencyMonitoring));
    disablePWSMenuItem_ =
        &menu.addItem(makeToggle(kDisablePWS.title, &ApplicationMenus::togglePWSSupport));
    menu.addSeparator();
    menu.addItem(makeItem("Request Calendar Access",
                          [this](MenuItem&) { actions_.requestCalendarAccess(); }));
    menu.addItem(
        makeItem("Delete History Database", [this](MenuItem&) { deleteHistoryDatabase(); }));
}

void ApplicationMenus::buildDiagnosticsMenu() {
    Menu& menu = *diagnosticsMenu_;
    menu.removeAllItems();
    menu.addItem(makeToggle(kSendDiagnostics.title, &ApplicationMenus::toggleDiagnostics));
    menu.addSeparator();
    menu.addItem(makeItem("Send Log Files...", [this](MenuItem&) { actions_.sendLogFiles(); }));
}

void ApplicationMenus::updateAboutTitle() {
    static constexpr std::string_view kToken = "APPLICATIONNAME";
    if (appMenu_->numberOfItems() == 0)
        return;
    // The menu table's keys have the name filled in, so the title is asked for with it.
    std::string key = kAboutTitle;
    if (const auto at = key.find(kToken); at != std::string::npos)
        key.replace(at, kToken.size(), kApplicationName);
    appMenu_->itemAtIndex(0).title = HLVLocalizedMenuString(applicationText(preferences_), key);
}

void ApplicationMenus::addWindowItem(const std::string& title) {
    windowMenu_->addItem(title);
}

void ApplicationMenus::updateMenuItems() {
    mainMenu_.forEachItem([&](MenuItem& item) {
        for (const auto* toggle : kPreferenceToggles)
            if (item.identifier == toggle->title)
                item.state = preferences_.objectForKey(toggle->key).boolValue();
        for (const auto& toggle : {kAutomaticChecks, kAutomaticInstalls})
            if (item.identifier == toggle.title)
                item.state = !preferences_.objectForKey(toggle.disabledKey, false).boolValue();
    });
}

void ApplicationMenus::post(const char* name) {
    center_.postNotificationName(name, {}, DistributedNotificationCenter::DeliverImmediately);
}

bool ApplicationMenus::store(std::string_view key, const Value& value) {
    if (storeUnlessStored(preferences_, key, value))
        return true;
    CVBLog("%.*s could not be stored; the settings cannot be written", static_cast<int>(key.size()),
           key.data());
    actions_.settingNotStored(std::string(key));
    return false;
}

void ApplicationMenus::togglePreference(MenuItem& item, std::string_view key,
                                        const char* notification) {
    const bool turnOn = !item.state;
    if (!store(key, Value(turnOn)))
        return;
    item.state = turnOn;
    if (notification)
        post(notification);
}

void ApplicationMenus::toggleUpdateSetting(MenuItem& item, std::string_view disabledKey) {
    const bool turnOn = !item.state;
    // On removes the key rather than storing false: absent is what the updater reads as on.
    if (!store(disabledKey, turnOn ? Value() : Value(true)))
        return;
    item.state = turnOn;
    center_.postNotificationName(kUpdateCheckerChangeNotification, {},
                                 DistributedNotificationCenter::DeliverImmediately |
                                     DistributedNotificationCenter::PostToAllSessions);
}

void ApplicationMenus::toggleAutomaticChecks(MenuItem& item) {
    toggleUpdateSetting(item, kAutomaticChecks.disabledKey);
}

void ApplicationMenus::toggleAutomaticInstalls(MenuItem& item) {
    toggleUpdateSetting(item, kAutomaticInstalls.disabledKey);
}

void ApplicationMenus::resetNetworkFiltering() {
    if (!store("FilteringNetwork", Value::array()))
        return;
    post("CorvaneBarNetworkPreferencesChanged");
}

void ApplicationMenus::resetDiskFiltering() {
    if (!store("FilteringDisks", Value::array()) || !store("FilteringDiskActivity", Value::array()))
        return;
    // Once for each list emptied.
    post("CorvaneBarDisksPreferencesChanged");
    post("CorvaneBarDisksPreferencesChanged");
}

void ApplicationMenus::resetSensorFiltering() {
    if (!store("FilteringSensors", Value::array()))
        return;
    post("CorvaneBarSensorsPreferencesChanged");
}

void ApplicationMenus::toggleCombineProcesses(MenuItem& item) {
    togglePreference(item, kCombineProcesses.key, kCombineProcesses.notification);
}

void ApplicationMenus::toggleMonitorSMART(MenuItem& item) {
    togglePreference(item, kMonitorSMART.key, kMonitorSMART.notification);
}

void ApplicationMenus::toggleFrequencyMonitoring(MenuItem& item) {
    togglePreference(item, kDisableFrequency.key, kDisableFrequency.notification);
}

void ApplicationMenus::toggleDiagnostics(MenuItem& item) {
    togglePreference(item, kSendDiagnostics.key, kSendDiagnostics.notification);
}

void ApplicationMenus::togglePWSSupport(MenuItem& item) {
    togglePreference(item, kDisablePWS.key, kDisablePWS.notification);
}

void ApplicationMenus::deleteHistoryDatabase() {
    // The reply may come on any thread and after the menus are gone: it holds only what
    // outlives them.
    actions_.deleteDatabase([&queue = queue_, &center = center_] {
        queue.async([&center] {
            center.postNotificationName(kStatusRestartNotification, {},
                                        DistributedNotificationCenter::DeliverImmediately);
        });
    });
}

} // namespace corvane
