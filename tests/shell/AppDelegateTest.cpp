#include "MenuFixture.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/PropertyList.h"
#include "preferences/PreferenceMigration.h"
#include "preferences/SettingsFile.h"
#include "shell/Corvane_BarAppDelegate.h"
#include "shell/GeneralController.h"
#include "shell/ProductSite.h"
#include "shell/SectionManager.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <thread>
#include <utility>

namespace corvane {
namespace {

// One list of what start-up asked of the world, in order; a call repeated at once counts once.
struct EventLog {
    std::vector<std::string> events;
    // Runs before each call is written down, to look for what happened since the last one.
    std::function<void()> beforeEach;
    // While set, calls are not written down (the test itself is poking the delegate).
    bool quiet = false;

    void record(const std::string& event) {
        if (quiet)
            return;
        if (beforeEach) {
            quiet = true;
            beforeEach();
            quiet = false;
        }
        if (events.empty() || events.back() != event)
            events.push_back(event);
    }
};

// The delegate's main queue: the test's own, which also logs each timer as it is set while
// `log` is given, and cancels at once (only counting) the timers set while `holding`.
struct RecordingQueue final : MainQueue {
    ManualMainQueue& queue;
    EventLog* log = nullptr;
    bool holding = false;
    int held = 0;
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
        *firing = id;
        if (holding) {
            ++held;
            queue.cancel(id);
        } else if (log) {
            char text[32];
            std::snprintf(text, sizeof text, "after %g", seconds);
            log->record(text);
        }
        return id;
    }
    void cancel(TimerId id) override {
        cancels.push_back(id);
        queue.cancel(id);
    }
    const Clock& clock() const override { return queue; }
};

// A peer whose calls go into the start-up log.
template <class Peer>
struct Logged : Peer {
    EventLog& log;
    explicit Logged(EventLog& l)
        : log(l) {}
};

struct RecordingWindow final : Logged<ApplicationWindow> {
    struct Focus final : Logged<SectionWindow> {
        using Logged::Logged;
        void makeFirstResponder(SourceListItem* item) override {
            log.record("firstResponder");
            SectionWindow::makeFirstResponder(item);
        }
    };
    struct List final : Logged<SourceList> {
        using Logged::Logged;
        void addItem(SourceListItem& item) override {
            log.record("sections");
            SourceList::addItem(item);
        }
    };

    using Logged::Logged;
    Focus focus{log};
    List list{log};
    SectionViewContainer container;
    std::function<void()> onPrepare;
    std::function<void()> onShow;

