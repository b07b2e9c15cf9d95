#include "status/StatusProgram.h"

#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "drawing/Artwork.h"
#include "engine/CollectorHistory.h"
#include "engine/HistoryDatabase.h"
#include "foundation/AtomicFile.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/GVariantValue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "shell/SectionItems.h"
#include "status/BusTestSupport.h"
#include "status/ItemPainter.h"
#include "status/PanelAppearance.h"
#include "status/PixelConversion.h"
#include "status/StatusCollectors.h"
#include "support/Spawn.h"
#include "support/TemporaryDirectory.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace corvane {
namespace {

using test::kWatcherXml;
using test::runMainContextUntil;

// The settings window as the status program sees it: always running.
class RunningApplication final : public ApplicationLauncher {
public:
    bool isRunning() override { return true; }
    bool launch() override { return true; }
    void sleep(double) override {}
};

// The status program in this process, on the test's session bus, with a watcher that lists
// what registers with it.
class StatusProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        bus = test::privateSessionConnection();
        client = test::privateSessionConnection();
        if (!bus || !client)
            GTEST_SKIP() << "no session bus";
        center = std::make_unique<DistributedNotificationCenter>(bus.get());
        watcher.onMethod("RegisterStatusNotifierItem",
                         [this](const test::FakeDBusService::Call& c) {
                             const gchar* name = nullptr;
                             g_variant_get(c.parameters, "(&s)", &name);
                             std::lock_guard lock(mutex);
                             registrations.emplace_back(name);
                             return test::FakeDBusService::Reply();
                         });
        ASSERT_TRUE(watcher.start());
    }
    void TearDown() override {
        program.reset();
        CVBPreferences::cleanup();
        PreferenceDomain::forgetAll();
    }

    // Settings as stored by the settings window; the items of `order` are on.
    void installPreferences(const Value& settings) {
        CVBPreferences::Environment env;
        env.domain = std::make_shared<PreferenceDomain>(kExtrasDomain, dir / "extras.plist");
        for (const auto& [key, value] : settings.dictionaryItems())
            env.domain->setValue(key, value);
        if (!settings.dictionaryItems().empty())
            env.domain->synchronize();
        env.userDefaults =
            std::make_shared<PreferenceDomain>(kApplicationDomain, dir / "app.plist");
        env.previousDomain =
            std::make_shared<PreferenceDomain>(kPreviousExtrasDomain, dir / "extras5.plist");
        env.appearance = appearance;
        env.queue = &queue;
        env.center = &local;
        CVBPreferences::install(std::make_unique<CVBPreferences>(std::move(env)));
    }

    StatusProgram& startProgram(StatusProgram::Options options = {}, bool withBus = true) {
        options.historyDirectory = dir / "history";
        options.tray.callTimeoutMs = 500;
        options.tray.retrySeconds = 0;
        program = std::make_unique<StatusProgram>(
            StatusProgram::Services{queue, *center, withBus ? bus.get() : nullptr, nullptr,
                                    appearance.get(), std::make_shared<RunningApplication>(),
                                    [this] { quitAsked = true; }},
            std::move(options));
        program->start();
        return *program;
    }

    std::size_t registered() {
        std::lock_guard lock(mutex);
        return registrations.size();
    }
    Value itemProperties(const std::string& name) {
        return test::itemProperties(client.get(), name);
    }
    // The dropdown's rows as a tray host reads them, after saying it is about to show them
    // (rows nobody looks at are not kept live): label and id.
    std::vector<std::pair<std::string, std::int64_t>> menuRows(const std::string& name) {
        test::menuCall(client.get(), name, "AboutToShow", g_variant_new("(i)", 0));
        const auto layout = test::menuCall(client.get(), name, "GetLayout",
                                           g_variant_new("(iias)", 0, -1, nullptr));
        std::vector<std::pair<std::string, std::int64_t>> rows;
        if (!layout.reply)
            return rows;
        const Value menu = fromGVariant(layout.reply.get());
        for (const auto& row : menu[1][2].arrayItems())
            rows.emplace_back(row[1]["label"].string(), row[0].integerValue());
        return rows;
    }
    std::string busName(const char* id) { return program->tray()->busNameOf(id); }

    test::TemporaryDirectory dir;
    GLibMainQueue queue;
    NotificationCenter local;
    std::shared_ptr<PanelAppearance> appearance =
        std::make_shared<PanelAppearance>(makeFixedAppearanceSource(false));
    GObjectRef<GDBusConnection> bus;
    GObjectRef<GDBusConnection> client;
    std::unique_ptr<DistributedNotificationCenter> center;
    std::mutex mutex;
    std::vector<std::string> registrations;
    test::FakeDBusService watcher{StatusNotifierItem::kWatcherName,
                                  StatusNotifierItem::kWatcherPath, kWatcherXml};
    std::unique_ptr<StatusProgram> program;
    bool quitAsked = false;
};

