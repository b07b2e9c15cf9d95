#pragma once

#include "foundation/SysRoot.h"
#include "foundation/Value.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corvane {

// The applications' desktop entries, looked up by the program they start: what names a
// process for people and gives it an icon.
class DesktopEntries {
public:
    struct Entry {
        std::string id; // the file name, "org.example.Editor.desktop"
        std::string name;
        std::string icon;
    };

    // Reads every "*.desktop" in `folders` (applications folders); earlier folders win.
    explicit DesktopEntries(const std::vector<std::filesystem::path>& folders);
    // The applications folders of $XDG_DATA_HOME and $XDG_DATA_DIRS.
    static std::vector<std::filesystem::path> standardFolders();

    // The entry whose TryExec or Exec program has this file name; nullptr when none.
    const Entry* entryForProgram(const std::string& fileName) const;
    std::size_t size() const { return byProgram_.size(); }

private:
    void read(const std::filesystem::path& file);

    std::map<std::string, Entry> byProgram_;
};

// What is known of one running process: {pid, name, executable, path, icon, desktopEntry}.
// The name is the desktop entry's, else the program's file name, else the kernel's name.
// Empty when the process is gone or its files cannot be read.
Value processInfo(const SysRoot& root, const DesktopEntries& entries, long pid);

} // namespace corvane
