#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "shell/ApplicationTerminator.h"
#include "shell/ProcessLauncher.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

class CVBPreferences;
class Menu;

inline constexpr const char* kLanguageChangeNotification = "CorvaneBarLanguageChange";

struct LanguageChoice {
    const char* name;
    const char* key;
};

// The Language menu: the user's choice of language for the product, whatever the desktop's.
// A change takes effect by starting the program anew, as loaded tables stay loaded.
class LanguageMenu {
public:
    // `program` is what is started again after a choice.
    LanguageMenu(CVBPreferences& preferences, DistributedNotificationCenter& center,
                 ProcessLauncher& launcher, ApplicationTerminator& terminator,
                 std::filesystem::path program = runningProgramPath());

    // The languages offered after "System Default", in menu order.
    static const std::vector<LanguageChoice>& languages();
    // The shell command that starts `program` a second after this process ends.
    static std::string relaunchCommand(const std::filesystem::path& program);

    // Empties `menu` and fills it: "System Default" (empty key), a separator, the languages.
    // The menu must outlive this object or be built again.
    void build(Menu& menu);
    // Ticks the item of the stored "language", or "System Default" when none is stored.
    void updateLanguageMenu();
    // The chosen language's key; empty for the system's.
    std::string storedLanguage() const;

    // Stores the choice, tells the other processes, and starts the program again. When it
    // cannot be started again, or the choice cannot be stored, this one keeps running.
    void selectLanguage(std::string_view key);
    // The stores and the notification of selectLanguage, without the restart. False when the
    // choice could not be stored; nothing is posted then.
    bool storeLanguage(std::string_view key);

private:
    void relaunch();

    CVBPreferences& preferences_;
    DistributedNotificationCenter& center_;
    ProcessLauncher& launcher_;
    ApplicationTerminator& terminator_;
    std::filesystem::path program_;
    Menu* menu_ = nullptr;
};

} // namespace corvane
