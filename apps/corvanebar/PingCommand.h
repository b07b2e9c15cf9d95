#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar ping HOST [--count N] [--timeout S] [-6]`: a line per result, then the totals;
// status 0 with a reply, 1 without, 2 when the ping failed ("Unable to create socket", ...).
// `corvanebar rdns ADDRESS`: the host name of an IPv4 address.
struct PingOptions {
    CLI::App* command = nullptr;
    std::string host;
    std::int64_t count = 4;
    std::int64_t timeout = 1;
    bool ipv6 = false;
};

struct RdnsOptions {
    CLI::App* command = nullptr;
    std::string address;
};

void addPingCommands(CLI::App& app, PingOptions& ping, RdnsOptions& rdns);
int runPing(const PingOptions& options);
int runRdns(const RdnsOptions& options);