const Value kThreeItems =
    Value::dict({{"StatusItems-Order", Value::array({1, 2, 6})}, {"Status_TrayStyle", "wide"}});

TEST_F(StatusProgramTest, ItemsRegisterAtOnceShowWhatRenderDrawsAndHoldStillWhenUnchanged) {
    installPreferences(kThreeItems);
    startProgram();
    ASSERT_TRUE(runMainContextUntil([&] { return registered() == 3; }, 1.0));

    // The pixels on the bus are those `corvanebar render` draws from the same collectors: a
    // view made now, drawn between two beats.
    CVBCache artwork;
    const auto drawing = DrawingContext::forHost(CVBPreferences::sharedPreferences(), artwork, 1.0);
    auto reference = makeSectionItem("cpu", EngineContext{queue}, drawing);
    ASSERT_TRUE(reference);
    const auto& cpu = CPUStatCollectorLinux::sharedCPUCollector(EngineContext{queue});
    bool compared = false;
    for (int attempt = 0; attempt < 4 && !compared; ++attempt) {
        runMainContextUntil([&] { return cpu.hasReading(); }, 3.0);
        const auto before = cpu.lastIDForType(0);
        const Value pixmap = itemProperties(busName("cpu"))["IconPixmap"][0];
        const PanelPicture drawn = ItemPainter::picture(*reference->view, drawing);
        if (cpu.lastIDForType(0) != before)
            continue;
        EXPECT_EQ(pixmap[0].integerValue(), drawn.width());
        EXPECT_EQ(pixmap[1].integerValue(), 22);
        EXPECT_EQ(pixmap[2].data(), straightArgbBytes(drawn));
        compared = true;
    }
    EXPECT_TRUE(compared) << "every reading changed under the comparison";

    // No power source here: the battery's picture never changes, and is never sent again.
    test::SignalCounter icons(client.get(), busName("battery"), StatusNotifierItem::kInterface,
                              "NewIcon");
    const int frames = program->frames();
    runMainContextUntil([&] { return program->frames() >= frames + 2; }, 3.0);
    itemProperties(busName("battery"));
    EXPECT_EQ(icons.count(), 0);
    EXPECT_EQ(itemProperties(busName("memory"))["Title"].string(), "Memory");
}

TEST_F(StatusProgramTest, SwitchingAnItemOffAndOnTakesEffectWithinASecond) {
    installPreferences(kThreeItems);
    startProgram();
    ASSERT_TRUE(runMainContextUntil([&] { return registered() == 3; }, 1.0));
    const std::string memory = busName("memory");

    CVBSetObjectForKey(Value::array({1, 6}), "StatusItems-Order");
    center->postNotificationName("CorvaneBarDisableStatusItem");
    EXPECT_TRUE(
        runMainContextUntil([&] { return !test::nameHasOwner(client.get(), memory); }, 1.0));
    EXPECT_EQ(busName("memory"), "");

    CVBSetObjectForKey(Value::array({2, 1, 6}), "StatusItems-Order");
    center->postNotificationName("CorvaneBarEnableStatusItem");
    EXPECT_TRUE(runMainContextUntil([&] { return registered() == 4; }, 1.0));
    ASSERT_TRUE(runMainContextUntil([&] { return !program->shownItems().empty(); }, 2.0));
    EXPECT_EQ(program->shownItems().front().id, "memory");

    // A section first turned on while running starts measuring, and its texts show figures.
    CVBSetObjectForKey(Value::array({2, 1, 6, 4}), "StatusItems-Order");
    center->postNotificationName("CorvaneBarEnableStatusItem");
    const auto networkLabel = [&] {
        for (const auto& item : program->shownItems())
            if (item.id == "network")
                return item.label;
        return std::string();
    };
    EXPECT_TRUE(runMainContextUntil([&] { return !networkLabel().empty(); }, 2.5));
}

