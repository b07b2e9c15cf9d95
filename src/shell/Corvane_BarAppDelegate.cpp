#include "shell/Corvane_BarAppDelegate.h"

#include "corvane/BuildInfo.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceMigration.h"
#include "preferences/SettingsFile.h"
#include "shell/ApplicationText.h"
#include "shell/GeneralController.h"
#include "shell/OverlayController.h"
#include "shell/ProductSite.h"
#include "shell/SectionManager.h"

#include <charconv>

namespace corvane {

namespace {

constexpr const char* kApplicationName = "Corvane Bar";
constexpr const char* kShownSetupScreenKey = "ShownSetupScreen";
constexpr const char* kModelIdentifierKey = "_modelid";

template <class T>
std::shared_ptr<T> orDefault(std::shared_ptr<T> given) {
    return given ? std::move(given) : std::make_shared<T>();
}

// A label's translated format with its one "%@" filled in.
std::string label(const TextContext& language, const char* format, const std::string& text) {
    return formattedString(HLVLocalizedString(language, format, {}, "prefs"), text);
}

} // namespace

// Reinstall, uninstall and quit belong to the delegate; the rest to the window and the peers.
class Corvane_BarAppDelegate::DelegateMenuActions final : public MenuActions {
public:
    DelegateMenuActions(Corvane_BarAppDelegate& delegate, MenuActions& peers)
        : delegate_(delegate)
        , peers_(peers) {}

