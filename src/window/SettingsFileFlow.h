#pragma once

#include "foundation/DistributedNotificationCenter.h"

#include <filesystem>
#include <string>

namespace corvane {

class CVBPreferences;
class StatusItemRestarter;

// The settings-file commands of the window, with the checks and the words of the command
// line: export, import, reset. The window only picks the file and asks for confirmation.
class SettingsFileFlow {
public:
    struct Outcome {
        bool done = false;
        std::string message; // what the window shows, success or failure
    };

    SettingsFileFlow(CVBPreferences& preferences, StatusItemRestarter& restarter,
                     DistributedNotificationCenter& distributed);

    // ".cvbp" is added when missing.
    Outcome exportTo(std::filesystem::path file);
    // A file of another kind is refused before anything is read.
    Outcome importFrom(const std::filesystem::path& file);
    Outcome reset();

    // The question asked before an import or a reset replaces the settings.
    static std::string importQuestion(const std::filesystem::path& file);
    static std::string resetQuestion();

private:
    // The other programs read the settings again.
    void announceReplacedSettings();

    CVBPreferences& preferences_;
    StatusItemRestarter& restarter_;
    DistributedNotificationCenter& distributed_;
};

} // namespace corvane
