#pragma once

#include <CLI/CLI.hpp>

// `corvanebar gnome-extension install|enable|status|remove`: puts the GNOME Shell extension
// where the user's Shell looks for it, in the build for that Shell, and switches it on.
struct GnomeExtensionOptions {
    CLI::App* command = nullptr;
    CLI::App* install = nullptr;
    CLI::App* enable = nullptr;
    CLI::App* status = nullptr;
    CLI::App* remove = nullptr;
    int shellVersion = 0; // 0: the running Shell's, else the installed one's
};

void addGnomeExtensionCommand(CLI::App& app, GnomeExtensionOptions& options);
int runGnomeExtensionCommand(const GnomeExtensionOptions& options);
