#include "preferences/SettingsFile.h"

#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceMigration.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gio/gio.h>
#include <set>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>

extern char** environ;

namespace corvane {

namespace {

using KeySet = std::set<std::string, std::less<>>;

// Settings that belong to this machine: never exported, and kept by a reset.
const KeySet kNotExported{
    "Network_HiddenIBridge", "Sensors-Limits",           "_mac_id",          "SensorsSliderSet",
    "Sensors_MenubarItems",  "Network_PrimaryInterface", "FilteringNetwork", "FilteringSensors",
    "FilteringDisks",        "FanControl_DefaultSet",
    "Sensors_Names", // names given to this machine's own sensors
};

// What an import leaves as it is on this machine.
const KeySet kKeptOnImport{
    "Network_HiddenIBridge", "_mac_id",          "SensorsSliderSet", "Network_PrimaryInterface",
    "FilteringNetwork",      "FilteringSensors", "FilteringDisks",   "FanControl_DefaultSet",
    "Sensors_Names",
};

// "%.2f" without the user's locale, which might write "6,72".
std::string versionText(double version) {
    char buffer[32];
    auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, version, std::chars_format::fixed, 2);
    return error == std::errc{} ? std::string(buffer, end) : std::string();
}

void removeAllBut(PreferenceDomain& domain, const KeySet& kept, bool keepMarkers = false) {
    for (const auto& key : domain.copyKeyList()) {
        if (!kept.contains(key) && !(keepMarkers && key.starts_with("Migrated_")))
            domain.setValue(key, Value());
    }
}

struct GErrorText {
    GError* error = nullptr;
    ~GErrorText() {
        if (error)
            g_error_free(error);
    }
    const char* text() const { return error ? error->message : "unknown error"; }
};

} // namespace

// MARK: restarting the status-item process

SystemStatusItemRestarter::SystemStatusItemRestarter(GDBusConnection* connection,
                                                     std::vector<std::string> fallback,
                                                     double timeoutSeconds)
    : connection_(connection ? G_DBUS_CONNECTION(g_object_ref(connection)) : nullptr)
    , fallback_(std::move(fallback))
    , timeoutSeconds_(timeoutSeconds) {}

SystemStatusItemRestarter::~SystemStatusItemRestarter() {
    if (connection_)
        g_object_unref(connection_);
}

std::vector<std::string> SystemStatusItemRestarter::defaultFallback() {
    // --no-block: queue the restart and return, rather than wait for the unit to come up.
    return {"systemctl", "--user", "--no-block", "restart", "corvanebar-status.service"};
}

void SystemStatusItemRestarter::restartStatusItem() {
    if (!requestOverBus())
        runFallback();
}

bool SystemStatusItemRestarter::requestOverBus() {
    if (!connection_) {
        GErrorText failure;
        connection_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &failure.error);
        if (!connection_) {
            CVBLog("Restarting the status item: no session bus (%s)", failure.text());
            return false;
        }
    }
    const int timeoutMs = static_cast<int>(timeoutSeconds_ * 1000);

    GErrorText ownerFailure;
    GVariant* owner = g_dbus_connection_call_sync(
        connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "NameHasOwner", g_variant_new("(s)", kBusName), G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NONE, timeoutMs, nullptr, &ownerFailure.error);
    if (!owner) {
        CVBLog("Restarting the status item: cannot ask the bus for %s (%s)", kBusName,
               ownerFailure.text());
        return false;
    }
    gboolean hasOwner = FALSE;
    g_variant_get(owner, "(b)", &hasOwner);
    g_variant_unref(owner);
    if (!hasOwner) {
        CVBLog("Restarting the status item: %s is not on the bus", kBusName);
        return false;
    }

    GErrorText callFailure;
    GVariant* reply = g_dbus_connection_call_sync(connection_, kBusName, kObjectPath, kInterface,
                                                  kMethod, nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE,
                                                  timeoutMs, nullptr, &callFailure.error);
    if (!reply) {
        CVBLog("Restarting the status item: %s.%s failed (%s)", kInterface, kMethod,
               callFailure.text());
        return false;
    }
    g_variant_unref(reply);
    CVBLog("Asked the status item to restart over the bus");
    return true;
}

