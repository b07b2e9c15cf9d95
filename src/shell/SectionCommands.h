#pragma once

#include "preferences/SectionLauncher.h"
#include "shell/SectionManager.h"

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
    // `launcher` tells whether a settings window runs; may be null.
    SectionCommands(SectionManager& manager, std::ostream& out, std::ostream& err,
                    ApplicationLauncher* launcher = nullptr);

    int list();
    int setEnabled(std::string_view name, bool on);
    int open(std::string_view name);

    // The names the commands take, in list order: "general", "cpu", "weather", ...
    std::vector<std::string> shortNames();
    static std::string shortName(const SectionController& section);

private:
    void loadSections();
    SectionController* sectionNamed(std::string_view name, std::string_view command);

    SectionManager& manager_;
    std::ostream& out_;
    std::ostream& err_;
    ApplicationLauncher* launcher_;
};

} // namespace corvane
