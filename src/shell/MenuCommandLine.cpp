#include "shell/MenuCommandLine.h"

#include "shell/Menu.h"

#include <iomanip>

namespace corvane {

namespace {

constexpr const char* kSystemKeyword = "system";

} // namespace

// The command line stores a language but never starts anything again.
class MenuCommandLine::NoRestart final : public ProcessLauncher, public ApplicationTerminator {
public:
    bool launchDetached(const std::vector<std::string>&) override { return false; }
    void terminate() override {}
};

MenuCommandLine::MenuCommandLine(CVBPreferences& preferences, DistributedNotificationCenter& center,
                                 MainQueue& queue, std::function<void()> settle, std::ostream& out,
                                 std::ostream& err, std::filesystem::path logFile)
    : center_(center)
    , settle_(std::move(settle))
    , out_(out)
    , err_(err)
    , logFile_(std::move(logFile))
    , noRestart_(std::make_unique<NoRestart>())
    , menus_(preferences, center, queue, actions_)
    , language_(preferences, center, *noRestart_, *noRestart_, std::filesystem::path()) {
    // As start-up has them, without the window.
    menus_.processMenu(menus_.mainMenu());
    menus_.buildAppMenu();
    menus_.buildHelpMenu();
    menus_.buildStatsMenu();
    menus_.buildDiagnosticsMenu();
    language_.build(menus_.languageMenu());
    menus_.updateAboutTitle();
    menus_.updateMenuItems();
}

MenuCommandLine::~MenuCommandLine() = default;

std::string MenuCommandLine::itemLine(const MenuItem& item) {
    if (item.isSeparator())
        return "---";
    std::string line = item.checkable ? (item.state ? "[x] " : "[ ] ") : "";
    line += item.title;
    if (!item.enabled)
        line += " (disabled)";
    return line;
}

int MenuCommandLine::printMenus() {
    bool first = true;
    for (const auto& top : menus_.mainMenu().items()) {
        const Menu* menu = top->submenu();
        if (!menu || menu->numberOfItems() == 0)
            continue;
        out_ << (first ? "" : "\n") << menu->title << "\n";
        first = false;
        for (const auto& item : menu->items())
            out_ << "  " << itemLine(*item) << "\n";
    }
    return 0;
}

int MenuCommandLine::toggle(std::string_view title) {
    MenuItem* item = menus_.mainMenu().findItem(title);
    if (!item) {
        err_ << "corvanebar menu: no item \"" << title << "\"; \"corvanebar menu\" lists them\n";
        return 2;
    }
    if (item->submenu()) {
        err_ << "corvanebar menu: \"" << title << "\" is a menu; choose one of its items\n";
        return 2;
    }
    if (menus_.languageMenu().findItem(title) == item)
        return storeLanguage(item->representedObject.stringValue());
    actions_.clear();
    StoreFailureReport report(logFile_);
    if (!item->perform()) {
        err_ << "corvanebar menu: \"" << item->title << "\" does nothing here\n";
        return 1;
    }
    if (settle_)
        settle_();
    if (!actions_.notStored().empty()) {
        err_ << "corvanebar menu: \"" << item->title << "\" could not be stored: " << report.text()
             << "\n";
        return 1;
    }
    if (!actions_.refusal().empty()) {
        err_ << "corvanebar menu: \"" << item->title
             << "\" is not available here: " << actions_.refusal() << "\n";
        return 1;
    }
    if (!actions_.opened().empty())
        out_ << item->title << ": " << actions_.opened() << "\n";
    else if (item->checkable)
        out_ << itemLine(*item) << "\n";
    else
        out_ << "Done: " << item->title << "\n";
    return 0;
}

const MenuItem* MenuCommandLine::languageItem(const std::string& key) {
    for (const auto& item : menus_.languageMenu().items())
        if (!item->isSeparator() && item->representedObject.stringValue() == key)
            return item.get();
    return nullptr;
}

int MenuCommandLine::printLanguage() {
    const std::string stored = language_.storedLanguage();
    const MenuItem* current = languageItem(stored);
    out_ << "Language: " << (current ? current->title : stored)
         << (stored.empty() ? "" : " (" + stored + ")") << "\n\n";
    for (const auto& item : menus_.languageMenu().items()) {
        if (item->isSeparator())
            continue;
        const std::string key = item->representedObject.stringValue();
        out_ << (item->state ? "[x] " : "[ ] ") << std::left << std::setw(8)
             << (key.empty() ? kSystemKeyword : key) << item->title << "\n";
    }
    return 0;
}

int MenuCommandLine::setLanguage(std::string_view key) {
    const std::string wanted = key == kSystemKeyword ? std::string() : std::string(key);
    if (!languageItem(wanted)) {
        err_ << "corvanebar language: no language \"" << key
             << "\"; \"corvanebar language\" lists them\n";
        return 2;
    }
    return storeLanguage(wanted);
}

int MenuCommandLine::storeLanguage(const std::string& key) {
    StoreFailureReport report(logFile_);
    if (!language_.storeLanguage(key)) {
        err_ << "corvanebar language: the language could not be stored: " << report.text() << "\n";
        return 1;
    }
    const MenuItem* item = languageItem(key);
    out_ << "Language: " << item->title << (key.empty() ? "" : " (" + key + ")") << "\n";
    if (center_.isConnected())
        out_ << "Posted " << kLanguageChangeNotification
             << "; a settings window that is open shows it once started again\n";
    else
        out_ << "No session bus, so no running program was told; a settings window shows it at "
                "its next start\n";
    return 0;
}

} // namespace corvane
