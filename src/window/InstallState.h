#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// Where the status program's session start can be: systemd user units and autostart entries.
struct InstallLocations {
    std::vector<std::filesystem::path> unitDirectories;
    std::vector<std::filesystem::path> autostartDirectories;

    // The user's and the system's folders, as systemd and the desktops search them.
    static InstallLocations forUser();
};

// What is really installed of the status program: a unit or an autostart entry whose program
// exists. Read afresh on every question.
class InstallState {
public:
    static constexpr const char* kUnitName = "corvanebar-status.service";
    static constexpr const char* kAutostartName = "corvanebar-status.desktop";

    explicit InstallState(InstallLocations locations = InstallLocations::forUser());

    // The unit or entry found first, whose program exists; nothing when none is usable.
    std::optional<std::filesystem::path> unitFile() const;
    std::optional<std::filesystem::path> autostartFile() const;
    bool isInstalledAndValid() const { return unitFile() || autostartFile(); }

    // One paragraph for the install page: what was found, or what is missing.
    std::string description() const;
    // What enabling runs: the service manager starts the program now and with every session.
    static std::vector<std::string> enableCommand();

private:
    InstallLocations locations_;
};

// The program a unit's "ExecStart=" or an entry's "Exec=" starts (its first word); empty when
// the file names none.
std::filesystem::path programOfStartFile(const std::filesystem::path& file, const std::string& key);

} // namespace corvane
