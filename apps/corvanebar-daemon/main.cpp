// corvanebar-daemon: the privileged helper on the system bus that reads what only root may
// read (sensor keys, everyone's processes, the machine's serial). Wiring only; the service
// lives in src/links.
#include "foundation/GLibHandles.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "links/DaemonService.h"
#include "links/NetworkManagerActions.h"
#include "links/ProcessInfo.h"
#include "links/SMCDaemonHardware.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

namespace {

struct Arguments {
    std::string bus = "system";
    std::string sysroot = "/";
};

std::optional<int> parse(int argc, char** argv, Arguments& a) {
    CLI::App app{"Corvane Bar daemon: answers the readings only root may take",
                 "corvanebar-daemon"};
    app.add_option("--bus", a.bus, "The bus to serve on: system (the default) or session")
        ->check(CLI::IsMember({"system", "session"}));
    app.add_option("--sysroot", a.sysroot, "Read /proc and /sys under this folder")
        ->check(CLI::ExistingDirectory);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e, std::cout, std::cerr) == 0 ? 0 : 2;
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char** argv) {
    using namespace corvane;
    Arguments arguments;
    if (const auto status = parse(argc, argv, arguments))
        return *status;
    std::signal(SIGPIPE, SIG_IGN);
    // Lines go to standard error, which the service manager keeps in the journal.
    GErrorHolder error;
    auto bus = GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(
        arguments.bus == "session" ? G_BUS_TYPE_SESSION : G_BUS_TYPE_SYSTEM, nullptr, error.out()));
    if (!bus) {
        CVBLog("Daemon: no %s bus: %s", arguments.bus.c_str(), error.message());
        return 1;
    }
    // A lost bus is the end of the service, not a reason to stop the process abruptly.
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);

    GLibMainQueue queue;
    const SysRoot root(arguments.sysroot);
    SMCDaemonHardware hardware(root);
    // Fans are logged only; the network goes through NetworkManager on the same bus.
    LoggedPrivilegedActions fans;
    NetworkManagerActions actions(bus.get(), fans);
    const DesktopEntries entries(DesktopEntries::standardFolders());
    DaemonService service(bus.get(), {queue, root, hardware, actions, entries});
    if (!service.publish())
        return 1;
    g_signal_connect_swapped(bus.get(), "closed", G_CALLBACK(+[](GLibMainQueue* q) { q->quit(); }),
                             &queue);
    queue.quitOnTermination();
    CVBLog("Daemon: serving on the %s bus", arguments.bus.c_str());
    queue.run();
    g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr);
    return 0;
}
