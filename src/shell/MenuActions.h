#pragma once

#include <functional>
#include <string>

namespace corvane {

// What menu commands ask of the window and of the background processes. Each does nothing by
// default, so menus work where there is neither.
class MenuActions {
public:
    virtual ~MenuActions() = default;

    virtual void showAbout() {}
    virtual void quit() {}
    virtual void reinstall() {}
    virtual void uninstall() {}
    // Asks the status-item process.
    virtual void requestCalendarAccess() {}
    // Asks the status-item process to delete its history; `reply` runs, on any thread, once it
    // answers. Without an answer it never runs.
    virtual void deleteDatabase(std::function<void()> reply) { (void)reply; }
    // The sheet that packs and sends the log files, over the main window.
    virtual void sendLogFiles() {}
    virtual void openURL(const std::string& address) { (void)address; }
    // A command's setting could not be written; nothing was posted and its tick is unchanged.
    virtual void settingNotStored(const std::string& key) { (void)key; }
};

} // namespace corvane
