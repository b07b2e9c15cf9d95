#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar cities search TEXT [--limit N]` and `corvanebar cities near LAT LON`.
struct CitiesOptions {
    CLI::App* command = nullptr;
    CLI::App* search = nullptr;
    CLI::App* near = nullptr;
    std::string text;
    int limit = 20;
    double latitude = 0;
    double longitude = 0;
};

void addCitiesCommand(CLI::App& app, CitiesOptions& options);
int runCities(const CitiesOptions& options);

// `corvanebar clocks`, and `add ID`, `remove ID`, `rename ID NAME` after it: the world clocks.
struct ClocksOptions {
    CLI::App* command = nullptr;
    CLI::App* add = nullptr;
    CLI::App* remove = nullptr;
    CLI::App* rename = nullptr;
    std::string identifier;
    std::string name;
};

void addClocksCommand(CLI::App& app, ClocksOptions& options);
int runClocks(const ClocksOptions& options);

// `corvanebar location [--wait S]`: the machine's position from the location service.
struct LocationOptions {
    CLI::App* command = nullptr;
    int wait = 10;
};

void addLocationCommand(CLI::App& app, LocationOptions& options);
int runLocation(const LocationOptions& options);
