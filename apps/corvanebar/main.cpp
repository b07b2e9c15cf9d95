// corvanebar: the settings application's command.
#include "CitiesCommand.h"
#include "ClockCommand.h"
#include "CommandLine.h"
#include "DaemonCommand.h"
#include "DisksCommand.h"
#include "GnomeExtensionCommand.h"
#include "LayoutCommand.h"
#include "MachineCommand.h"
#include "MenuCommands.h"
#include "NetCommand.h"
#include "PingCommand.h"
#include "RenderCommand.h"
#include "SensorsCommand.h"
#include "ShellCommands.h"
#include "StatusCommand.h"
#include "WaybarCommand.h"
#include "WeatherCommand.h"
#include "WindowCommand.h"
#include "corvane/BuildInfo.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/Log.h"
#include "foundation/MainQueue.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceCommands.h"
#include "preferences/SettingsFile.h"
#include "sky/SkyReport.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iostream>

namespace {

std::string versionText() {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f (%i)", corvane::build::kVersion,
                  corvane::build::kBuildNumber);
    return text;
}

struct SkyOptions {
    double latitude = 0.0;
    double longitude = 0.0;
    std::string date;
};

void addSkyCommand(CLI::App& app, SkyOptions& options) {
    auto* sky = app.add_subcommand(
        "sky", "Print the sun's and moon's positions, the moon's phase, rise and set for a place");
    sky->add_option("--lat", options.latitude, "Latitude in degrees, north positive")
        ->check(corvane::cli::finiteNumber(-90.0, 90.0));
    sky->add_option("--lon", options.longitude, "Longitude in degrees, east positive")
        ->check(corvane::cli::finiteNumber(-180.0, 180.0));
    sky->add_option("--date", options.date,
                    "Moment as YYYY-MM-DD[THH:MM[:SS]][Z|+HH:MM], local time without a zone; "
                    "default now");
}

int runSky(const SkyOptions& options) {
    corvane::Date when{corvane::SystemClock::shared().now()};
    if (!options.date.empty()) {
        auto parsed = corvane::parseSkyDate(options.date);
        if (!parsed) {
            std::cerr << "corvanebar sky: cannot read the date \"" << options.date
                      << "\"; use YYYY-MM-DD[THH:MM[:SS]][Z|+HH:MM]\n";
            return 2;
        }
        when = *parsed;
    }
    std::cout << corvane::skyReport(options.latitude, options.longitude, when);
    return 0;
}

struct PrefsOptions {
    CLI::App* command = nullptr;
    CLI::App* list = nullptr;
    CLI::App* get = nullptr;
    CLI::App* set = nullptr;
    CLI::App* remove = nullptr;
    bool withDefaults = false;
    bool storedOnly = false;
    std::string key;
    std::string value;
    std::string type = "auto";
};

void addPrefsCommand(CLI::App& app, PrefsOptions& o) {
    o.command = app.add_subcommand("prefs", "Read and write the settings");
    o.command->require_subcommand(1);
    o.list =
        o.command->add_subcommand("list", "Print the stored settings, one \"KEY = VALUE\" a line");
    o.list->add_flag("--defaults", o.withDefaults, "Include every key with a built-in default");
    o.get = o.command->add_subcommand("get", "Print the value of a key as the product reads it");
    o.get->add_option("KEY", o.key)->required();
    o.get->add_flag("--stored", o.storedOnly, "Only a stored value, not the default");
    o.set = o.command->add_subcommand("set", "Store a value and tell the running processes");
    o.set->add_option("KEY", o.key)->required();
    o.set->add_option("VALUE", o.value)->required();
    o.set
        ->add_option("--type", o.type,
                     "auto, int, real, bool, string, json or plist (a property-list fragment "
                     "such as '<array><integer>1</integer></array>')")
        ->check(CLI::IsMember({"auto", "int", "real", "bool", "string", "json", "plist"}));
    o.remove =
        o.command->add_subcommand("remove", "Remove a stored value; the default applies again");
    o.remove->add_option("KEY", o.key)->required();
}

struct SettingsOptions {
    CLI::App* exportCommand = nullptr;
    CLI::App* importCommand = nullptr;
    CLI::App* resetCommand = nullptr;
    std::string file;
    bool yes = false;
};