    void showAbout() override { peers_.showAbout(); }
    void quit() override { delegate_.quit(); }
    void reinstall() override { delegate_.reinstall(); }
    void uninstall() override { delegate_.uninstall(); }
    void requestCalendarAccess() override { peers_.requestCalendarAccess(); }
    void deleteDatabase(std::function<void()> reply) override {
        peers_.deleteDatabase(std::move(reply));
    }
    void sendLogFiles() override { peers_.sendLogFiles(); }
    void openURL(const std::string& address) override { peers_.openURL(address); }

private:
    Corvane_BarAppDelegate& delegate_;
    MenuActions& peers_;
};

AppDelegatePeers Corvane_BarAppDelegate::withDefaults(AppDelegatePeers peers) {
    peers.window = orDefault(std::move(peers.window));
    peers.collectors = orDefault(std::move(peers.collectors));
    peers.help = orDefault(std::move(peers.help));
    peers.installer = orDefault(std::move(peers.installer));
    peers.updateChecker = orDefault(std::move(peers.updateChecker));
    peers.statUploader = orDefault(std::move(peers.statUploader));
    peers.daemon = orDefault(std::move(peers.daemon));
    peers.agent = orDefault(std::move(peers.agent));
    peers.statusItem = orDefault(std::move(peers.statusItem));
    peers.menuActions = orDefault(std::move(peers.menuActions));
    if (!peers.launcher)
        peers.launcher = std::make_shared<GLibProcessLauncher>();
    if (!peers.restarter)
        peers.restarter = std::make_shared<SystemStatusItemRestarter>();
    if (!peers.fetchMenubarColor)
        peers.fetchMenubarColor = [] { sectionManager().services().fetchMenubarColor(); };
    if (peers.program.empty())
        peers.program = runningProgramPath();
    return peers;
}

Corvane_BarAppDelegate::Corvane_BarAppDelegate(CVBPreferences& preferences, MainQueue& queue,
                                               NotificationCenter& center,
                                               DistributedNotificationCenter& distributed,
                                               AppDelegatePeers peers)
    : preferences_(preferences)
    , queue_(queue)
    , center_(center)
    , distributed_(distributed)
    , peers_(withDefaults(std::move(peers)))
    , menuActions_(std::make_unique<DelegateMenuActions>(*this, *peers_.menuActions))
    , menus_(preferences, distributed, queue, *menuActions_)
    , languageMenu_(preferences, distributed, *peers_.launcher, *this, peers_.program) {}

Corvane_BarAppDelegate::~Corvane_BarAppDelegate() {
    for (const auto id : timers_)
        queue_.cancel(id);
}

SectionManager& Corvane_BarAppDelegate::sectionManager() {
    return SectionManager::sharedSectionManager();
}

OverlayController& Corvane_BarAppDelegate::overlay() {
    return *sectionManager().services().overlay;
}

void Corvane_BarAppDelegate::after(double seconds, MainQueue::Task task) {
    // The id is known only once scheduled; the queue never runs a task inside `after`.
    auto id = std::make_shared<MainQueue::TimerId>();
    *id = queue_.after(seconds, [this, id, task = std::move(task)] {
        timers_.erase(*id);
        task();
    });
    timers_.insert(*id);
}

void Corvane_BarAppDelegate::observe(const char* name, void (Corvane_BarAppDelegate::*handler)()) {
    observations_.push_back(distributed_.addObserver(
        name, [this, handler](const Notification&) { (this->*handler)(); }));
}

// Start-up.

void Corvane_BarAppDelegate::applicationWillFinishLaunching() {
    menus_.translateMainMenu();
    setupWindow();
    setupLog();
    setupGPUCollector();
    setupCityCollector();
    migrateCities();
    setupSections();
    peers_.window->setOverlayDelegate(*this);
}

void Corvane_BarAppDelegate::setupWindow() {
    peers_.window->prepare();
    preferences_.useWindowBasedThemeCheck = true;
    preferences_.updateMenubarTheme();
    menus_.buildAppMenu();
    menus_.buildHelpMenu();
    menus_.buildStatsMenu();
    menus_.buildDiagnosticsMenu();
    languageMenu_.build(menus_.languageMenu());
    peers_.window->show();
    menus_.addWindowItem(kApplicationName);
}

void Corvane_BarAppDelegate::setupLog() {
    for (const char* process :
         {"InstallerBundle", "App", "InstallerHelper", "Corvane Bar Status", "Agent"}) {
        std::error_code error;
        std::filesystem::create_directories(Paths::logDirectory(process), error);
        if (error)
            CVBLog("Cannot make the log folder %s: %s", Paths::logDirectory(process).c_str(),
                   error.message().c_str());
    }
    corvane::setupLog("App");
}

void Corvane_BarAppDelegate::setupGPUCollector() {
    peers_.collectors->setupGPUCollector();
}

void Corvane_BarAppDelegate::setupCityCollector() {
    peers_.collectors->setCityDatabasePath(Paths::dataDirectory() / "cities.db");
}

void Corvane_BarAppDelegate::migrateCities() {
    PreferenceMigration migration(preferences_);
    if (!migration.doesNeedToMigrateCities())
        return;
    // Without the database every bare identifier would be dropped; keep them for a later start.
    const CityLookup* cities = peers_.collectors->cities();
    if (!cities) {
        CVBLog("Cities stay as stored until the cities database can be opened");
        return;
    }
    migration.migrateCities(*cities);
}

void Corvane_BarAppDelegate::setupSections() {
    peers_.help->setup();
    auto& manager = sectionManager();
    manager.setWindow(peers_.window->sectionWindow());
    manager.setSectionViewContainer(peers_.window->sectionViewContainer());
    manager.setSourceList(peers_.window->sourceList());
    manager.setup();
    if (GeneralController* general = manager.general())
        general->addHelpView(peers_.help->view());
}

void Corvane_BarAppDelegate::applicationDidFinishLaunching() {
    updateVersionLabels();
    observations_.push_back(distributed_.addObserver(
        kResetPreferencesAppNotification,
        [this](const Notification& notification) { externalPreferenceChange(notification); }));
    setupUpdateChecker();
    peers_.window->setOverlayParentWindow(overlay());
    menus_.updateMenuItems();
    sectionManager().resetFirstResponder();
    if (peers_.installer->isInstalledAndValid()) {
        checkModel();
        sendDiagnosticsIfNeeded();
    } else {
        install();
    }
    observe(kDaemonXPCReadyNotification, &Corvane_BarAppDelegate::daemonAvailable);
    observe(kAgentXPCReadyNotification, &Corvane_BarAppDelegate::agentAvailable);
    observe(kStatusItemXPCReadyNotification, &Corvane_BarAppDelegate::statusItemAvailable);
    observe(kDetectedMenubarColorChangedNotification,
            &Corvane_BarAppDelegate::menubarColorChangeRemote);
    // A peer that was up before this application started sends no "ready": ask each once.
    daemonAvailable();
    agentAvailable();
    statusItemAvailable();
}

std::string Corvane_BarAppDelegate::versionText(double version, std::int64_t build) {
    // Not printf: a decimal comma of the user's locale would turn up in "6.72".
    char buffer[32];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, version, std::chars_format::fixed, 2);
    const std::string number = error == std::errc{} ? std::string(buffer, end) : "0.00";
    return number + " (" + std::to_string(build) + ")";
}

void Corvane_BarAppDelegate::updateVersionLabels() {
    versionLabel_ = label(applicationText(preferences_), "Version: %@",
                          versionText(build::kVersion, build::kBuildNumber));
    menus_.updateAboutTitle();
}

void Corvane_BarAppDelegate::setupUpdateChecker() {
    UpdateCheckerSettings settings;
    settings.feed = std::string(kProductSiteAddress) + kUpdateFeedPath;
    settings.currentVersion = build::kVersion;
    settings.currentVersionBuild = build::kBuildNumber;
    peers_.updateChecker->setUp(*this, settings);
}

void Corvane_BarAppDelegate::applicationWillTerminate() {
    sectionManager().save();
}

void Corvane_BarAppDelegate::terminate() {
    applicationWillTerminate();
    peers_.window->quit();
}

// The model and diagnostics.

