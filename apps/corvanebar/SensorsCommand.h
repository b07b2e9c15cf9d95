#pragma once

#include <CLI/CLI.hpp>

// `corvanebar sensors [--json] [--watch]`: every sensor under its heading with its value,
// limits, percentage and the extremes seen; `--watch` prints them again on each update.
struct SensorsOptions {
    CLI::App* command = nullptr;
    bool json = false;
    bool watch = false;
};

void addSensorsCommand(CLI::App& app, SensorsOptions& options);
int runSensors(const SensorsOptions& options);
