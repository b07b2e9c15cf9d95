#include "PingCommand.h"

#include "collectors/ping/HLVPing.h"
#include "collectors/ping/PingPacket.h"
#include "collectors/ping/PingReport.h"
#include "collectors/ping/ReverseDNS.h"
#include "foundation/GLibMainQueue.h"

#include <glib-unix.h>
#include <iostream>

using corvane::PingItemBase;
using corvane::Value;

void addPingCommands(CLI::App& app, PingOptions& ping, RdnsOptions& rdns) {
    ping.command = app.add_subcommand("ping", "Send ICMP echo requests and print the replies");
    ping.command->add_option("host", ping.host, "Name or address to ping")->required();
    ping.command->add_option("--count", ping.count, "Number of packets")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{0x7fffffff}));
    ping.command->add_option("--timeout", ping.timeout, "Seconds to wait for each reply")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{3600}));
    ping.command->add_flag("-6", ping.ipv6, "Ping over IPv6 only");
    rdns.command = app.add_subcommand("rdns", "Print the host name of an IPv4 address");
    rdns.command->add_option("address", rdns.address, "IPv4 address")->required();
}

namespace {

// Prints what the ping tells and ends the loop with the command's status.
class PingPrinter final : public corvane::HLVPingDelegate {
public:
    explicit PingPrinter(corvane::GLibMainQueue& queue)
        : queue_(queue) {}
    int status = 1;

    void ping(const PingItemBase&, const Value& result) override { print(result); }
    void ping6(const PingItemBase&, const Value& result) override { print(result); }
    void pingFailed(const PingItemBase&, const std::string& error) override { fail(error); }
    void pingFailed6(const PingItemBase&, const std::string& error) override { fail(error); }
    void pingComplete(const PingItemBase&, const Value& results) override { complete(results); }
    void pingComplete6(const PingItemBase&, const Value& results) override { complete(results); }

private:
    void print(const Value& result) {
        std::cout << corvane::ping::resultLine(result) << std::endl;
        if (!result["timeout"].boolValue())
            status = 0;
    }
    void fail(const std::string& error) {
        std::cerr << error << std::endl;
        status = 2;
        queue_.quit();
    }
    void complete(const Value& results) {
        std::cout << corvane::ping::summaryLines(results) << std::flush;
        queue_.quit();
    }

    corvane::GLibMainQueue& queue_;
};

} // namespace

int runPing(const PingOptions& o) {
    corvane::GLibMainQueue queue;
    PingPrinter printer(queue);
    corvane::HLVPing ping(queue);
    ping.delegate = &printer;
    ping.packets = o.count;
    ping.timeout = o.timeout;
    const std::string host = corvane::ping::cleanedPingAddress(o.host);
    // Ctrl-C ends the run; the front cancels its item when it goes.
    struct Interrupt {
        corvane::GLibMainQueue* queue;
        bool fired = false;
    } interrupt{&queue};
    const guint source = g_unix_signal_add(
        SIGINT,
        [](gpointer data) {
            auto* i = static_cast<Interrupt*>(data);
            i->fired = true;
            i->queue->quit();
            return G_SOURCE_REMOVE;
        },
        &interrupt);
    if (o.ipv6)
        ping.ping6(host);
    else
        ping.ping(host);
    queue.run();
    if (!interrupt.fired)
        g_source_remove(source);
    return printer.status;
}

int runRdns(const RdnsOptions& o) {
    const auto name = corvane::reverseDNS(o.address);
    if (!name) {
        std::cerr << "No name for " << o.address << std::endl;
        return 1;
    }
    std::cout << *name << std::endl;
    return 0;
}
