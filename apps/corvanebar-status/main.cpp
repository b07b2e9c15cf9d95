// corvanebar-status: the background program that samples the machine each second, keeps the
// history, and shows the panel items. Wiring only; the program lives in src/status.
#include "clock/CityDatabaseLookup.h"
#include "engine/LogindSleepWakeSource.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "preferences/CVBPreferences.h"
#include "status/InstanceLock.h"
#include "status/PanelAppearance.h"
#include "status/StatusCollectors.h"
#include "status/StatusProgram.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

namespace {

struct Arguments {
    std::string headless;
    bool once = false;
    bool dropdowns = false;
};

std::optional<int> parse(int argc, char** argv, Arguments& a) {
    CLI::App app{"Corvane Bar status items: samples the machine each second, keeps the history "
                 "and shows the panel items",
                 "corvanebar-status"};
    auto* headless = app.add_option("--headless", a.headless,
                                    "Write DIR/<item>.png and DIR/<item>.json each second "
                                    "instead of showing the items on the panel");
    app.add_flag("--once", a.once, "With --headless: write one frame with readings and stop")
        ->needs(headless);
    app.add_flag("--dropdowns", a.dropdowns,
                 "With --headless: keep every dropdown's rows live and write them, as if all "
                 "were open")
        ->needs(headless);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // 0 after the help, 2 for arguments that are wrong.
        return app.exit(e, std::cout, std::cerr) == 0 ? 0 : 2;
    }
    return std::nullopt;
}

corvane::GObjectRef<GDBusConnection> sessionBus() {
    corvane::GErrorHolder failure;
    auto bus = corvane::GObjectRef<GDBusConnection>::adopt(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, failure.out()));
    if (!bus)
        corvane::CVBLog("No session bus (%s): the items are not shown and the settings window "
                        "cannot reach this program",
                        failure.message());
    return bus;
}

} // namespace

int main(int argc, char** argv) {
    using namespace corvane;
    Arguments arguments;
    if (const auto status = parse(argc, argv, arguments))
        return *status;
    const bool headless = !arguments.headless.empty();
    std::signal(SIGPIPE, SIG_IGN);
    setupLog("Status");

    // A headless copy only writes files, so it may run beside the one on the panel.
    std::optional<InstanceLock> lock;
    if (!headless) {
        lock.emplace(Paths::runtimeDirectory() / "corvanebar-status.lock");
        if (!lock->acquired()) {
            std::cout << "corvanebar-status is already running\n";
            return 0;
        }
    }

    GLibMainQueue queue;
    auto environment = CVBPreferences::systemEnvironment(queue);
    auto appearance = std::make_shared<PanelAppearance>(std::move(environment.appearance));
    environment.appearance = appearance;
    CVBPreferences::install(std::make_unique<CVBPreferences>(std::move(environment)));
    // World clocks stored as bare identifiers become cities before the dropdown reads them.
    if (!headless)
        migrateStoredCities(CVBPreferences::sharedPreferences(), queue,
                            CityStatCollector::defaultDatabasePath());

    const auto bus = headless ? GObjectRef<GDBusConnection>() : sessionBus();
    LogindSleepWakeSource sleepWake;
    StatusProgram::Options options;
    options.historyDirectory = StatusCollectors::defaultHistoryDirectory();
    if (headless)
        options.headlessDirectory = arguments.headless;
    options.once = arguments.once;
    options.dropdowns = arguments.dropdowns;
    options.checkInternet = !headless;
    int status = 0;
    {
        StatusProgram program(
            StatusProgram::Services{queue, DistributedNotificationCenter::defaultCenter(),
                                    bus.get(), &sleepWake, appearance.get(),
                                    makeSessionApplicationLauncher(), [&queue] { queue.quit(); }},
            std::move(options));
        // The history is closed cleanly on the way out, however the end is asked for.
        queue.quitOnTermination();
        program.start();
        queue.run();
        if (arguments.once && program.frames() == 0)
            status = 1;
    }
    DistributedNotificationCenter::defaultCenter().flush();
    CVBPreferences::cleanup();
    return status;
}
