#pragma once

#include <CLI/CLI.hpp>

// `corvanebar net [--json] [--watch]`: the network services in the system's order with their
// interface, addresses, router, DNS, link and rates; `--watch` prints the rates once a second.
struct NetOptions {
    CLI::App* command = nullptr;
    bool json = false;
    bool watch = false;
};

void addNetCommand(CLI::App& app, NetOptions& options);
int runNet(const NetOptions& options);
