#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar weather`: the kept forecast as the panel words it; `weather search TEXT`,
// `weather select ID|current`, and the units commands under it.
struct WeatherOptions {
    CLI::App* command = nullptr;
    CLI::App* search = nullptr;
    CLI::App* select = nullptr;
    std::string text;
    std::string file;  // the kept forecast; empty: the status program's
    int exitCode = -1; // set by a subcommand that ran
};

void addWeatherCommand(CLI::App& app, WeatherOptions& options);
int runWeather(const WeatherOptions& options);
