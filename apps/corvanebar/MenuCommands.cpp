#include "MenuCommands.h"

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "shell/MenuCommandLine.h"

#include <iostream>

void addMenuCommands(CLI::App& app, MenuOptions& o) {
    o.menu = app.add_subcommand(
        "menu", "Print the application's menus with their ticks, or choose one of their items");
    o.toggle = o.menu->add_subcommand(
        "toggle", "Choose a menu item by its title, as clicking it does: its setting is written "
                  "and the running parts are told");
    o.toggle->add_option("TITLE", o.title, "The item's title, as \"corvanebar menu\" prints it")
        ->required();
    o.language = app.add_subcommand(
        "language", "Print the language of the product and the choices, or choose one");
    o.language->add_option("KEY", o.key,
                           "A language key of the list, or \"system\" for the desktop's");
}

bool menuCommandParsed(const MenuOptions& o) {
    return o.menu->parsed() || o.language->parsed();
}

int runMenuCommand(const MenuOptions& o) {
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    auto& center = corvane::DistributedNotificationCenter::defaultCenter();
    corvane::MenuCommandLine commands(
        corvane::CVBPreferences::sharedPreferences(), center, queue, [&queue] { queue.drain(); },
        std::cout, std::cerr);
    int status = 0;
    if (o.toggle->parsed())
        status = commands.toggle(o.title);
    else if (o.menu->parsed())
        status = commands.printMenus();
    else if (o.key.empty())
        status = commands.printLanguage();
    else
        status = commands.setLanguage(o.key);
    // The posts must leave before the process does.
    center.flush();
    return status;
}
