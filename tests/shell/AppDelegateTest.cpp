#include "MenuFixture.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/PropertyList.h"
#include "preferences/PreferenceMigration.h"
#include "preferences/SettingsFile.h"
#include "shell/Corvane_BarAppDelegate.h"
#include "shell/GeneralController.h"
#include "shell/SectionManager.h"

#include <algorithm>
#include <set>
#include <thread>
#include <utility>

namespace corvane {
namespace {

using Events = std::vector<std::string>;

// The main queue, remembering which timers fired and which were cancelled.
struct RecordingQueue final : MainQueue {
    ManualMainQueue& queue;
    std::set<TimerId> fired;
    std::vector<TimerId> cancels;

    explicit RecordingQueue(ManualMainQueue& q)
        : queue(q) {}
    void async(Task task) override { queue.async(std::move(task)); }
    TimerId after(double seconds, Task task) override {
        auto firing = std::make_shared<TimerId>();
        const TimerId id = queue.after(seconds, [this, firing, task = std::move(task)] {
            fired.insert(*firing);
            task();
        });
        return *firing = id;
    }
    void cancel(TimerId id) override {
        cancels.push_back(id);
        queue.cancel(id);
    }
    const Clock& clock() const override { return queue; }
};

template <class Peer>
struct Logged : Peer {
    Events& log;
    explicit Logged(Events& l)
        : log(l) {}
};

struct RecordingWindow final : Logged<ApplicationWindow> {
    struct List final : Logged<SourceList> {
        using Logged::Logged;
        void addItem(SourceListItem& item) override {
            log.push_back("sections");
            SourceList::addItem(item);
        }
    };
    using Logged::Logged;
    SectionWindow focus;
    List list{log};
    SectionViewContainer container;
    std::function<void()> onShow;

    void show() override {
        if (onShow)
            onShow();
    }
    SectionWindow* sectionWindow() override { return &focus; }
    SectionViewContainer* sectionViewContainer() override { return &container; }
    SourceList* sourceList() override { return &list; }
    void quit() override { log.push_back("quit"); }
};

struct RecordingCollectors final : Logged<StartupCollectors>, CityLookup {
    using Logged::Logged;
    std::function<void()> onGPU;
    std::filesystem::path citiesPath;
    void setupGPUCollector() override {
        if (onGPU)
            onGPU();
    }
    void setCityDatabasePath(const std::filesystem::path& path) override { citiesPath = path; }
    const CityLookup* cities() override {
        log.push_back("cities");
        return this;
    }
    Value cityWithIdentifier(std::int64_t identifier) const override {
        return Value::dict({{"identifier", identifier}, {"city", "Lund"}});
    }
};

struct RecordingInstaller final : Logged<InstallerPeer> {
    using Logged::Logged;
    bool installed = true;
    SectionPage page{"Installer"};
    InstallerDelegate* delegate = nullptr;
    bool isInstalledAndValid() override { return installed; }
    void setUpgrade(bool upgrade) override { log.push_back(upgrade ? "upgrade" : "fresh"); }
    void setDelegate(InstallerDelegate* d) override { delegate = d; }
    void showInstall() override { log.push_back("showInstall"); }
    void showUninstall() override { log.push_back("showUninstall"); }
    SectionPage* view() override { return &page; }
};

struct QuietUpdateChecker final : UpdateCheckerPeer {
    void setUp(UpdateCheckerDelegate&, const UpdateCheckerSettings&) override {}
};

struct RecordingUploader final : Logged<StatUploaderPeer> {
    using Logged::Logged;
    void fetchAndUpload() override { log.push_back("upload"); }
};

// Answers on a thread of its own, as a peer's link does, when the test lets it; or never.
struct RecordingVersionPeer final : Logged<VersionPeer> {
    RecordingVersionPeer(Events& l, std::string n)
        : Logged(l)
        , name(std::move(n)) {}
    std::string name;
    std::optional<std::pair<double, std::int64_t>> answer;
    std::vector<Reply> waiting;
    void version(Reply reply) override {
        log.push_back(name);
        waiting.push_back(std::move(reply));
    }
    void reply() {
        if (answer)
            for (auto& r : waiting)
                std::thread([&r, a = *answer] { r(a.first, a.second); }).join();
        waiting.clear();
    }
};

class AppDelegate : public test::MenuFixture {
protected:
    void SetUp() override {
        MenuFixture::SetUp();
        SectionManager::install(std::make_unique<SectionManager>(sectionServices()));
        daemon->answer = {{2.5, 301}};
        statusItem->answer = {{6.72, 1224}};
    }
    SectionServices sectionServices() {
        SectionServices services;
        services.center = &center;
        services.distributedCenter = &bus;
        services.clock = &queue;
        services.overlay = overlay;
        services.fetchMenubarColor = [] {};
        return services;
    }
    void TearDown() override {
        delegate.reset();
        SectionManager::cleanup();
        teardownLog();
        MenuFixture::TearDown();
    }

