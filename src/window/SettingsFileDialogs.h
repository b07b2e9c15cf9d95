#pragma once

#include "window/SettingsFileFlow.h"

#include <functional>
#include <gtkmm.h>
#include <memory>

namespace corvane {

// The window's export, import and reset: a file chooser or a question, then the flow, then
// what it came to in a message over the window.
class SettingsFileDialogs {
public:
    // `translate` gives the dialogs' own words in the window's language; the messages are
    // the command line's.
    SettingsFileDialogs(Gtk::Window& parent, SettingsFileFlow& flow,
                        std::function<std::string(const std::string&)> translate);

    void exportSettings();
    void importSettings();
    // Asks before the file replaces the settings, as the file manager's "open" does too.
    void confirmImport(const std::filesystem::path& file);
    void resetSettings();
    // A message over the window, such as why nothing changed.
    void tell(const std::string& text, bool error);

private:
    void ask(const std::string& question, const std::string& action,
             std::function<void()> confirmed);

    Gtk::Window& parent_;
    SettingsFileFlow& flow_;
    std::function<std::string(const std::string&)> tr_;
    Glib::RefPtr<Gtk::FileChooserNative> chooser_;
    std::unique_ptr<Gtk::MessageDialog> dialog_;
};

} // namespace corvane
