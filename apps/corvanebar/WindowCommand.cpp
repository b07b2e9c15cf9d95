#include "WindowCommand.h"

#include "foundation/Log.h"
#include "window/WindowApplication.h"

#include <cstdlib>

void addWindowCommand(CLI::App& app, WindowCommandOptions& o) {
    o.command = app.add_subcommand("window",
                                   "Open the settings window, or raise the open one, at a section");
    o.command->add_option("SECTION", o.section,
                          "general, notifications, weather, cpu, memory, disks, network, "
                          "sensors, battery, time or combined");
    // A section that is a command too ("disks", "weather") would be taken for that command:
    // each section is also a word of its own under `window`, found first.
    for (const char* section : {"general", "notifications", "weather", "cpu", "memory", "disks",
                                "network", "sensors", "battery", "time", "combined"}) {
        o.command->add_subcommand(section)->group("")->fallthrough()->callback(
            [&o, section] { o.section = section; });
    }
    o.command->add_option("--style", o.style, "light or dark; default: the desktop's")
        ->check(CLI::IsMember({"light", "dark"}));
    o.command->add_option("--open", o.files, "A settings file (.cvbp) to import, after asking");
    o.command->add_option("--screenshot", o.screenshot,
                          "Write the window to this PNG file once it has drawn, then close");
}

bool hasGraphicalSession() {
    for (const char* name : {"WAYLAND_DISPLAY", "DISPLAY"}) {
        if (const char* value = std::getenv(name); value && *value)
            return true;
    }
    return false;
}

int runWindow(const WindowCommandOptions& o) {
    if (!hasGraphicalSession()) {
        std::cerr << "corvanebar window: no desktop to show a window on (neither "
                     "WAYLAND_DISPLAY nor DISPLAY is set)\n";
        return 1;
    }
    corvane::setupLog("App");
    auto application =
        corvane::WindowApplication::create({o.section, o.style, o.files, o.screenshot});
    return application->runOrForward();
}