    Corvane_BarAppDelegate& make() {
        AppDelegatePeers peers;
        peers.window = window;
        peers.collectors = collectors;
        peers.help = help;
        peers.installer = installer;
        peers.updateChecker = updateChecker;
        peers.statUploader = uploader;
        peers.daemon = daemon;
        peers.agent = agent;
        peers.statusItem = statusItem;
        peers.menuActions = std::make_shared<test::RecordingMenuActions>();
        peers.launcher = launcher;
        peers.restarter = restarter;
        peers.fetchMenubarColor = [this] { log.push_back("fetchColor"); };
        peers.program = "/usr/bin/corvanebar";
        delegate = std::make_unique<Corvane_BarAppDelegate>(CVBPreferences::sharedPreferences(),
                                                            timers, center, bus, std::move(peers));
        return *delegate;
    }

    Corvane_BarAppDelegate& launched() {
        auto& d = make();
        d.applicationWillFinishLaunching();
        d.applicationDidFinishLaunching();
        return d;
    }

    // Lets the peers' replies arrive and the main queue take them.
    void settleReplies() {
        daemon->reply();
        agent->reply();
        statusItem->reply();
        queue.runUntilIdle();
    }

    CVBPreferences& prefs() { return CVBPreferences::sharedPreferences(); }

