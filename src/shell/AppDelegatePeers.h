#pragma once

#include "shell/MenuActions.h"
#include "shell/ProcessLauncher.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace corvane {

class CityLookup;
class Corvane_BarAppDelegate;
class OverlayController;
class SectionPage;
class SectionViewContainer;
class SectionWindow;
class SourceList;
class StatusItemRestarter;

// The main window as the application delegate drives it. The toolkit's window implements it;
// without one every step does nothing.
class ApplicationWindow {
public:
    virtual ~ApplicationWindow() = default;
    // Title bar and its buttons (with their accessible names), the dark appearance.
    virtual void prepare() {}
    virtual void show() {}
    // Its parts that the sections are laid into; null where there is no window.
    virtual SectionWindow* sectionWindow() { return nullptr; }
    virtual SectionViewContainer* sectionViewContainer() { return nullptr; }
    virtual SourceList* sourceList() { return nullptr; }
    // The overlay reports to the delegate, and covers this window.
    virtual void setOverlayDelegate(Corvane_BarAppDelegate& delegate) { (void)delegate; }
    virtual void setOverlayParentWindow(OverlayController& overlay) { (void)overlay; }
    // Ends the main loop.
    virtual void quit() {}
};

// The collectors that start-up prepares before the sections exist.
class StartupCollectors {
public:
    virtual ~StartupCollectors() = default;
    // Graphics: notifications, processors, displays, the active one.
    virtual void setupGPUCollector() {}
    virtual void setCityDatabasePath(const std::filesystem::path& path) { (void)path; }
    // The open cities database; null while there is none.
    virtual const CityLookup* cities() { return nullptr; }
};

// The help panel on the General page.
class HelpController {
public:
    virtual ~HelpController() = default;
    virtual void setup() {}
    virtual SectionPage* view() { return nullptr; }
};

// Told how an installation or removal of the background parts went.
class InstallerDelegate {
public:
    virtual ~InstallerDelegate() = default;
    virtual void installSuceeded() = 0;
    virtual void installFailed() = 0;
    virtual void uninstallCancelled() = 0;
};

// The installer of the background parts. Without one nothing counts as installed, and nothing
// is shown.
class InstallerPeer {
public:
    virtual ~InstallerPeer() = default;
    virtual bool isInstalledAndValid() { return false; }
    virtual void setUpgrade(bool upgrade) { (void)upgrade; }
    virtual void setDelegate(InstallerDelegate* delegate) { (void)delegate; }
    virtual void showInstall() {}
    virtual void showUninstall() {}
    // What the overlay shows; null when there is nothing to show.
    virtual SectionPage* view() { return nullptr; }
};

struct UpdateCheckerSettings {
    std::string feed;
    int installMode = 3;
    int recycle = 1;
    bool userInitiated = true;
    double currentVersion = 0;
    int currentVersionBuild = 0;
    bool hidesOnDeactivate = true;
    int windowLevel = 3;
};

// Told what a check for updates came to. The checker tells only what its receiver answers,
// so each callback does nothing unless overridden. The sender is left out: the application
// has one checker.
class UpdateCheckerDelegate {
public:
    virtual ~UpdateCheckerDelegate() = default;
    virtual void updateCheckerUpdatesAvailable() {}
    virtual void updateCheckerNoUpdatesAvailable() {}
    // `error` is empty when the failure came without one (an unreadable feed).
    virtual void updateCheckerFailedWithError(const std::string& error) { (void)error; }
    virtual void updateCheckerCancelled() {}
    virtual void updateCheckerRemindMeLater() {}
    virtual void updateCheckerSkip() {}
    virtual void updaterStartingInstall() {}
    virtual void updateCheckerDownloadFailed() {}
    virtual void updateCheckerDownloadComplete() {}
    // Install mode 5: the downloaded payload is the receiver's to install.
    virtual void updateCheckerFinishWithPath(const std::filesystem::path& path) { (void)path; }
};

class UpdateCheckerPeer {
public:
    virtual ~UpdateCheckerPeer() = default;
    // `delegate` outlives the checker's use of it.
    virtual void setUp(UpdateCheckerDelegate& delegate, const UpdateCheckerSettings& settings) {
        (void)delegate;
        (void)settings;
    }
};

// Sends the statistics snapshot to the diagnostics service.
class StatUploaderPeer {
public:
    virtual ~StatUploaderPeer() = default;
    virtual void fetchAndUpload() {}
};

// A background process that tells its version: the daemon, the agent, the status item.
class VersionPeer {
public:
    using Reply = std::function<void(double version, std::int64_t build)>;
    virtual ~VersionPeer() = default;
    // `reply` runs on any thread once the peer answers; never when it does not.
    virtual void version(Reply reply) { (void)reply; }
};

// What the application delegate asks of the world around it. Whatever is left empty gets the
// neutral stand-in above, or the real thing where it exists (the process launcher, the
// status-item restarter, this program's path).
struct AppDelegatePeers {
    std::shared_ptr<ApplicationWindow> window;
    std::shared_ptr<StartupCollectors> collectors;
    std::shared_ptr<HelpController> help;
    std::shared_ptr<InstallerPeer> installer;
    std::shared_ptr<UpdateCheckerPeer> updateChecker;
    std::shared_ptr<StatUploaderPeer> statUploader;
    std::shared_ptr<VersionPeer> daemon;
    std::shared_ptr<VersionPeer> agent;
    std::shared_ptr<VersionPeer> statusItem;
    // Calendar access, the history database, log files, help pages, the about box.
    std::shared_ptr<MenuActions> menuActions;
    std::shared_ptr<ProcessLauncher> launcher;
    std::shared_ptr<StatusItemRestarter> restarter;
    // Asks the desktop again how dark the panel is; by default as the sections do.
    std::function<void()> fetchMenubarColor;
    std::filesystem::path program; // started again after a language change
};

} // namespace corvane
