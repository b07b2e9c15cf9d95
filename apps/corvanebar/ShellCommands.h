#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar sections`, `on SECTION`, `off SECTION`, `open SECTION`.
struct ShellOptions {
    CLI::App* sections = nullptr;
    CLI::App* on = nullptr;
    CLI::App* off = nullptr;
    CLI::App* open = nullptr;
    std::string section;
};

void addShellCommands(CLI::App& app, ShellOptions& options);
// Whether one of these commands was given.
bool shellCommandParsed(const ShellOptions& options);
int runShellCommand(const ShellOptions& options);
