#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar machine [--json]`: the model the catalogue takes this machine for, its flags,
// fans and default sensors, and the operating system, processor, memory and core counts.
struct MachineOptions {
    CLI::App* command = nullptr;
    bool json = false;
};

// `corvanebar smc keys [--type T]` and `corvanebar smc read KEY`: the controller's keys with
// their type, size, bytes and decoded value (the applesmc driver; root only).
struct SmcOptions {
    CLI::App* command = nullptr;
    CLI::App* keys = nullptr;
    CLI::App* read = nullptr;
    std::string type;
    std::string key;
};

void addMachineCommands(CLI::App& app, MachineOptions& machine, SmcOptions& smc);
int runMachine(const MachineOptions& options);
int runSmc(const SmcOptions& options);
