#include "NetCommand.h"

#include "CommandLine.h"
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/network/NetworkStatus.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"

#include <glib.h>
#include <iostream>

using corvane::NetworkStatCollector;
using corvane::NetworkStatus;
using corvane::Value;

void addNetCommand(CLI::App& app, NetOptions& o) {
    o.command = app.add_subcommand(
        "net", "Print the network services: interface, addresses, router, DNS, link and rates");
    o.command->add_flag("--json", o.json, "Print the services as JSON");
    o.command->add_flag("--watch", o.watch, "Print each service's rates once a second");
}

namespace {

// As the cycle does: the next sample's identifier, then the reading.
void beat(NetworkStatCollector& net) {
    net.setID(net.idForInterval(0) + 1, 0);
    net.updateStats();
}

void printRates(const NetworkStatCollector& net, bool json) {
    if (!json) {
        std::cout << NetworkStatus(net).ratesLine() << std::endl;
        return;
    }
    Value rates = Value::array();
    const Value report = NetworkStatus(net).dictionary();
    for (const Value& s : report["services"].arrayItems())
        rates.append(Value::dict({{"service", s["service"]},
                                  {"interface", s["interface"]},
                                  {"download", s["download"]},
                                  {"upload", s["upload"]}}));
    std::cout << corvane::cli::escapeC1Controls(corvane::toJson(rates)) << std::endl;
}

int watch(corvane::GLibMainQueue& queue, NetworkStatCollector& net, bool json) {
    queue.quitOnTermination();
    std::function<void()> next = [&] {
        beat(net);
        printRates(net, json);
        if (std::cout)
            queue.after(1.0, next);
        else
            queue.quit();
    };
    beat(net);
    queue.after(1.0, next);
    queue.run();
    return std::cout ? 0 : 1;
}

} // namespace

int runNet(const NetOptions& o) {
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    const corvane::EngineContext context{queue, corvane::kSettingsTierCount, nullptr};
    auto& net = corvane::NetworkStatCollectorLinux::sharedNetworkCollector(context);
    int status = 0;
    if (o.watch) {
        status = watch(queue, net, o.json);
    } else {
        // Rates need two readings a second apart.
        beat(net);
        g_usleep(G_USEC_PER_SEC);
        beat(net);
        net.networkStatus();
        const NetworkStatus report(net);
        if (o.json) {
            Value all = report.dictionary();
            all.set("source", net.source().name());
            std::cout << corvane::cli::escapeC1Controls(corvane::toJson(all, 2)) << "\n";
        } else {
            std::cout << report.text();
        }
    }
    corvane::NetworkStatCollectorLinux::cleanupShared();
    return status;
}
