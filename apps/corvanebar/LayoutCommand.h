#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar layout SECTION`, and `add CODE [--at N]`, `remove N`, `move FROM TO`,
// `spacer N WIDTH` after it. Positions count from 1, as the rows are printed.
struct LayoutOptions {
    CLI::App* command = nullptr;
    CLI::App* add = nullptr;
    CLI::App* remove = nullptr;
    CLI::App* move = nullptr;
    CLI::App* spacer = nullptr;
    std::string section;
    long code = 0;
    long at = 0; // 0: the end of the row
    long position = 0;
    long to = 0;
    long width = 0;
};

void addLayoutCommand(CLI::App& app, LayoutOptions& options);
int runLayout(const LayoutOptions& options);
