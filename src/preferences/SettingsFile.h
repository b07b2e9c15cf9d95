#pragma once

#include "foundation/Value.h"

#include <filesystem>
#include <string>
#include <vector>

using GDBusConnection = struct _GDBusConnection;

namespace corvane {

class CVBPreferences;

inline constexpr const char* kImportedPreferencesNotification = "ImportedPreferences";
inline constexpr const char* kSettingsFileExtension = "cvbp";

// Makes the status-item process start again, so that it reads the settings anew.
class StatusItemRestarter {
public:
    virtual ~StatusItemRestarter() = default;
    virtual void restartStatusItem() = 0;
};

// Asks the running status-item process over the session bus to restart itself; when none owns
// its name (or there is no bus), asks the user's service manager to restart its unit. Waits a
// bounded time for either and logs what it did.
class SystemStatusItemRestarter final : public StatusItemRestarter {
public:
    static constexpr const char* kBusName = "com.halvorn.corvanebarstatus";
    static constexpr const char* kObjectPath = "/com/halvorn/corvanebarstatus";
    static constexpr const char* kInterface = "com.halvorn.corvanebarstatus";
    static constexpr const char* kMethod = "Restart";

    // `connection` null: the session bus. `fallback` is the command run when the bus request
    // cannot be made; it is given up on (and killed) after `timeoutSeconds`.
    explicit SystemStatusItemRestarter(GDBusConnection* connection = nullptr,
                                       std::vector<std::string> fallback = defaultFallback(),
                                       double timeoutSeconds = 3.0);
    ~SystemStatusItemRestarter() override;
    SystemStatusItemRestarter(const SystemStatusItemRestarter&) = delete;
    SystemStatusItemRestarter& operator=(const SystemStatusItemRestarter&) = delete;

    static std::vector<std::string> defaultFallback();

    void restartStatusItem() override;

private:
    bool requestOverBus();
    void runFallback();

    GDBusConnection* connection_ = nullptr;
    std::vector<std::string> fallback_;
    double timeoutSeconds_;
};

// Writing the settings to a ".cvbp" file, reading them back, and resetting them.
class SettingsFile {
public:
    static constexpr double kVersion = 6.72;
    static constexpr int kBuild = 1224;

    struct Result {
        bool done = false;
        std::string reason; // why nothing was changed
        explicit operator bool() const { return done; }
    };

    SettingsFile(CVBPreferences& preferences, StatusItemRestarter& restarter);

    // The dictionary an export writes: the stored settings but those of this machine.
    Value exportedDictionary();
    // Writes the export as an XML property list, atomically, into a folder that exists (none is
    // made). On failure the reason says why, and it is logged.
    Result exportSettings(const std::filesystem::path& file);

    // Replaces the settings by those of the file, keeping this machine's own. A file that
    // cannot be read, has no "preferences" dictionary or holds text that a settings file cannot
    // hold changes nothing, and neither does an import whose settings cannot be written: the
    // reason says why.
    Result importSettingsFile(const std::filesystem::path& file);

    // Back to the built-in defaults, keeping this machine's own settings (those an export
    // leaves out). Changes nothing when the settings cannot be written.
    Result resetSettings();

private:
    // What every process does after the settings were replaced under it.
    void settingsReplaced();

    CVBPreferences& preferences_;
    StatusItemRestarter& restarter_;
};

} // namespace corvane
