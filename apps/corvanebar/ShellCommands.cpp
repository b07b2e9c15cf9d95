#include "ShellCommands.h"

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/Log.h"
#include "shell/SectionCommands.h"
#include "shell/SectionLauncher.h"
#include "shell/SectionManager.h"

#include <iostream>

void addShellCommands(CLI::App& app, ShellOptions& o) {
    const std::string names = "cpu, memory, disks, network, sensors, battery, time, combined, "
                              "weather or notifications";
    o.sections = app.add_subcommand(
        "sections", "List the sections with their keys and whether their panel items are on "
                    "(for Notifications, whether its rules are on)");
    o.on = app.add_subcommand("on", "Turn a section's panel item on, as its switch does");
    o.on->add_option("SECTION", o.section, names)->required();
    o.off = app.add_subcommand("off", "Turn a section's panel item off, as its switch does");
    o.off->add_option("SECTION", o.section, names)->required();
    o.open = app.add_subcommand("open", "Ask a running settings window to show a section");
    o.open
        ->add_option("SECTION", o.section,
                     "cpu, memory, disks, network, sensors, battery, time or weather")
        ->required();
}

bool shellCommandParsed(const ShellOptions& o) {
    return o.sections->parsed() || o.on->parsed() || o.off->parsed() || o.open->parsed();
}

int runShellCommand(const ShellOptions& o) {
    corvane::setupLog("App");
    auto& manager = corvane::SectionManager::sharedSectionManager();
    auto launcher = corvane::makeSessionApplicationLauncher();
    corvane::SectionCommands commands(manager, std::cout, std::cerr, launcher.get());
    int status = 0;
    if (o.sections->parsed())
        status = commands.list();
    else if (o.on->parsed() || o.off->parsed())
        status = commands.setEnabled(o.section, o.on->parsed());
    else
        status = commands.open(o.section);
    // The posts must leave before the process does.
    manager.distributedCenter().flush();
    corvane::SectionManager::cleanup();
    return status;
}
