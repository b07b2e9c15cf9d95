#pragma once

#include "preferences/PreferenceCommands.h"
#include "shell/SectionLauncher.h"
#include "shell/SectionManager.h"

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// The command line's view of the sections: list them, turn a panel item on or off as its
// switch does, ask a running window to open a page. Texts go to `out`, errors to `err`; the
// answers are exit codes.
class SectionCommands {
public:
    // `launcher` tells whether a settings window runs; may be null. `logFile` is named when the
    // settings cannot be written.
    SectionCommands(SectionManager& manager, std::ostream& out, std::ostream& err,
                    ApplicationLauncher* launcher = nullptr,
                    std::filesystem::path logFile = commandLogFile());

    int list();
    int setEnabled(std::string_view name, bool on);
    int open(std::string_view name);

    // The names the commands take, in list order: "general", "cpu", "weather", ...
    std::vector<std::string> shortNames();
    static std::string shortName(const SectionController& section);

private:
    void loadSections();
    SectionController* sectionNamed(std::string_view name, std::string_view command);
    // The titles of the sections shown inside Combined, and of those whose item is on.
    std::vector<std::string> titlesInsideCombined() const;
    std::vector<std::string> titlesSwitchedOn() const;

    SectionManager& manager_;
    std::ostream& out_;
    std::ostream& err_;
    ApplicationLauncher* launcher_;
    std::filesystem::path logFile_;
};

} // namespace corvane
