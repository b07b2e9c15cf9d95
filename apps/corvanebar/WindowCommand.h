#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

// `corvanebar window`: the settings window, or the running one raised at a section.
struct WindowCommandOptions {
    CLI::App* command = nullptr;
    std::string section;
    std::string style;
    std::vector<std::string> files;
    std::string screenshot;
};

void addWindowCommand(CLI::App& app, WindowCommandOptions& options);
// Whether a desktop is there to show a window on.
bool hasGraphicalSession();
int runWindow(const WindowCommandOptions& options);