TEST_F(StatusProgramTest, TheDropdownListsFiguresAndItsRowsAct) {
    installPreferences(kThreeItems);
    startProgram();
    ASSERT_TRUE(runMainContextUntil([&] { return registered() == 3; }, 1.0));
    std::vector<std::string> heard;
    auto opened = center->addObserver("", [&](const Notification& n) { heard.push_back(n.name); });
    // Nobody looks at a dropdown yet: no process is read.
    ASSERT_TRUE(runMainContextUntil([&] { return program->frames() > 1; }, 2.0));
    EXPECT_FALSE(program->readsProcesses());

    std::vector<std::pair<std::string, std::int64_t>> rows;
    ASSERT_TRUE(runMainContextUntil(
        [&] {
            rows = menuRows(busName("memory"));
            return rows.size() > 3 && rows[1].first.starts_with("Pressure: ");
        },
        3.0));
    EXPECT_EQ(rows.front().first, "Memory");
    // Shown, the rows are up to date and list the processes by memory at once.
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                            [](const auto& row) { return row.first == "Top Processes"; }));
    EXPECT_TRUE(program->readsProcesses());
    EXPECT_EQ(rows[rows.size() - 2].first, "Open Corvane Bar Settings…");
    EXPECT_EQ(rows.back().first, "Quit");
    test::menuEvent(client.get(), busName("memory"), rows[rows.size() - 2].second);
    EXPECT_TRUE(runMainContextUntil(
        [&] { return std::count(heard.begin(), heard.end(), "CorvaneBar-Open-Memory") == 1; },
        2.0));

    const auto cpuRows = menuRows(busName("cpu"));
    const auto history = std::find_if(cpuRows.begin(), cpuRows.end(), [](const auto& row) {
        return row.first == "History: 10 Minutes";
    });
    ASSERT_NE(history, cpuRows.end());
    test::menuEvent(client.get(), busName("cpu"), history->second);
    EXPECT_EQ(CVBIntegerForKey("Status_DropdownGraphPeriod"), 1);
    EXPECT_TRUE(runMainContextUntil(
        [&] { return std::count(heard.begin(), heard.end(), "CorvaneBarExternalChange") == 1; },
        2.0));

    // Closed menus and asks that stopped let the process list go.
    test::menuEvent(client.get(), busName("memory"), 0, "closed");
    EXPECT_TRUE(runMainContextUntil([&] { return !program->readsProcesses(); }, 5.0));

    test::menuEvent(client.get(), busName("battery"), menuRows(busName("battery")).back().second);
    EXPECT_TRUE(quitAsked);
}

TEST_F(StatusProgramTest, APanelThatDrawsTheItemsGetsPicturesToMatchAndNoTrayTwins) {
    installPreferences(kThreeItems);
    startProgram();
    ASSERT_TRUE(runMainContextUntil([&] { return registered() == 3; }, 1.0));
    EXPECT_FALSE(CVBPreferences::sharedPreferences().isMenubarDark());
    GVariantBuilder style;
    g_variant_builder_init(&style, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&style, "{sv}", "dark", g_variant_new_boolean(TRUE));
    g_variant_builder_add(&style, "{sv}", "height", g_variant_new_int32(44));
    const auto set = test::callAndWait(client.get(), g_dbus_connection_get_unique_name(bus.get()),
                                       PanelService::kObjectPath, PanelService::kInterface,
                                       "SetStyle", g_variant_new("(a{sv})", &style));
    ASSERT_EQ(set.error, "");
    EXPECT_TRUE(CVBPreferences::sharedPreferences().isMenubarDark());
    // It shows the items itself: tray icons would show each a second time.
    EXPECT_TRUE(runMainContextUntil([&] { return busName("memory").empty(); }, 1.0));
    EXPECT_TRUE(runMainContextUntil(
        [&] {
            const auto picture =
                test::callAndWait(client.get(), g_dbus_connection_get_unique_name(bus.get()),
                                  PanelService::kObjectPath, PanelService::kInterface, "GetPicture",
                                  g_variant_new("(ssd)", "memory", "wide", 1.0));
            return picture.reply && fromGVariant(picture.reply.get())[1].integerValue() == 44;
        },
        2.0));

    // When it leaves the bus, the tray icons come back, drawn to the style it set.
    g_dbus_connection_close_sync(client.get(), nullptr, nullptr);
    client = test::privateSessionConnection();
    EXPECT_TRUE(runMainContextUntil(
        [&] {
            return !busName("memory").empty() &&
                   itemProperties(busName("memory"))["IconPixmap"][0][1].integerValue() == 44;
        },
        2.0));
}