    void prepare() override {
        log.record("prepare");
        if (onPrepare)
            onPrepare();
    }
    void show() override {
        log.record("show");
        if (onShow)
            onShow();
    }
    SectionWindow* sectionWindow() override { return &focus; }
    SectionViewContainer* sectionViewContainer() override { return &container; }
    SourceList* sourceList() override { return &list; }
    void setOverlayDelegate(Corvane_BarAppDelegate&) override { log.record("overlayDelegate"); }
    void setOverlayParentWindow(OverlayController&) override { log.record("overlayParent"); }
    void quit() override { log.record("quit"); }
};

struct RecordingCollectors final : Logged<StartupCollectors>, CityLookup {
    using Logged::Logged;
    std::function<void()> onGPU;
    std::filesystem::path citiesPath;
    void setupGPUCollector() override {
        log.record("gpu");
        if (onGPU)
            onGPU();
    }
    void setCityDatabasePath(const std::filesystem::path& path) override {
        log.record("citiesPath");
        citiesPath = path;
    }
    const CityLookup* cities() override {
        log.record("cities");
        return this;
    }
    Value cityWithIdentifier(std::int64_t identifier) const override {
        return Value::dict({{"identifier", identifier}, {"city", "Lund"}});
    }
};

struct RecordingHelp final : Logged<HelpController> {
    using Logged::Logged;
    void setup() override { log.record("help"); }
    SectionPage* view() override { return &page; }
    SectionPage page{"Help"};
};

struct RecordingInstaller final : Logged<InstallerPeer> {
    using Logged::Logged;
    bool installed = true;
    SectionPage page{"Installer"};
    InstallerDelegate* delegate = nullptr;
    bool isInstalledAndValid() override {
        log.record("isInstalledAndValid");
        return installed;
    }
    void setUpgrade(bool upgrade) override { log.record(upgrade ? "upgrade" : "fresh"); }
    void setDelegate(InstallerDelegate* d) override { delegate = d; }
    void showInstall() override { log.record("showInstall"); }
    void showUninstall() override { log.record("showUninstall"); }
    SectionPage* view() override { return &page; }
};

struct RecordingUpdateChecker final : Logged<UpdateCheckerPeer> {
    using Logged::Logged;
    UpdateCheckerSettings settings;
    UpdateCheckerDelegate* delegate = nullptr;
    void setUp(UpdateCheckerDelegate& d, const UpdateCheckerSettings& s) override {
        log.record("updateChecker");
        delegate = &d;
        settings = s;
    }
};

struct RecordingUploader final : Logged<StatUploaderPeer> {
    using Logged::Logged;
    void fetchAndUpload() override { log.record("upload"); }
};

// Answers on a thread of its own, as a peer's link does, when the test lets it; or never.
struct RecordingVersionPeer final : Logged<VersionPeer> {
    RecordingVersionPeer(EventLog& l, std::string n)
        : Logged(l)
        , name(std::move(n)) {}
    std::string name;
    std::optional<std::pair<double, std::int64_t>> answer;
    std::vector<Reply> waiting;
    void version(Reply reply) override {
        log.record(name);
        waiting.push_back(std::move(reply));
    }
    void reply() {
        if (answer)
            for (auto& r : waiting)
                std::thread([&r, a = *answer] { r(a.first, a.second); }).join();
        waiting.clear();
    }
};

struct RecordingRestarter final : StatusItemRestarter {
    int restarts = 0;
    void restartStatusItem() override { ++restarts; }
};

struct RecordingLauncher final : Logged<ProcessLauncher> {
    using Logged::Logged;
    bool launchDetached(const std::vector<std::string>&) override {
        log.record("launch");
        return true;
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
        peers.menuActions = actions;
        peers.launcher = launcher;
        peers.restarter = restarter;
        peers.fetchMenubarColor = [this] {
            ++colourFetches;
            log.record("fetchColor");
        };
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

    // The steps of applicationDidFinishLaunching that call no peer, each written into the log
    // the first time its effect shows. Looked for before each peer call and once at the end, so
    // two of them in a row are ordered only by a peer call between them.
    void noteQuietSteps(Corvane_BarAppDelegate& d, bool combineTickWanted) {
        auto note = [&](const char* step, bool done) {
            if (done && quietStepsSeen.insert(step).second)
                log.events.push_back(step);
        };
        note("labels", d.versionLabel() == "Version: 6.72 (1224)" &&
                           d.menus().appMenu().itemAtIndex(0).title == "About Corvane Bar");
        note("updateMenuItems",
             d.menus().statsMenu().findItem("Combine Processes")->state == combineTickWanted);

        const bool wasQuiet = std::exchange(log.quiet, true);
        bus.postNotificationName(kResetPreferencesAppNotification,
                                 Value::dict({{"key", kProbeKey}}));
        const bool resetHeard = prefs().objectForKey(kProbeKey) == Value(2);
        const int fetches = colourFetches;
        timers.holding = true;
        timers.held = 0;
        for (const char* name : {kDaemonXPCReadyNotification, kAgentXPCReadyNotification,
                                 kStatusItemXPCReadyNotification})
            bus.postNotificationName(name);
        bus.postNotificationName(kDetectedMenubarColorChangedNotification);
        timers.holding = false;
        log.quiet = wasQuiet;
        note("resetObserver", resetHeard);
        note("xpcObservers", timers.held == 3 && colourFetches == fetches + 1);
    }
    static constexpr const char* kProbeKey = "LaunchOrderProbe";
    std::set<std::string> quietStepsSeen;
    int colourFetches = 0;

    template <class Peer>
    std::shared_ptr<Peer> logged() {
        return std::make_shared<Peer>(log);
    }

    test::ScopedEnvironment logs{"CORVANEBAR_LOG_DIR", (dir / "logs").c_str()};
    EventLog log;
    std::shared_ptr<test::CountingOverlay> overlay = std::make_shared<test::CountingOverlay>();
    std::shared_ptr<RecordingWindow> window = logged<RecordingWindow>();
    std::shared_ptr<RecordingCollectors> collectors = logged<RecordingCollectors>();
    std::shared_ptr<RecordingHelp> help = logged<RecordingHelp>();
    std::shared_ptr<RecordingInstaller> installer = logged<RecordingInstaller>();
    std::shared_ptr<RecordingUpdateChecker> updateChecker = logged<RecordingUpdateChecker>();
    std::shared_ptr<RecordingUploader> uploader = logged<RecordingUploader>();
    std::shared_ptr<RecordingVersionPeer> daemon =
        std::make_shared<RecordingVersionPeer>(log, "daemon");
    std::shared_ptr<RecordingVersionPeer> agent =
        std::make_shared<RecordingVersionPeer>(log, "agent");
    std::shared_ptr<RecordingVersionPeer> statusItem =
        std::make_shared<RecordingVersionPeer>(log, "statusItem");
    std::shared_ptr<test::RecordingMenuActions> actions =
        std::make_shared<test::RecordingMenuActions>();
    std::shared_ptr<RecordingLauncher> launcher = logged<RecordingLauncher>();
    std::shared_ptr<RecordingRestarter> restarter = std::make_shared<RecordingRestarter>();
    RecordingQueue timers{queue};
    std::vector<std::string> closedSections;
    std::unique_ptr<Corvane_BarAppDelegate> delegate;
};

TEST_F(AppDelegate, WillFinishLaunchingRunsItsStepsInOrder) {
    // Cities stored as bare identifiers need the database: migrateCities asks for it.
    prefs().setObject(Value::array({3}), "Time_Cities");
    auto& d = make();
    window->onPrepare = [&] {
        EXPECT_EQ(queue.pendingCount(), 1u) << "the second translation pass is scheduled first";
    };
    window->onShow = [&] {
        EXPECT_EQ(d.menus().appMenu().numberOfItems(), 9u) << "menus are built before showing";
        EXPECT_GT(d.menus().languageMenu().numberOfItems(), 2u);
        EXPECT_TRUE(d.menus().languageMenu().itemAtIndex(0).state);
    };
    collectors->onGPU = [&] {
        for (const char* process :
             {"InstallerBundle", "App", "InstallerHelper", "Corvane Bar Status", "Agent"})
            EXPECT_TRUE(std::filesystem::is_directory(dir / "logs" / process)) << process;
    };

    d.applicationWillFinishLaunching();
    EXPECT_EQ(log.events,
              (std::vector<std::string>{"prepare", "show", "gpu", "citiesPath", "cities", "help",
                                        "sections", "firstResponder", "overlayDelegate"}));
    EXPECT_EQ(collectors->citiesPath, Paths::dataDirectory() / "cities.db");
    EXPECT_EQ(prefs().domain().copyValue("Time_Cities"),
              Value::array({Value::dict({{"identifier", 3}, {"city", "Lund"}})}));
    EXPECT_EQ(d.menus().windowMenu().itemAtIndex(0).title, "Corvane Bar");
    ASSERT_NE(SectionManager::sharedSectionManager().general(), nullptr);
    EXPECT_EQ(SectionManager::sharedSectionManager().general()->helpView(), &help->page);
    EXPECT_TRUE(prefs().useWindowBasedThemeCheck);
    CVBLog("written to the application's own log");
    EXPECT_TRUE(std::filesystem::exists(dir / "logs" / "App" / "App.log"));
}

TEST_F(AppDelegate, DidFinishLaunchingRunsItsStepsInOrderAndAsksEveryPeerForItsVersion) {
    prefs().setBool(true, "Diagnostics_Enabled");
    auto& d = make();
    d.applicationWillFinishLaunching();
    log.events.clear();
    updateChecker->settings = {};
    // Effects that show which quiet step has run: a key another process changed, waiting to be
    // read afresh, and a tick that no longer matches its setting.
    prefs().setObject(Value(1), kProbeKey);
    PreferenceDomain other(kExtrasDomain, prefs().domain().file());
    other.setValue(kProbeKey, Value(2));
    other.synchronize();
    const bool combineTick = d.menus().statsMenu().findItem("Combine Processes")->state;
    prefs().setBool(!combineTick, "ProcessesCombine");
    log.beforeEach = [&] { noteQuietSteps(d, !combineTick); };
    timers.log = &log;

    d.applicationDidFinishLaunching();
    noteQuietSteps(d, !combineTick);
    EXPECT_EQ(log.events,
              (std::vector<std::string>{"labels", "resetObserver", "updateChecker", "overlayParent",
                                        "updateMenuItems", "firstResponder", "isInstalledAndValid",
                                        "after 2", "xpcObservers", "after 1"}));
    EXPECT_EQ(updateChecker->delegate, static_cast<UpdateCheckerDelegate*>(&d));
    EXPECT_EQ(updateChecker->settings.feed,
              std::string(kProductSiteAddress) + "/corvanebar6/version-json.php");
    EXPECT_EQ(updateChecker->settings.installMode, 3);
    EXPECT_DOUBLE_EQ(updateChecker->settings.currentVersion, 6.72);
    EXPECT_EQ(updateChecker->settings.currentVersionBuild, 1224);

    log.events.clear();
    queue.advance(1.0);
    EXPECT_EQ(log.events, (std::vector<std::string>{"daemon", "agent", "statusItem"}));
    queue.advance(1.0);
    EXPECT_EQ(log.events.back(), "upload") << "diagnostics go out two seconds after start";
}

TEST_F(AppDelegate, VersionLabelsShowTheRepliesAndKeepTheirTextWithoutOne) {
    LogCapture captured;
    auto& d = launched();
    queue.advance(1.0);
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
}

TEST_F(AppDelegate, RepliesAfterTheDelegateIsGoneAreDropped) {
    LogCapture captured;
    launched();
    queue.advance(1.0);
    delegate.reset();
    // A delegate made afterwards may well sit where the old one was.
    auto& fresh = make();
    settleReplies();
    EXPECT_TRUE(captured.contains("A version reply came after the window closed; dropped"));
    EXPECT_EQ(fresh.daemonLabel(), "");
    EXPECT_EQ(fresh.statusItemLabel(), "");
}

TEST_F(AppDelegate, ShutDownCancelsOnlyTheTimersStillWaiting) {
    prefs().setBool(true, "Diagnostics_Enabled");
    launched();
    queue.advance(1.0);
    settleReplies();
    // The version requests have fired and are forgotten (kept, the list would grow for as
    // long as the window stays open); the diagnostics upload still waits.
    ASSERT_GE(timers.fired.size(), 3u);
    delegate.reset();
    for (const auto id : timers.cancels)
        EXPECT_EQ(timers.fired.count(id), 0u) << "cancelled timer " << id << " had fired";
    queue.advance(2.0);
    EXPECT_EQ(std::count(log.events.begin(), log.events.end(), "upload"), 0);
}

TEST_F(AppDelegate, EndingClosesEverySectionBeforeTheMainLoopStops) {
    SectionManager::install(std::make_unique<test::CustomSectionManager>(
        sectionServices(), test::closingSections([this](const std::string& xib) {
            closedSections.push_back(xib);
            log.record("didClose");
        })));
    auto& d = launched();
    closedSections.clear();
    log.events.clear();
    d.windowWillClose();
    EXPECT_EQ(closedSections.size(), 11u);
    EXPECT_EQ(log.events, (std::vector<std::string>{"didClose", "quit"}));
}

TEST_F(AppDelegate, AMissingInstallationShowsTheInstallerHalfASecondLater) {
    installer->installed = false;
    launched();
    EXPECT_EQ(overlay->shows, 0);
    queue.advance(0.5);
    EXPECT_EQ(overlay->shows, 1);
    EXPECT_EQ(overlay->shownView(), &installer->page);
    EXPECT_EQ(installer->delegate, delegate.get());
    const std::vector<std::string> tail(log.events.end() - 2, log.events.end());
    EXPECT_EQ(tail, (std::vector<std::string>{"fresh", "showInstall"}));
}

TEST_F(AppDelegate, ReinstallAndUninstallShowTheInstallerAtOnce) {
    auto& d = launched();
    log.events.clear();
    d.menus().appMenu().findItem("Reinstall...")->perform();
    EXPECT_EQ(log.events, (std::vector<std::string>{"upgrade", "showInstall"}));
    d.menus().appMenu().findItem("Uninstall...")->perform();
    EXPECT_EQ(log.events.back(), "showUninstall");
    EXPECT_EQ(overlay->shows, 2);
    d.uninstallCancelled();
    EXPECT_EQ(overlay->shownView(), nullptr);
}

TEST_F(AppDelegate, AFirstInstallationSendsNoDiagnosticsInThatRunButALaterOneDoes) {
    prefs().setBool(true, "Diagnostics_Enabled");
    auto& d = make();
    d.installSuceeded();
    EXPECT_EQ(storedUserDefault("ShownSetupScreen"), Value(true));
    EXPECT_EQ(overlay->removals, 1);
    queue.advance(3.0);
    EXPECT_TRUE(log.events.empty()) << "nothing uploaded";

    d.installSuceeded();
    EXPECT_EQ(overlay->removals, 2);
    queue.advance(2.0);
    EXPECT_EQ(log.events, std::vector<std::string>{"upload"});
}

TEST_F(AppDelegate, DiagnosticsGoOutOncePerModelAndOnlyWhenAllowed) {
    auto& d = make();
    const std::string sent = Corvane_BarAppDelegate::diagnosticPreferenceKey();
    EXPECT_EQ(sent, "Diagnostics_Sent_4.0");
    d.sendDiagnosticsIfNeeded();
    queue.advance(3.0);
    EXPECT_TRUE(log.events.empty()) << "not allowed";

    prefs().setBool(true, "Diagnostics_Enabled");
    d.sendDiagnosticsIfNeeded();
    d.sendDiagnosticsIfNeeded();
    EXPECT_EQ(prefs().domain().copyValue(sent), Value(true));
    queue.advance(1.9);
    EXPECT_TRUE(log.events.empty());
    queue.advance(0.1);
    EXPECT_EQ(log.events, std::vector<std::string>{"upload"});
    d.sendDiagnosticsIfNeeded();
    queue.advance(3.0);
    EXPECT_EQ(log.events.size(), 1u);
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

// The reset observer itself is checked with the launch order.
TEST_F(AppDelegate, ANewPanelColourIsFetchedAndToldToTheWindow) {
    launched();
    int themeChanges = 0;
    auto observer = center.addObserver(kMenubarThemeChangedNotification,
                                       [&](const Notification&) { ++themeChanges; });
    log.events.clear();
    bus.postNotificationName(kDetectedMenubarColorChangedNotification);
    EXPECT_EQ(log.events, std::vector<std::string>{"fetchColor"});
    EXPECT_EQ(themeChanges, 1);
}

TEST_F(AppDelegate, AChosenLanguageEndsTheApplicationAfterStartingItAgain) {
    auto& d = launched();
    log.events.clear();
    d.menus().languageMenu().findItem("German")->perform();
    EXPECT_EQ(log.events, (std::vector<std::string>{"launch", "quit"}));
}

} // namespace
} // namespace corvane
