// corvanebar: the settings application's command.
#include "MenuCommands.h"
#include "RenderCommand.h"
#include "ShellCommands.h"
#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/battery/BatteryStatus.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/cpu/ProcessorStatus.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "collectors/memory/MemoryStatus.h"
#include "corvane/BuildInfo.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "foundation/MainQueue.h"
#include "preferences/PreferenceCommands.h"
#include "preferences/SettingsFile.h"
#include "sky/SkyReport.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <glib-unix.h>
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
        ->check(CLI::Range(-90.0, 90.0));
    sky->add_option("--lon", options.longitude, "Longitude in degrees, east positive")
        ->check(CLI::Range(-180.0, 180.0));
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

struct StatusOptions {
    CLI::App* command = nullptr;
    bool watch = false;
    bool json = false;
};

void addStatusCommand(CLI::App& app, StatusOptions& o) {
    o.command =
        app.add_subcommand("status", "Print this machine's processor load and load averages");
    o.command->add_flag("--watch", o.watch, "Run the one-second cycle and print a line a second");
    o.command->add_flag("--json", o.json, "Print the sample dictionaries as JSON");
}

// Prints a line each time the collector has a new sample, and asks for one on every beat.
class StatusPrinter final : public corvane::StatCollectorDelegate {
public:
    StatusPrinter(const corvane::ProcessorStatus& status, corvane::LoadStatCollector& load,
                  bool json)
        : status_(status)
        , load_(load)
        , json_(json) {}

    void collectorUpdatedForMode(corvane::StatCollector&, int) override {
        load_.updateStats();
        if (json_)
            std::cout << corvane::toJson(status_.dictionary()) << std::endl;
        else
            std::cout << status_.line() << std::endl;
    }
    std::optional<bool> collectorShouldUpdateStateForSequence(corvane::StatCollector&,
                                                              std::int64_t) override {
        return true;
    }

private:
    const corvane::ProcessorStatus& status_;
    corvane::LoadStatCollector& load_;
    bool json_;
};

int runStatus(const StatusOptions& o) {
    corvane::GLibMainQueue queue;
    const corvane::EngineContext context{queue, corvane::kSettingsTierCount, nullptr};
    auto& cpu = corvane::CPUStatCollectorLinux::sharedCPUCollector(context);
    auto& load = corvane::LoadStatCollectorLinux::sharedLoadCollector(context);
    auto& memory = corvane::MemoryStatCollectorLinux::sharedMemoryCollector(context);
    const corvane::ProcessorStatus status(cpu, load);
    const corvane::MemoryStatus memoryStatus(memory);
    auto& battery = corvane::BatteryStatCollectorLinux::sharedBatteryCollector(context);
    const corvane::BatteryStatus batteryStatus(battery);
    if (!o.watch) {
        // Cores count from their first reading, and memory's shares from its second sample:
        // measure one second after the first.
        cpu.updateStats();
        memory.updateStats();
        g_usleep(G_USEC_PER_SEC);
        cpu.updateStats();
        load.updateStats();
        memory.updateStats();
        battery.updateStats();
        if (o.json) {
            corvane::Value all = status.dictionary();
            all.set("memory", memoryStatus.dictionary());
            all.set("battery", batteryStatus.dictionary());
            std::cout << corvane::toJson(all, 2) << "\n";
        } else {
            std::cout << status.text() << memoryStatus.text() << batteryStatus.text();
        }
        return 0;
    }
    StatusPrinter printer(status, load, o.json);
    cpu.addDelegate(&printer);
    cpu.updateStats();
    cpu.startLogging();
    for (int signal : {SIGINT, SIGTERM})
        g_unix_signal_add(
            signal,
            [](gpointer q) {
                static_cast<corvane::GLibMainQueue*>(q)->quit();
                return G_SOURCE_REMOVE;
            },
            &queue);
    queue.run();
    cpu.removeDelegate(&printer);
    corvane::CPUStatCollectorLinux::cleanupShared();
    corvane::LoadStatCollectorLinux::cleanupShared();
    corvane::MemoryStatCollectorLinux::cleanupShared();
    corvane::BatteryStatCollectorLinux::cleanupShared();
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
        if (!settings.exportSettings(file)) {
            std::cerr << "corvanebar export: cannot write " << file.string() << "; see the log\n";
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

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Corvane Bar " + versionText() + " - system monitor for the desktop panel",
                 "corvanebar"};
    bool showVersion = false;
    app.add_flag("-v,--version", showVersion, "Print the version and exit");
    SkyOptions sky;
    addSkyCommand(app, sky);
    PrefsOptions prefs;
    addPrefsCommand(app, prefs);
    StatusOptions status;
    addStatusCommand(app, status);
    SettingsOptions settings;
    addSettingsCommands(app, settings);
    RenderOptions render;
    addRenderCommand(app, render);
    ShellOptions shell;
    addShellCommands(app, shell);
    MenuOptions menu;
    addMenuCommands(app, menu);
    CLI11_PARSE(app, argc, argv);

    if (app.got_subcommand("sky"))
        return runSky(sky);
    if (status.command->parsed())
        return runStatus(status);
    if (render.command->parsed())
        return runRender(render);
    if (menuCommandParsed(menu))
        return runMenuCommand(menu);
    if (shellCommandParsed(shell))
        return runShellCommand(shell);
    if (settings.exportCommand->parsed() || settings.importCommand->parsed() ||
        settings.resetCommand->parsed()) {
        corvane::setupLog("App");
        return runSettings(settings);
    }
    if (prefs.command->parsed()) {
        // A missing desktop portal and the like are normal; they belong in the log, not on
        // the terminal. The commands print their own errors.
        corvane::setupLog("App");
        return runPrefs(prefs);
    }
    std::cout << "Corvane Bar " << versionText() << "\n";
    if (showVersion)
        return 0;
    std::cout << "\n" << app.help();
    return 0;
}
