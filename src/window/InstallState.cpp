#include "window/InstallState.h"

#include "foundation/Log.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace corvane {

namespace {

std::filesystem::path environmentPath(const char* name, const std::filesystem::path& fallback) {
    const char* value = std::getenv(name);
    return value && *value ? std::filesystem::path(value) : fallback;
}

std::vector<std::filesystem::path> environmentList(const char* name, const char* fallback) {
    const char* value = std::getenv(name);
    std::stringstream list(value && *value ? value : fallback);
    std::vector<std::filesystem::path> paths;
    for (std::string item; std::getline(list, item, ':');) {
        if (!item.empty())
            paths.emplace_back(item);
    }
    return paths;
}

bool isExecutable(const std::filesystem::path& program) {
    return !program.empty() && program.is_absolute() && access(program.c_str(), X_OK) == 0;
}

// A desktop entry that the user switched off counts as absent.
bool autostartDisabled(const std::filesystem::path& file) {
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false")
            return true;
    }
    return false;
}

} // namespace

InstallLocations InstallLocations::forUser() {
    const char* home = std::getenv("HOME");
    const std::filesystem::path homePath = home ? home : "/";
    const auto config = environmentPath("XDG_CONFIG_HOME", homePath / ".config");
    const auto data = environmentPath("XDG_DATA_HOME", homePath / ".local/share");
    InstallLocations locations;
    locations.unitDirectories = {config / "systemd/user", data / "systemd/user"};
    for (const auto& dir : environmentList("XDG_CONFIG_DIRS", "/etc/xdg"))
        locations.unitDirectories.push_back(dir / "systemd/user");
    for (const char* dir :
         {"/etc/systemd/user", "/usr/local/lib/systemd/user", "/usr/lib/systemd/user"})
        locations.unitDirectories.emplace_back(dir);
    for (const auto& dir : environmentList("XDG_DATA_DIRS", "/usr/local/share:/usr/share"))
        locations.unitDirectories.push_back(dir / "systemd/user");
    locations.autostartDirectories = {config / "autostart"};
    for (const auto& dir : environmentList("XDG_CONFIG_DIRS", "/etc/xdg"))
        locations.autostartDirectories.push_back(dir / "autostart");
    return locations;
}

InstallState::InstallState(InstallLocations locations)
    : locations_(std::move(locations)) {}

std::filesystem::path programOfStartFile(const std::filesystem::path& file,
                                         const std::string& key) {
    std::ifstream in(file);
    const std::string prefix = key + "=";
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(prefix, 0) != 0)
            continue;
        std::istringstream words(line.substr(prefix.size()));
        std::string program;
        words >> program;
        return program;
    }
    return {};
}

std::optional<std::filesystem::path> InstallState::unitFile() const {
    for (const auto& dir : locations_.unitDirectories) {
        const auto file = dir / kUnitName;
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error))
            continue;
        // The first one found is the one systemd takes; a broken one hides the others.
        if (isExecutable(programOfStartFile(file, "ExecStart")))
            return file;
        CVBLog("%s starts no program that exists", file.c_str());
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::filesystem::path> InstallState::autostartFile() const {
    for (const auto& dir : locations_.autostartDirectories) {
        const auto file = dir / kAutostartName;
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error))
            continue;
        // A user's own entry overrides the system's, so the first found decides.
        if (!autostartDisabled(file) && isExecutable(programOfStartFile(file, "Exec")))
            return file;
        return std::nullopt;
    }
    return std::nullopt;
}

std::string InstallState::description() const {
    if (const auto unit = unitFile())
        return "The status items start with your session through the systemd user unit " +
               unit->string() + ".";
    if (const auto entry = autostartFile())
        return "The status items start with your session through the autostart entry " +
               entry->string() + ".";
    return "The status items are not set up to start with your session: no usable "
           "corvanebar-status.service or autostart entry was found. Without them the panel "
           "shows no graphs. \"Enable and Start\" asks the service manager to start the status "
           "program now and with every session (systemctl --user enable --now "
           "corvanebar-status.service); it changes nothing else.";
}

std::vector<std::string> InstallState::enableCommand() {
    return {"systemctl", "--user", "enable", "--now", kUnitName};
}

} // namespace corvane