std::string Corvane_BarAppDelegate::diagnosticPreferenceKey() {
    return std::string("Diagnostics_Sent_") + "4.0";
}

void Corvane_BarAppDelegate::checkModel() {
    const std::string& model = preferences_.modelIdentifier();
    auto& defaults = preferences_.userDefaults();
    const Value stored = defaults.copyValue(kModelIdentifierKey);
    if (model.empty() || (!stored.isNull() && stored.stringValue() == model))
        return;
    // Another machine (or a first start): its statistics are worth sending again.
    defaults.setValue(kModelIdentifierKey, Value(model));
    defaults.synchronize();
    preferences_.removeObjectForKey(diagnosticPreferenceKey());
}

void Corvane_BarAppDelegate::sendDiagnosticsIfNeeded() {
    const std::string sent = diagnosticPreferenceKey();
    if (!preferences_.objectForKey("Diagnostics_Enabled").boolValue() ||
        preferences_.objectForKey(sent).boolValue())
        return;
    preferences_.setBool(true, sent);
    after(2.0, [this] { peers_.statUploader->fetchAndUpload(); });
}

// The background parts.

void Corvane_BarAppDelegate::showInstallerView() {
    if (SectionPage* view = peers_.installer->view())
        overlay().showWithView(*view);
}

void Corvane_BarAppDelegate::install() {
    after(0.5, [this] {
        peers_.installer->setUpgrade(false);
        peers_.installer->setDelegate(this);
        peers_.installer->showInstall();
        showInstallerView();
    });
}

void Corvane_BarAppDelegate::reinstall() {
    peers_.installer->setUpgrade(true);
    peers_.installer->setDelegate(this);
    peers_.installer->showInstall();
    showInstallerView();
}

void Corvane_BarAppDelegate::uninstall() {
    peers_.installer->setDelegate(this);
    peers_.installer->showUninstall();
    showInstallerView();
}

void Corvane_BarAppDelegate::uninstallCancelled() {
    overlay().removeOverlay();
}

void Corvane_BarAppDelegate::installSuceeded() {
    auto& defaults = preferences_.userDefaults();
    if (defaults.copyValue(kShownSetupScreenKey).isNull()) {
        // A first installation: the setup screen has been seen, and no diagnostics go out in
        // this run.
        defaults.setValue(kShownSetupScreenKey, Value(true));
        defaults.synchronize();
        overlay().removeOverlay();
        return;
    }
    overlay().removeOverlay();
    checkModel();
    sendDiagnosticsIfNeeded();
}

// Files and notifications.

bool Corvane_BarAppDelegate::application(const std::filesystem::path& openFile) {
    if (openFile.extension() != std::string(".") + kSettingsFileExtension) {
        CVBLog("Not opening %s: only settings files (.%s) are taken", openFile.c_str(),
               kSettingsFileExtension);
        return false;
    }
    importSettingsFile(openFile);
    return true;
}

void Corvane_BarAppDelegate::importSettingsFile(const std::filesystem::path& path) {
    SettingsFile settings(preferences_, *peers_.restarter);
    if (!settings.importSettingsFile(path))
        return;
    menus_.updateMenuItems();
}

void Corvane_BarAppDelegate::externalPreferenceChange(const Notification& notification) {
    const Value& key = notification.userInfo["key"];
    if (key.isString())
        preferences_.resetValueForKey(key.string());
}

void Corvane_BarAppDelegate::menubarColorChangeRemote() {
    peers_.fetchMenubarColor();
    center_.post(kMenubarThemeChangedNotification);
}

void Corvane_BarAppDelegate::askVersion(VersionPeer& peer, std::string& target, const char* format,
                                        bool logIt) {
    after(1.0, [this, &peer, &target, format, logIt] {
        std::weak_ptr<int> alive = alive_;
        peer.version([&queue = queue_, &preferences = preferences_, alive, &target, format,
                      logIt](double version, std::int64_t build) {
            // The reply comes on the peer's thread; labels belong to the main queue.
            queue.async([&preferences, alive, &target, format, logIt, version, build] {
                if (alive.expired()) {
                    CVBLog("A version reply came after the window closed; dropped");
                    return;
                }
                const std::string text = versionText(version, build);
                target = label(applicationText(preferences), format, text);
                if (logIt)
                    CVBLog("status version %s", text.c_str());
            });
        });
    });
}

void Corvane_BarAppDelegate::daemonAvailable() {
    askVersion(*peers_.daemon, daemonLabel_, "Daemon: %@", false);
}

void Corvane_BarAppDelegate::agentAvailable() {
    askVersion(*peers_.agent, agentLabel_, "Agent: %@", false);
}

void Corvane_BarAppDelegate::statusItemAvailable() {
    askVersion(*peers_.statusItem, statusItemLabel_, "Status Item: %@", true);
}

} // namespace corvane
