#include "shell/HelpMenu.h"

#include "foundation/MainQueue.h"
#include "shell/ApplicationText.h"
#include "shell/Menu.h"
#include "shell/MenuActions.h"

namespace corvane {

const std::vector<HelpEntry>& helpEntries() {
    static const std::vector<HelpEntry> entries{
        {"Getting started", "/help/corvanebar6/gettingstarted/"},
        {nullptr, nullptr},
        {"Reordering items", "/help/corvanebar6/reordering/"},
        {"Hotkeys", "/help/corvanebar6/hotkeys/"},
        {"Installing and uninstalling", "/help/corvanebar6/install/"},
        {"Known issues", "/help/corvanebar6/knownissues/"},
        {"Sending us Corvane Bar log files", "/help/corvanebar6/logs/"},
        {nullptr, nullptr},
        {"Global", "/help/corvanebar6/gettingstarted/"},
        {"Notifications", "/help/corvanebar6/notifications/"},
        {"Weather", "/help/corvanebar6/weather/"},
        {"CPU & GPU", "/help/corvanebar6/cpugpu/"},
        {"Memory", "/help/corvanebar6/memory/"},
        {"Disks", "/help/corvanebar6/disks/"},
        {"Network", "/help/corvanebar6/network/"},
        {"Sensors", "/help/corvanebar6/sensors/"},
        {"Fan Control", "/help/corvanebar6/fans/"},
        {"Battery & Power", "/help/corvanebar6/battery/"},
        {"Time", "/help/corvanebar6/time/"},
        {"Combined", "/help/corvanebar6/combined/"},
    };
    return entries;
}

std::string helpAddress(const HelpEntry& entry) {
    return std::string(kProductSiteAddress) + entry.path;
}

void buildHelpMenu(Menu& menu, const TextContext& text, MainQueue& queue, MenuActions& actions) {
    menu.removeAllItems();
    for (const auto& entry : helpEntries()) {
        if (!entry.title) {
            menu.addSeparator();
            continue;
        }
        // The workspace is asked after the menu has closed.
        auto& item =
            menu.addItem(HLVLocalizedString(text, entry.title, {}, "prefs"),
                         [&queue, &actions, address = helpAddress(entry)](MenuItem&) {
                             queue.async([&actions, address] { actions.openURL(address); });
                         });
        item.identifier = entry.title;
        item.representedObject = helpAddress(entry);
    }
}

} // namespace corvane
