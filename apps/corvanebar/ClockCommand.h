#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar clock [--at TIME]`: each location of the menu-bar clock, its lines as the panel
// shows them.
struct ClockOptions {
    CLI::App* command = nullptr;
    std::string at;
};

void addClockCommand(CLI::App& app, ClockOptions& options);
int runClock(const ClockOptions& options);
