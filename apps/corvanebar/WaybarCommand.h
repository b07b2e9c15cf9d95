#pragma once

#include <CLI/CLI.hpp>
#include <string>

// `corvanebar waybar ITEM [--once]`: the item's value as Waybar's JSON lines ("text",
// "tooltip", "class", "percentage") for a `custom/` module, read from the running status
// program once a second; a line goes out whenever it changes.
struct WaybarOptions {
    CLI::App* command = nullptr;
    std::string item;
    bool once = false;
};

void addWaybarCommand(CLI::App& app, WaybarOptions& options);
int runWaybar(const WaybarOptions& options);