    test::ScopedEnvironment logs{"CORVANEBAR_LOG_DIR", (dir / "logs").c_str()};
    Events log;
    std::shared_ptr<test::CountingOverlay> overlay = std::make_shared<test::CountingOverlay>();
    std::shared_ptr<RecordingWindow> window = std::make_shared<RecordingWindow>(log);
    std::shared_ptr<RecordingCollectors> collectors = std::make_shared<RecordingCollectors>(log);
    std::shared_ptr<HelpController> help = std::make_shared<HelpController>();
    std::shared_ptr<RecordingInstaller> installer = std::make_shared<RecordingInstaller>(log);
    std::shared_ptr<QuietUpdateChecker> updateChecker = std::make_shared<QuietUpdateChecker>();
    std::shared_ptr<RecordingUploader> uploader = std::make_shared<RecordingUploader>(log);
    std::shared_ptr<RecordingVersionPeer> daemon =
        std::make_shared<RecordingVersionPeer>(log, "daemon");
    std::shared_ptr<RecordingVersionPeer> agent =
        std::make_shared<RecordingVersionPeer>(log, "agent");
    std::shared_ptr<RecordingVersionPeer> statusItem =
        std::make_shared<RecordingVersionPeer>(log, "statusItem");
    std::shared_ptr<test::RecordingRestart> launcher =
        std::make_shared<test::RecordingRestart>(log);
    std::shared_ptr<test::RecordingRestarter> restarter =
        std::make_shared<test::RecordingRestarter>();
    RecordingQueue timers{queue};
    std::unique_ptr<Corvane_BarAppDelegate> delegate;
};

// Sections read the stored cities, so these are migrated before the first section exists; each
// process's log folder is there before the first collector may write to it.
TEST_F(AppDelegate, WillFinishLaunchingMigratesSettingsBeforeTheSectionsReadThem) {
    prefs().setObject(Value::array({3}), "Time_Cities");
    auto& d = make();
    window->onShow = [&] {
        EXPECT_EQ(d.menus().appMenu().numberOfItems(), 9u) << "menus are built before showing";
        EXPECT_TRUE(d.menus().languageMenu().itemAtIndex(0).state);
    };
    collectors->onGPU = [&] {
        for (const char* process :
             {"InstallerBundle", "App", "InstallerHelper", "Corvane Bar Status", "Agent"})
            EXPECT_TRUE(std::filesystem::is_directory(dir / "logs" / process)) << process;
    };

    d.applicationWillFinishLaunching();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.front(), "cities");
    EXPECT_NE(std::find(log.begin(), log.end(), "sections"), log.end());
    EXPECT_EQ(collectors->citiesPath, Paths::dataDirectory() / "cities.db");
    EXPECT_EQ(prefs().domain().copyValue("Time_Cities"),
              Value::array({Value::dict({{"identifier", 3}, {"city", "Lund"}})}));
    CVBLog("written to the application's own log");
    EXPECT_TRUE(std::filesystem::exists(dir / "logs" / "App" / "App.log"));
}

// A second after start every peer is asked for its version; diagnostics go out after two.
TEST_F(AppDelegate, VersionLabelsShowTheRepliesAndKeepTheirTextWithoutOne) {
    LogCapture captured;
    prefs().setBool(true, "Diagnostics_Enabled");
    auto& d = launched();
    EXPECT_EQ(d.versionLabel(), "Version: 6.72 (1224)");
    log.clear();
    queue.advance(1.0);
    EXPECT_EQ(log, (Events{"daemon", "agent", "statusItem"}));
    daemon->reply();
    EXPECT_EQ(d.daemonLabel(), "") << "a reply touches the label only on the main queue";
    settleReplies();
    EXPECT_EQ(d.daemonLabel(), "Daemon: 2.50 (301)");
    EXPECT_EQ(d.statusItemLabel(), "Status Item: 6.72 (1224)");
    EXPECT_EQ(d.agentLabel(), "") << "the agent never answered";
    EXPECT_TRUE(captured.contains("status version 6.72 (1224)"));

    // The daemon comes up again with a newer version.
    daemon->answer = {{2.6, 302}};
    bus.postNotificationName(kDaemonXPCReadyNotification);
    queue.advance(1.0);
    settleReplies();
    EXPECT_EQ(d.daemonLabel(), "Daemon: 2.60 (302)");
    EXPECT_EQ(std::count(log.begin(), log.end(), "upload"), 1);
}

// Shut down, nothing of the delegate runs any more: neither its timers nor the peers' late replies.
TEST_F(AppDelegate, ShutDownCancelsTheTimersStillWaitingAndDropsLateReplies) {
    LogCapture captured;
    prefs().setBool(true, "Diagnostics_Enabled");
    launched();
    queue.advance(1.0);
    // The version requests have fired and are forgotten (kept, the list would grow for as
    // long as the window stays open); the diagnostics upload still waits.
    ASSERT_GE(timers.fired.size(), 3u);
    delegate.reset();
    // A delegate made afterwards may well sit where the old one was.
    auto& fresh = make();
    for (const auto id : timers.cancels)
        EXPECT_EQ(timers.fired.count(id), 0u) << "cancelled timer " << id << " had fired";
    queue.advance(2.0);
    EXPECT_EQ(std::count(log.begin(), log.end(), "upload"), 0);
    settleReplies();
    EXPECT_TRUE(captured.contains("A version reply came after the window closed; dropped"));
    EXPECT_EQ(fresh.daemonLabel(), "");
    EXPECT_EQ(fresh.statusItemLabel(), "");
}

TEST_F(AppDelegate, EndingClosesEverySectionBeforeTheMainLoopStops) {
    SectionManager::install(std::make_unique<test::CustomSectionManager>(
        sectionServices(),
        test::closingSections([this](const std::string&) { log.push_back("didClose"); })));
    auto& d = launched();
    log.clear();
    d.windowWillClose();
    EXPECT_EQ(std::count(log.begin(), log.end(), "didClose"), 11);
    EXPECT_EQ(log.back(), "quit");
}

TEST_F(AppDelegate, InstallerShowsHalfASecondAfterAMissingInstallOrAtOnceFromTheMenu) {
    installer->installed = false;
    auto& d = launched();
    EXPECT_EQ(overlay->shows, 0);
    queue.advance(0.5);
    EXPECT_EQ(overlay->shows, 1);
    EXPECT_EQ(overlay->shownView(), &installer->page);
    EXPECT_EQ(installer->delegate, delegate.get());
    EXPECT_EQ(Events(log.end() - 2, log.end()), (Events{"fresh", "showInstall"}));

    log.clear();
    d.menus().appMenu().findItem("Reinstall...")->perform();
    EXPECT_EQ(log, (Events{"upgrade", "showInstall"}));
    d.menus().appMenu().findItem("Uninstall...")->perform();
    EXPECT_EQ(log.back(), "showUninstall");
    EXPECT_EQ(overlay->shows, 3);
    d.uninstallCancelled();
    EXPECT_EQ(overlay->shownView(), nullptr);
}

// A first installation sends nothing in that run; later ones send once per model, if allowed.
TEST_F(AppDelegate, DiagnosticsGoOutOncePerModelAndOnlyWhenAllowed) {
    auto& d = make();
    const std::string sent = Corvane_BarAppDelegate::diagnosticPreferenceKey();
    d.sendDiagnosticsIfNeeded();
    queue.advance(3.0);
    EXPECT_TRUE(log.empty()) << "not allowed";

    prefs().setBool(true, "Diagnostics_Enabled");
    d.installSuceeded();
    EXPECT_EQ(storedUserDefault("ShownSetupScreen"), Value(true));
    queue.advance(3.0);
    EXPECT_TRUE(log.empty()) << "a first installation";

    d.installSuceeded();
    d.sendDiagnosticsIfNeeded();
    EXPECT_EQ(prefs().domain().copyValue(sent), Value(true));
    queue.advance(3.0);
    EXPECT_EQ(log, Events{"upload"});
    d.sendDiagnosticsIfNeeded();
    queue.advance(3.0);
    EXPECT_EQ(log.size(), 1u);
}

// Diagnostics describe the machine, so a new known model makes them due again.
TEST_F(AppDelegate, ANewKnownModelIsStoredAndMakesDiagnosticsDueAgain) {
    struct Case {
        const char* stored; // null: none stored yet
        const char* machine;
        const char* storedAfter;
        bool due;
    };
    const Case cases[] = {{nullptr, "MacBookPro18,3", "MacBookPro18,3", true},
                          {"MacBookPro18,3", "MacBookPro18,3", "MacBookPro18,3", false},
                          {"Macmini9,1", "MacBookPro18,3", "MacBookPro18,3", true},
                          {"Macmini9,1", "", "Macmini9,1", false}};
    const std::string sent = Corvane_BarAppDelegate::diagnosticPreferenceKey();
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.stored ? c.stored : "none") + " on '" + c.machine + "'");
        delegate.reset();
        MachineFacts machine;
        machine.modelIdentifier = c.machine;
        install(machine);
        if (c.stored) {
            prefs().userDefaults().setValue("_modelid", Value(c.stored));
            prefs().userDefaults().synchronize();
        }
        prefs().setBool(true, sent);
        make().checkModel();
        EXPECT_EQ(storedUserDefault("_modelid"), Value(c.storedAfter));
        EXPECT_EQ(prefs().domain().copyValue(sent) != Value(true), c.due);
    }
}