void addSettingsCommands(CLI::App& app, SettingsOptions& o) {
    o.exportCommand =
        app.add_subcommand("export", "Write the settings, but this machine's own, to a .cvbp file");
    o.exportCommand->add_option("FILE", o.file, "The file; \".cvbp\" is added when missing")
        ->required();
    o.importCommand = app.add_subcommand(
        "import", "Replace the settings by those of a .cvbp file, keeping this machine's own");
    o.importCommand->add_option("FILE", o.file)->required();
    o.resetCommand = app.add_subcommand(
        "reset", "Remove every setting but this machine's own: the defaults apply again");
    o.resetCommand->add_flag("--yes", o.yes, "Confirm; without it nothing is removed");
}

// Tells the running programs that the settings changed under them.
void announceReplacedSettings() {
    auto& center = corvane::DistributedNotificationCenter::defaultCenter();
    center.postNotificationName("CorvaneBarExternalChange");
    center.flush();
}

int runSettings(const SettingsOptions& o) {
    auto& preferences = corvane::CVBPreferences::sharedPreferences();
    corvane::SystemStatusItemRestarter restarter;
    corvane::SettingsFile settings(preferences, restarter);
    std::filesystem::path file = o.file;
    if (o.exportCommand->parsed()) {
        if (file.extension() != ".cvbp")
            file += ".cvbp";
        if (const auto result = settings.exportSettings(file); !result) {
            std::cerr << "corvanebar export: " << result.reason << "\n";
            return 1;
        }
        std::cout << "Exported the settings to " << file.string() << "\n";
        return 0;
    }
    if (o.importCommand->parsed()) {
        if (file.extension() != ".cvbp") {
            std::cerr << "corvanebar import: " << file.string()
                      << " is not a settings file (.cvbp); nothing changed\n";
            return 2;
        }
        const auto result = settings.importSettingsFile(file);
        if (!result) {
            std::cerr << "corvanebar import: " << result.reason << "; nothing changed\n";
            return 1;
        }
        announceReplacedSettings();
        std::cout << "Imported the settings of " << file.string() << "\n";
        return 0;
    }
    if (!o.yes) {
        std::cerr << "corvanebar reset: this removes every setting but this machine's own; "
                     "run it again with --yes\n";
        return 2;
    }
    if (const auto result = settings.resetSettings(); !result) {
        std::cerr << "corvanebar reset: " << result.reason << "; nothing changed\n";
        return 1;
    }
    announceReplacedSettings();
    std::cout << "The settings are back to their defaults\n";
    return 0;
}

int runPrefs(const PrefsOptions& o) {
    corvane::PreferenceCommands commands(corvane::CVBPreferences::sharedPreferences(),
                                         corvane::DistributedNotificationCenter::defaultCenter(),
                                         std::cout, std::cerr);
    if (o.list->parsed())
        return commands.list(o.withDefaults);
    if (o.get->parsed())
        return commands.get(o.key, o.storedOnly);
    if (o.set->parsed())
        return commands.set(o.key, o.value, *corvane::commandValueTypeNamed(o.type));
    return commands.remove(o.key);
}

struct Commands {
    bool showVersion = false;
    SkyOptions sky;
    PrefsOptions prefs;
    StatusOptions status;
    SettingsOptions settings;
    RenderOptions render;
    ShellOptions shell;
    MenuOptions menu;
    GnomeExtensionOptions gnomeExtension;
    WaybarOptions waybar;
    DaemonOptions daemon;
    LayoutOptions layout;
    ClockOptions clock;
    CitiesOptions cities;
    ClocksOptions clocks;
    LocationOptions location;
    WeatherOptions weather;
    WindowCommandOptions window;
    NetOptions net;
    PingOptions ping;
    RdnsOptions rdns;
    DisksOptions disks;
    SensorsOptions sensors;
    MachineOptions machine;
    SmcOptions smc;
};