void SystemStatusItemRestarter::runFallback() {
    if (fallback_.empty()) {
        CVBLog("Restarting the status item: nothing to run");
        return;
    }
    std::vector<char*> argv;
    for (auto& argument : fallback_)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    const std::string command = fallback_.front();
    // The service manager's complaints (no such unit yet) belong in the log, not on the
    // user's terminal; its exit status is logged below.
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int failure = posix_spawnp(&pid, command.c_str(), &quiet, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&quiet);
    if (failure) {
        CVBLog("Restarting the status item: cannot run %s (%s)", command.c_str(),
               std::strerror(failure));
        return;
    }

    // The caller is the main thread of a window or a command: wait a while, never for good.
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds_);
    int status = 0;
    while (true) {
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid)
            break;
        if (done < 0 && errno != EINTR) {
            CVBLog("Restarting the status item: lost %s (%s)", command.c_str(),
                   std::strerror(errno));
            return;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            CVBLog("Restarting the status item: %s did not finish in %.1f s; gave up",
                   command.c_str(), timeoutSeconds_);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        CVBLog("Restarting the status item: ran %s", command.c_str());
    else
        CVBLog("Restarting the status item: %s failed with status %d", command.c_str(),
               WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

// MARK: settings files

SettingsFile::SettingsFile(CVBPreferences& preferences, StatusItemRestarter& restarter)
    : preferences_(preferences)
    , restarter_(restarter) {}

Value SettingsFile::exportedDictionary() {
    Value settings = Value::dict();
    const Value stored = preferences_.domain().copyAll();
    for (const auto& [key, value] : stored.dictionaryItems()) {
        if (!kNotExported.contains(key))
            settings.set(key, value);
    }
    return Value::dict({
        {"preferences", std::move(settings)},
        {"version", versionText(kVersion)},
        {"build", std::to_string(kBuild)},
    });
}

SettingsFile::Result SettingsFile::exportSettings(const std::filesystem::path& file) {
    auto refuse = [&](std::string reason) {
        CVBLog("Settings not exported to %s: %s", file.c_str(), reason.c_str());
        return Result{false, std::move(reason)};
    };
    const std::filesystem::path folder = std::filesystem::absolute(file).parent_path();
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        return refuse("the folder " + folder.string() + " does not exist");
    const Value contents = exportedDictionary();
    if (auto problem = propertyListValueProblem(contents))
        return refuse("a stored setting cannot be written: " + *problem);
    if (!writePropertyListFile(file, contents))
        return refuse(std::string("the file cannot be written (") + std::strerror(errno) + ")");
    CVBLog("Exported %zu settings to %s", contents["preferences"].size(), file.c_str());
    return {true, {}};
}

SettingsFile::Result SettingsFile::importSettingsFile(const std::filesystem::path& file) {
    auto refuse = [&](std::string reason) {
        CVBLog("Settings not imported from %s: %s", file.c_str(), reason.c_str());
        return Result{false, std::move(reason)};
    };

    const auto bytes = readFileContents(file);
    if (!bytes)
        return refuse("the file cannot be read");
    const Value root = readPropertyList(*bytes, file.string());
    if (root.isNull())
        return refuse("the file is not a property list");
    if (!root.isDictionary())
        return refuse("the file holds no settings dictionary");
    const Value& settings = root["preferences"];
    if (settings.isNull())
        return refuse("the file has no \"preferences\"");
    if (!settings.isDictionary())
        return refuse("\"preferences\" in the file is not a dictionary");
    // Stored, such text would make the settings file unreadable at the next start.
    if (auto problem = invalidPreferenceText(settings))
        return refuse("the file holds text that a settings file cannot hold: " + *problem);

    // A version that is no number reads as 0: the file counts as old.
    const bool beforeVersion6 = root["version"].doubleValue() < 6.0;
    PreferenceDomain& domain = preferences_.domain();
    removeAllBut(domain, kKeptOnImport);
    // Every entry, this machine's keys included should the file hold them (an export never
    // writes them).
    for (const auto& [key, value] : settings.dictionaryItems()) {
        if (!key.empty() && !(beforeVersion6 && key == "Migrated_6.0"))
            domain.setValue(key, value);
    }
    if (!domain.synchronize()) {
        domain.discardChanges();
        return refuse("the settings could not be written to " + domain.file().string());
    }
    if (beforeVersion6) {
        // Its values stand as written; the old domain must not be migrated over them. Should
        // this write fail, the domain still reads as empty in this process, which is where
        // the migration runs next.
        PreferenceDomain& previous = preferences_.previousDomain();
        previous.removeAll();
        previous.synchronize();
    }
    CVBLog("Imported %zu settings of version %s from %s", settings.size(),
           root["version"].stringValue().c_str(), file.c_str());

    settingsReplaced();
    return {true, {}};
}

SettingsFile::Result SettingsFile::resetSettings() {
    PreferenceDomain& domain = preferences_.domain();
    // The markers stay: what is kept has its current form already, and the steps run again
    // would empty the kept disk filter and sensor items, or bring back 5.x settings.
    removeAllBut(domain, kNotExported, true);
    if (!domain.synchronize()) {
        domain.discardChanges();
        std::string reason = "the settings could not be written to " + domain.file().string();
        CVBLog("Settings not reset: %s", reason.c_str());
        return {false, std::move(reason)};
    }
    CVBLog("Settings reset to the defaults");
    settingsReplaced();
    return {true, {}};
}

void SettingsFile::settingsReplaced() {
    preferences_.clearCache();
    // Brings an old file up to date and lays down the markers the removal took away.
    PreferenceMigration(preferences_).migrateIfNeeded();
    preferences_.environment().center->post(kImportedPreferencesNotification);
    restarter_.restartStatusItem();
}

} // namespace corvane
