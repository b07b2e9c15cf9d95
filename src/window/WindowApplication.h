#pragma once

#include "drawing/Artwork.h"
#include "foundation/GLibMainQueue.h"
#include "text/TextContext.h"
#include "window/WindowServices.h"

#include <gtkmm.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

class Corvane_BarAppDelegate;
class DialogOverlay;
class InstallerPage;
class MainWindow;
class MenuBridge;
class SectionController;
class SettingsFileDialogs;
class SettingsFileFlow;
class SystemStatusItemRestarter;

struct WindowOptions {
    std::string section;            // a command's short name ("memory"); empty for the first page
    std::string style;              // "light", "dark" or empty for the desktop's
    std::vector<std::string> files; // settings files to import, each after a question
    // Writes the window as a PNG once its page has drawn, then quits: for screenshots.
    std::string screenshot;
};

// The settings application: one instance per session, under the name
// "com.halvorn.corvanebar". A second start, `corvanebar open` and the panel's requests raise
// its window at the page they ask for.
class WindowApplication final : public Gtk::Application {
public:
    static constexpr const char* kApplicationId = "com.halvorn.corvanebar";

    static Glib::RefPtr<WindowApplication> create(WindowOptions options);
    ~WindowApplication() override;

    // Starts the window here, or hands the request to the instance that runs; the exit status.
    int runOrForward();

    MainWindow* mainWindow() const { return window_; }
    // The section a short name stands for; null for an unknown name.
    static SectionController* sectionNamed(const std::string& name);
    void showSection(const std::string& name);

protected:
    explicit WindowApplication(WindowOptions options);
    void on_startup() override;
    void on_activate() override;
    void on_open(const type_vec_files& files, const Glib::ustring& hint) override;
    void on_shutdown() override;

private:
    void buildServices();
    void buildWindow();
    void updateFooter();
    void tellSetAsideSettings();
    void writeScreenshot();

    WindowOptions options_;
    GLibMainQueue queue_;
    CVBCache artwork_;
    TextCaches text_;
    std::unique_ptr<WindowServices> services_;
    MainWindow* window_ = nullptr;
    std::shared_ptr<InstallerPage> installer_;
    std::shared_ptr<DialogOverlay> overlay_;
    std::unique_ptr<SystemStatusItemRestarter> restarter_;
    std::unique_ptr<SettingsFileFlow> flow_;
    std::unique_ptr<SettingsFileDialogs> dialogs_;
    std::unique_ptr<Corvane_BarAppDelegate> delegate_;
    std::unique_ptr<MenuBridge> menus_;
    sigc::connection footerTimer_;
};

} // namespace corvane
