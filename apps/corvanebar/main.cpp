// corvanebar: the settings application's command.
#include "corvane/BuildInfo.h"

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

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Corvane Bar " + versionText() + " - system monitor for the desktop panel",
                 "corvanebar"};
    bool showVersion = false;
    app.add_flag("-v,--version", showVersion, "Print the version and exit");
    CLI11_PARSE(app, argc, argv);

    std::cout << "Corvane Bar " << versionText() << "\n";
    if (showVersion)
        return 0;
    std::cout << "\n" << app.help();
    return 0;
}