TEST_F(AppDelegate, OnlySettingsFilesAreOpenedAndTheirImportRefreshesTheTicks) {
    auto& d = launched();
    const auto text = dir / "settings.txt";
    writePropertyListFile(
        text, Value::dict({{"preferences", Value::dict({{"Foo", 1}})}, {"version", "6.72"}}));
    EXPECT_FALSE(d.application(text));
    EXPECT_TRUE(prefs().domain().copyValue("Foo").isNull());
    EXPECT_EQ(restarter->restarts, 0);

    MenuItem& combine = *d.menus().statsMenu().findItem("Combine Processes");
    ASSERT_TRUE(combine.state);
    const auto settings = dir / "settings.cvbp";
    writePropertyListFile(settings,
                          Value::dict({{"preferences", Value::dict({{"ProcessesCombine", false}})},
                                       {"version", "6.72"},
                                       {"build", "1224"}}));
    EXPECT_TRUE(d.application(settings));
    EXPECT_EQ(prefs().domain().copyValue("ProcessesCombine"), Value(false));
    EXPECT_EQ(restarter->restarts, 1);
    EXPECT_FALSE(combine.state);
}

// A new panel colour is fetched and told to the window; a chosen language restarts the program.
TEST_F(AppDelegate, ColourAndLanguageChangesReachThePeers) {
    auto& d = launched();
    int themeChanges = 0;
    auto observer = center.addObserver(kMenubarThemeChangedNotification,
                                       [&](const Notification&) { ++themeChanges; });
    log.clear();
    bus.postNotificationName(kDetectedMenubarColorChangedNotification);
    EXPECT_EQ(themeChanges, 1);
    d.menus().languageMenu().findItem("German")->perform();
    EXPECT_EQ(log, (Events{"fetchColor", "launch", "quit"}));
}

} // namespace
} // namespace corvane
