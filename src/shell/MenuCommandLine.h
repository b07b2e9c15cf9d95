#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/MainQueue.h"
#include "preferences/PreferenceCommands.h"
#include "shell/ApplicationMenus.h"
#include "shell/LanguageMenu.h"
#include "shell/MenuActions.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace corvane {

class CVBPreferences;

// Menu commands where there is no window and no link to the background processes: what
// needs them is refused, help pages are printed as addresses.
class CommandLineMenuActions final : public MenuActions {
public:
    void showAbout() override { refuse(kNeedsWindow); }
    void quit() override { refuse(kNeedsWindow); }
    void reinstall() override { refuse(kNeedsWindow); }
    void uninstall() override { refuse(kNeedsWindow); }
    void requestCalendarAccess() override { refuse(kNeedsStatusItem); }
    void deleteDatabase(std::function<void()>) override { refuse(kNeedsStatusItem); }
    void sendLogFiles() override { refuse(kNeedsWindow); }
    void openURL(const std::string& address) override { opened_ = address; }
    void settingNotStored(const std::string& key) override { notStored_ = key; }

    // Why the last command could not run here; empty when it could.
    const std::string& refusal() const { return refusal_; }
    // The page the last command would have opened; empty for none.
    const std::string& opened() const { return opened_; }
    // The key the last command could not write; empty when all was written.
    const std::string& notStored() const { return notStored_; }
    void clear() {
        refusal_.clear();
        opened_.clear();
        notStored_.clear();
    }

private:
    static constexpr const char* kNeedsWindow = "it needs the settings window";
    static constexpr const char* kNeedsStatusItem = "it needs the link to the status item";
    void refuse(const char* reason) { refusal_ = reason; }

    std::string refusal_;
    std::string opened_;
    std::string notStored_;
};

// `corvanebar menu` and `corvanebar language`: the menus printed with their ticks, an item
// chosen by its title, the language shown and chosen. Each command returns the exit status.
class MenuCommandLine {
public:
    // `settle` runs what the commands left on the queue (help pages open a turn later).
    // `logFile` is named when the settings cannot be written.
    MenuCommandLine(CVBPreferences& preferences, DistributedNotificationCenter& center,
                    MainQueue& queue, std::function<void()> settle, std::ostream& out,
                    std::ostream& err, std::filesystem::path logFile = commandLogFile());
    ~MenuCommandLine();
    MenuCommandLine(const MenuCommandLine&) = delete;
    MenuCommandLine& operator=(const MenuCommandLine&) = delete;

    int printMenus();
    // Runs the item's command with its writes and posts. A menu can't be chosen, nor an item
    // that needs the window or a background process.
    int toggle(std::string_view title);

    int printLanguage();
    // `key` of the list, or "system" for the desktop's language. Stores and posts as the menu
    // does; a command line has no window to start again.
    int setLanguage(std::string_view key);

    ApplicationMenus& menus() { return menus_; }

private:
    class NoRestart;

    static std::string itemLine(const MenuItem& item);
    int storeLanguage(const std::string& key);
    // The language menu's item of that key; null for a key not offered.
    const MenuItem* languageItem(const std::string& key);

    DistributedNotificationCenter& center_;
    std::function<void()> settle_;
    std::ostream& out_;
    std::ostream& err_;
    std::filesystem::path logFile_;
    CommandLineMenuActions actions_;
    std::unique_ptr<NoRestart> noRestart_;
    ApplicationMenus menus_;
    LanguageMenu language_;
};

} // namespace corvane
