#pragma once

#include <CLI/CLI.hpp>

// `corvanebar status`: this machine's processor, load, memory and power sources.
struct StatusOptions {
    CLI::App* command = nullptr;
    bool watch = false;
    bool json = false;
};

void addStatusCommand(CLI::App& app, StatusOptions& options);
int runStatus(const StatusOptions& options);
