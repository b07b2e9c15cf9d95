#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar render`: a section's panel item as a picture.
struct RenderOptions {
    CLI::App* command = nullptr;
    std::string section;
    bool dark = false;
    bool background = false;
    double scale = 1;
    int seconds = 2;
    std::string out;
    std::string at;     // the clock's moment; empty: now
    std::string record; // the weather item's forecast; empty: the one the status program kept
};

void addRenderCommand(CLI::App& app, RenderOptions& options);
int runRender(const RenderOptions& options);
