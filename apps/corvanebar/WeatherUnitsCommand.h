#pragma once

#include <CLI/CLI.hpp>

// `corvanebar weather units` and `corvanebar weather format KIND VALUE`, added under the `weather`
// command; each sets `exitCode` when it runs.
void addWeatherUnitsCommands(CLI::App& weather, int& exitCode);