void addCommands(CLI::App& app, Commands& c) {
    app.add_flag("-v,--version", c.showVersion, "Print the version and exit");
    addSkyCommand(app, c.sky);
    addPrefsCommand(app, c.prefs);
    addStatusCommand(app, c.status);
    addSettingsCommands(app, c.settings);
    addRenderCommand(app, c.render);
    addShellCommands(app, c.shell);
    addMenuCommands(app, c.menu);
    addGnomeExtensionCommand(app, c.gnomeExtension);
    addWaybarCommand(app, c.waybar);
    addDaemonCommand(app, c.daemon);
    addLayoutCommand(app, c.layout);
    addClockCommand(app, c.clock);
    addCitiesCommand(app, c.cities);
    addClocksCommand(app, c.clocks);
    addLocationCommand(app, c.location);
    addWeatherCommand(app, c.weather);
    addWindowCommand(app, c.window);
    addNetCommand(app, c.net);
    addPingCommands(app, c.ping, c.rdns);
    addDisksCommand(app, c.disks);
    addSensorsCommand(app, c.sensors);
    addMachineCommands(app, c.machine, c.smc);
}

int runCommand(const CLI::App& app, const Commands& c) {
    if (app.got_subcommand("sky"))
        return runSky(c.sky);
    if (c.status.command->parsed())
        return runStatus(c.status);
    if (c.render.command->parsed())
        return runRender(c.render);
    if (c.gnomeExtension.command->parsed())
        return runGnomeExtensionCommand(c.gnomeExtension);
    if (c.waybar.command->parsed())
        return runWaybar(c.waybar);
    if (c.daemon.command->parsed())
        return runDaemonCommand(c.daemon);
    if (c.window.command->parsed())
        return runWindow(c.window);
    if (c.net.command->parsed())
        return runNet(c.net);
    if (c.ping.command->parsed())
        return runPing(c.ping);
    if (c.rdns.command->parsed())
        return runRdns(c.rdns);
    if (c.disks.command->parsed())
        return runDisks(c.disks);
    if (c.sensors.command->parsed())
        return runSensors(c.sensors);
    if (c.machine.command->parsed())
        return runMachine(c.machine);
    if (c.smc.command->parsed())
        return runSmc(c.smc);
    if (c.layout.command->parsed())
        return runLayout(c.layout);
    if (c.clock.command->parsed())
        return runClock(c.clock);
    if (c.cities.command->parsed())
        return runCities(c.cities);
    if (c.clocks.command->parsed())
        return runClocks(c.clocks);
    if (c.location.command->parsed())
        return runLocation(c.location);
    if (c.weather.command->parsed())
        return runWeather(c.weather);
    if (menuCommandParsed(c.menu))
        return runMenuCommand(c.menu);
    if (shellCommandParsed(c.shell))
        return runShellCommand(c.shell);
    if (c.settings.exportCommand->parsed() || c.settings.importCommand->parsed() ||
        c.settings.resetCommand->parsed()) {
        corvane::setupLog("App");
        return runSettings(c.settings);
    }
    if (c.prefs.command->parsed()) {
        // A missing desktop portal and the like are normal; they belong in the log, not on
        // the terminal. The commands print their own errors.
        corvane::setupLog("App");
        return runPrefs(c.prefs);
    }
    // Started from a desktop with nothing asked: the window, as a launcher would open it.
    if (!c.showVersion && hasGraphicalSession())
        return runWindow(c.window);
    std::cout << "Corvane Bar " << versionText() << "\n";
    if (c.showVersion)
        return 0;
    std::cout << "\n" << app.help();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // A reader that goes away (`status --watch | head -1`) then shows as a failed write, which
    // ends the command, whether or not a library has set the signal aside already.
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app{"Corvane Bar " + versionText() + " - system monitor for the desktop panel",
                 "corvanebar"};
    Commands commands;
    addCommands(app, commands);
    if (const auto status = corvane::cli::parseArguments(app, argc, argv, std::cout, std::cerr))
        return corvane::cli::finishOutput(*status, std::cerr);
    // The commands that read settings read the user's own; `render` installs its own first.
    corvane::CVBPreferences::installOnFirstUse(&corvane::CVBPreferences::systemEnvironment);
    const int status = runCommand(app, commands);
    // Whichever command loaded the settings says when their damaged file was set aside.
    corvane::reportSetAsideSettings(std::cerr);
    return corvane::cli::finishOutput(status, std::cerr);
}
