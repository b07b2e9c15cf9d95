// corvanebar: the settings application's command.
#include "corvane/BuildInfo.h"
#include "foundation/MainQueue.h"
#include "sky/SkyReport.h"

#include <CLI/CLI.hpp>

#include <cstdio>
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

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Corvane Bar " + versionText() + " - system monitor for the desktop panel",
                 "corvanebar"};
    bool showVersion = false;
    app.add_flag("-v,--version", showVersion, "Print the version and exit");
    SkyOptions sky;
    addSkyCommand(app, sky);
    CLI11_PARSE(app, argc, argv);

    if (app.got_subcommand("sky"))
        return runSky(sky);
    std::cout << "Corvane Bar " << versionText() << "\n";
    if (showVersion)
        return 0;
    std::cout << "\n" << app.help();
    return 0;
}
