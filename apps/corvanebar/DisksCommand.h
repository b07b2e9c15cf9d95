#pragma once

#include <CLI/CLI.hpp>

// `corvanebar disks [--json] [--watch]`: the volumes by group with their space, and the read
// and write rates of each disk; `--watch` prints the rates once a second and the volumes again
// whenever a disk or a mount comes or goes.
struct DisksOptions {
    CLI::App* command = nullptr;
    bool json = false;
    bool watch = false;
};

void addDisksCommand(CLI::App& app, DisksOptions& options);
int runDisks(const DisksOptions& options);
