#include "window/SettingsFileFlow.h"

#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"

namespace corvane {

SettingsFileFlow::SettingsFileFlow(CVBPreferences& preferences, StatusItemRestarter& restarter,
                                   DistributedNotificationCenter& distributed)
    : preferences_(preferences)
    , restarter_(restarter)
    , distributed_(distributed) {}

SettingsFileFlow::Outcome SettingsFileFlow::exportTo(std::filesystem::path file) {
    if (file.extension() != std::string(".") + kSettingsFileExtension)
        file += std::string(".") + kSettingsFileExtension;
    SettingsFile settings(preferences_, restarter_);
    if (const auto result = settings.exportSettings(file); !result)
        return {false, result.reason};
    return {true, "Exported the settings to " + file.string()};
}

SettingsFileFlow::Outcome SettingsFileFlow::importFrom(const std::filesystem::path& file) {
    if (file.extension() != std::string(".") + kSettingsFileExtension)
        return {false, file.string() + " is not a settings file (.cvbp); nothing changed"};
    SettingsFile settings(preferences_, restarter_);
    // The reason alone ("the file is not a property list") would not say which file it was.
    if (const auto result = settings.importSettingsFile(file); !result)
        return {false, "Cannot import " + file.filename().string() + ": " + result.reason +
                           "; nothing changed"};
    announceReplacedSettings();
    return {true, "Imported the settings of " + file.string()};
}

SettingsFileFlow::Outcome SettingsFileFlow::reset() {
    SettingsFile settings(preferences_, restarter_);
    if (const auto result = settings.resetSettings(); !result)
        return {false, result.reason + "; nothing changed"};
    announceReplacedSettings();
    return {true, "The settings are back to their defaults"};
}

std::string SettingsFileFlow::importQuestion(const std::filesystem::path& file) {
    return "Replace the settings by those of " + file.filename().string() +
           "? This machine's own settings are kept.";
}

std::string SettingsFileFlow::resetQuestion() {
    return "Remove every setting but this machine's own? The defaults apply again.";
}

void SettingsFileFlow::announceReplacedSettings() {
    // This process's pages heard "ImportedPreferences" from the settings file already.
    distributed_.postNotificationName("CorvaneBarExternalChange");
}

} // namespace corvane
