#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/MainQueue.h"
#include "foundation/NotificationCenter.h"
#include "preferences/SectionNotifications.h"
#include "shell/AppDelegatePeers.h"
#include "shell/ApplicationMenus.h"
#include "shell/ApplicationTerminator.h"
#include "shell/LanguageMenu.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace corvane {

class CVBPreferences;
class OverlayController;
class SectionManager;

inline constexpr const char* kDaemonXPCReadyNotification = "CorvaneBarDaemonXPCReady";
inline constexpr const char* kAgentXPCReadyNotification = "CorvaneBarAgentXPCReady";
inline constexpr const char* kStatusItemXPCReadyNotification = "CorvaneBarStatusItemXPCReady";
inline constexpr const char* kDetectedMenubarColorChangedNotification =
    "CorvaneBarDetectedMenubarColorChanged";

// The application's order of start-up and shut-down, and its menu commands. The window wraps
// it; everything outside this process or not built yet is reached through the peers.
// It answers none of the update checker's callbacks yet: checks here start only from the
// user, and the checker's own windows show how they end.
class Corvane_BarAppDelegate final : public InstallerDelegate,
                                     public UpdateCheckerDelegate,
                                     public ApplicationTerminator {
public:
    Corvane_BarAppDelegate(CVBPreferences& preferences, MainQueue& queue,
                           NotificationCenter& center, DistributedNotificationCenter& distributed,
                           AppDelegatePeers peers = {});
    ~Corvane_BarAppDelegate() override;
    Corvane_BarAppDelegate(const Corvane_BarAppDelegate&) = delete;
    Corvane_BarAppDelegate& operator=(const Corvane_BarAppDelegate&) = delete;

    void applicationWillFinishLaunching();
    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    // application:openFile: takes a settings file (".cvbp") only.
    bool application(const std::filesystem::path& openFile);
    void windowWillClose() { terminate(); }
    void quit() { terminate(); }
    // applicationWillTerminate, then the main loop ends.
    void terminate() override;

    // The steps of start-up, each also usable on its own.
    void setupWindow();
    // The log folders of every part, and this process's file log in "App".
    static void setupLog();
    void setupGPUCollector();
    void setupCityCollector();
    void migrateCities();
    void setupSections();
    void setupUpdateChecker();
    void updateVersionLabels();

    // The model and diagnostics.
    void checkModel();
    static std::string diagnosticPreferenceKey();
    void sendDiagnosticsIfNeeded();

    // The background parts.
    void install();
    void reinstall();
    void uninstall();
    void installSuceeded() override;
    void installFailed() override {}
    void uninstallCancelled() override;

    void importSettingsFile(const std::filesystem::path& path);
    void externalPreferenceChange(const Notification& notification);
    void menubarColorChangeRemote();
    void daemonAvailable();
    void agentAvailable();
    void statusItemAvailable();

    ApplicationMenus& menus() { return menus_; }
    LanguageMenu& languageMenu() { return languageMenu_; }
    const std::string& versionLabel() const { return versionLabel_; }
    const std::string& daemonLabel() const { return daemonLabel_; }
    const std::string& agentLabel() const { return agentLabel_; }
    const std::string& statusItemLabel() const { return statusItemLabel_; }

    // "%.2f (%li)" of a version and its build, whatever the locale.
    static std::string versionText(double version, std::int64_t build);

private:
    // The menu commands that the delegate answers itself; the rest go to the peers.
    class DelegateMenuActions;

    static AppDelegatePeers withDefaults(AppDelegatePeers peers);
    void observe(const char* name, void (Corvane_BarAppDelegate::*handler)());
    void after(double seconds, MainQueue::Task task);
    // Waits a second, as the peer has just come up, then asks its version for the label.
    void askVersion(VersionPeer& peer, std::string& label, const char* format, bool logIt);
    void showInstallerView();
    OverlayController& overlay();
    static SectionManager& sectionManager();

    CVBPreferences& preferences_;
    MainQueue& queue_;
    NotificationCenter& center_;
    DistributedNotificationCenter& distributed_;
    AppDelegatePeers peers_;
    std::unique_ptr<DelegateMenuActions> menuActions_;
    ApplicationMenus menus_;
    LanguageMenu languageMenu_;
    std::string versionLabel_;
    std::string daemonLabel_;
    std::string agentLabel_;
    std::string statusItemLabel_;
    std::vector<Observation> observations_;
    // Timers still waiting; each leaves as it fires, so shut-down cancels only these.
    std::set<MainQueue::TimerId> timers_;
    // Replies that come back after the delegate is gone find this expired.
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

} // namespace corvane
