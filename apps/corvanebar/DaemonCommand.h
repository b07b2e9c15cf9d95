#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar daemon [status|version]`: whether the privileged daemon answers on the system
// bus ("running, version A B" or "not running: no answer on the system bus"), or its version
// alone. Exit status 0 when it answers, 1 when not.
struct DaemonOptions {
    CLI::App* command = nullptr;
    CLI::App* status = nullptr;
    CLI::App* version = nullptr;
    std::string bus = "system";
};

void addDaemonCommand(CLI::App& app, DaemonOptions& options);
int runDaemonCommand(const DaemonOptions& options);
