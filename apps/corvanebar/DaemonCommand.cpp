#include "DaemonCommand.h"

#include "foundation/GLibHandles.h"
#include "links/DaemonProbe.h"

#include <iostream>

namespace {

// A daemon that is up answers within milliseconds; one that hangs is as good as absent.
constexpr int kTimeoutMilliseconds = 2000;

} // namespace

void addDaemonCommand(CLI::App& app, DaemonOptions& options) {
    options.command = app.add_subcommand("daemon", "Tell whether the privileged daemon runs");
    options.command->add_option("--bus", options.bus, "The bus to ask: system or session")
        ->check(CLI::IsMember({"system", "session"}));
    options.status = options.command->add_subcommand(
        "status", "Print \"running, version A B\" or why it is not running (the default)");
    options.version = options.command->add_subcommand("version", "Print the daemon's version");
    options.command->require_subcommand(0, 1);
    // `daemon status --bus session` as well as `daemon --bus session status`.
    options.status->fallthrough();
    options.version->fallthrough();
}

int runDaemonCommand(const DaemonOptions& options) {
    using namespace corvane;
    GErrorHolder error;
    auto bus = GObjectRef<GDBusConnection>::adopt(g_bus_get_sync(
        options.bus == "session" ? G_BUS_TYPE_SESSION : G_BUS_TYPE_SYSTEM, nullptr, error.out()));
    const auto version = probeDaemon(bus.get(), kTimeoutMilliseconds);
    if (options.version->parsed() && version)
        std::cout << version->version << " " << version->build << "\n";
    else
        std::cout << daemonStatusLine(version, options.bus) << "\n";
    return version ? 0 : 1;
}