TEST_F(StatusProgramTest, HeadlessFramesFallOnWholeSecondsAndTheHistoryGrows) {
    installPreferences(kThreeItems);
    StatusProgram::Options options;
    options.headlessDirectory = dir / "frames";
    options.dropdowns = true;
    startProgram(std::move(options), false);
    // A tier-1 period is six seconds; its row is written at the beat after it ends.
    std::vector<double> offsets;
    const double end = SystemClock::shared().now() + 10.5;
    while (SystemClock::shared().now() < end) {
        struct stat st {};
        const int frames = program->frames();
        runMainContextUntil([&] { return program->frames() > frames; }, 1.5);
        if (::stat((dir / "frames" / "cpu.json").c_str(), &st) == 0 && program->frames() > 1) {
            const double fraction = static_cast<double>(st.st_mtim.tv_nsec) / 1e9;
            offsets.push_back(std::min(fraction, 1 - fraction));
        }
    }
    ASSERT_GE(offsets.size(), 5u);
    // The median: on a loaded test machine (sanitizers, tests in parallel) one write may be
    // late; a beat that drifts off the second moves them all.
    std::nth_element(offsets.begin(), offsets.begin() + offsets.size() / 2, offsets.end());
    EXPECT_LE(offsets[offsets.size() / 2], 0.05);
    const Value memory = parseJson(*readFileContents(dir / "frames" / "memory.json"));
    EXPECT_EQ(memory["title"].string(), "Memory");
    EXPECT_EQ(memory["dropdown"].arrayItems().back()["action"].string(), "quit");
    EXPECT_TRUE(std::filesystem::exists(dir / "frames" / "battery.png"));

    // Rows are committed ten beats at a time, and whatever is open when the program ends.
    program.reset();
    const auto history = HistoryDatabase::open(dir / "history" / StatusCollectors::kHistoryFile);
    ASSERT_TRUE(history);
    EXPECT_GT(history->largestSample(CollectorHistory::tableName("cpu", 1)), 0);
    // Sections that are off do not sample.
    EXPECT_EQ(history->largestSample(CollectorHistory::tableName("network", 1)), 0);
    EXPECT_EQ(history->largestSample(CollectorHistory::tableName("diskactivity", 1)), 0);
}

TEST_F(StatusProgramTest, BadSettingsAndNoPanelAreLoggedAndTheItemsStillDraw) {
    {
        std::ofstream corrupt(dir / "extras.plist");
        corrupt << "<?xml version=\"1.0\"?><plist><dict><key>StatusItems-Order";
    }
    LogCapture log;
    installPreferences(Value::dict());
    StatusProgram::Options options;
    options.tray.busAddress = "unix:path=" + (dir / "no-bus").string();
    startProgram(std::move(options), false);
    ASSERT_TRUE(runMainContextUntil([&] { return program->frames() > 1; }, 3.0));
    // The built-in order: the processor and memory items of a desktop machine.
    EXPECT_EQ(program->shownItems().front().id, "cpu");
    EXPECT_EQ(program->tray()->busNameOf("cpu"), "");
    const std::string lines = log.lines();
    EXPECT_TRUE(log.contains("did not read")) << lines;
    EXPECT_TRUE(test::saidOnce(log, "Tray items: no session bus")) << lines; // not every frame
}

// The built program, as the session starts it: folders of its own, and only the bus, PATH
// and HOME of this environment.
class StatusProgramBinary : public ::testing::Test {
protected:
    std::vector<std::string> command(const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> argv{"env", "-i"};
        for (const char* name :
             {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"})
            argv.push_back(std::string(name) + "=" + (dir / name).string());
        for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "PATH", "HOME"})
            if (const char* value = std::getenv(name))
                argv.push_back(std::string(name) + "=" + value);
        argv.push_back(CVB_STATUS_PROGRAM);
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        return argv;
    }

    test::TemporaryDirectory dir;
};

TEST_F(StatusProgramBinary, ASecondStartSaysOneRunsAndTermClosesTheHistory) {
    auto first = command();
    std::vector<char*> argv;
    for (auto& argument : first)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    GPid pid = 0;
    ASSERT_TRUE(g_spawn_async(nullptr, argv.data(), nullptr,
                              GSpawnFlags(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_SEARCH_PATH), nullptr,
                              nullptr, &pid, nullptr));
    const auto history = dir / "XDG_DATA_HOME" / "corvanebar" / StatusCollectors::kHistoryFile;
    ASSERT_TRUE(runMainContextUntil([&] { return std::filesystem::exists(history); }, 10.0));
    const auto second = test::spawn(command());
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.output, "corvanebar-status is already running\n");

    ::kill(pid, SIGTERM); // `env` ran the program in its own process
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    // The last connection to close folds the write-ahead log into the file.
    EXPECT_FALSE(std::filesystem::exists(history.string() + "-wal"));
}

TEST_F(StatusProgramBinary, OnceWritesOneFrameWithReadings) {
    EXPECT_EQ(test::spawn(command({"--headless", (dir / "frames").string(), "--once"})).status, 0);
    const Value cpu = parseJson(readFileContents(dir / "frames" / "cpu.json").value_or(""));
    EXPECT_TRUE(cpu["label"].string().ends_with("%")) << toJson(cpu);
    EXPECT_EQ(test::spawn(command({"--once"})).status, 2);
}

TEST(StatusProgramUnit, TheUserUnitVerifies) {
    // The user manager's lookup needs a runtime folder, which CI sessions lack.
    test::TemporaryDirectory runtime;
    const auto verify = test::spawn({"env", "XDG_RUNTIME_DIR=" + runtime.path().string(),
                                     "systemd-analyze", "--user", "verify", CVB_STATUS_UNIT});
    EXPECT_EQ(verify.status, 0) << verify.output;
}

} // namespace
} // namespace corvane
