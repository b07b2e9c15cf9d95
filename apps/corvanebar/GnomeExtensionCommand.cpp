#include "GnomeExtensionCommand.h"

#include "CommandLine.h"
#include "foundation/GLibHandles.h"
#include "foundation/Paths.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr const char* kUuid = "corvanebar@halvorn.com";
constexpr int kOldestShell = 43;
constexpr int kFirstModuleShell = 45; // GNOME 45 loads extensions as ES modules
constexpr const char* kStatusBusName = "com.halvorn.corvanebarstatus";
constexpr const char* kEnabledKey = "enabled-extensions";
constexpr const char* kDisabledKey = "disabled-extensions";
// What GNOME Shell calls the states of an extension (GetExtensionInfo's "state").
constexpr double kStateEnabled = 1;
constexpr double kStateError = 3;
constexpr double kStateOutOfDate = 4;

// "43.9", "GNOME Shell 43.9": the major version.
std::optional<int> majorVersionIn(std::string_view text) {
    const auto digit = text.find_first_of("0123456789");
    if (digit == std::string_view::npos)
        return std::nullopt;
    int major = 0;
    const auto [end, error] =
        std::from_chars(text.data() + digit, text.data() + text.size(), major);
    return error == std::errc() ? std::optional<int>(major) : std::nullopt;
}

// One answer of the Shell on the session bus, or null: no Shell runs there, or it said no.
corvane::VariantRef callShell(GDBusConnection* bus, const char* interface, const char* method,
                              GVariant* parameters) {
    if (!bus)
        return {};
    corvane::GErrorHolder error;
    return corvane::VariantRef(g_dbus_connection_call_sync(
        bus, "org.gnome.Shell", "/org/gnome/Shell", interface, method, parameters, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, 3000, nullptr, error.out()));
}

std::optional<std::string> runningShellVersion(GDBusConnection* bus) {
    const auto reply = callShell(bus, "org.freedesktop.DBus.Properties", "Get",
                                 g_variant_new("(ss)", "org.gnome.Shell", "ShellVersion"));
    if (!reply)
        return std::nullopt;
    GVariant* boxed = nullptr;
    g_variant_get(reply.get(), "(v)", &boxed);
    const corvane::VariantRef value(boxed);
    if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING))
        return std::nullopt;
    return std::string(g_variant_get_string(value.get(), nullptr));
}

std::optional<std::string> installedShellVersion() {
    const char* argv[] = {"gnome-shell", "--version", nullptr};
    gchar* out = nullptr;
    gint status = 0;
    const bool ran =
        g_spawn_sync(nullptr, const_cast<gchar**>(argv), nullptr,
                     static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL),
                     nullptr, nullptr, &out, nullptr, &status, nullptr);
    std::string text = corvane::takeGString(out);
    if (!ran || !g_spawn_check_wait_status(status, nullptr))
        return std::nullopt;
    // "GNOME Shell 43.9": the number, as the running Shell gives it.
    const auto digit = text.find_first_of("0123456789");
    return digit == std::string::npos ? text : text.substr(digit, text.find('\n') - digit);
}

// GetExtensionInfo of our extension: empty when the Shell does not know it (or does not run).
nlohmann::json extensionInfo(GDBusConnection* bus) {
    const auto reply = callShell(bus, "org.gnome.Shell.Extensions", "GetExtensionInfo",
                                 g_variant_new("(s)", kUuid));
    nlohmann::json info = nlohmann::json::object();
    if (!reply)
        return info;
    GVariantIter* entries = nullptr;
    g_variant_get(reply.get(), "(a{sv})", &entries);
    const gchar* key = nullptr;
    GVariant* value = nullptr;
    while (g_variant_iter_next(entries, "{&sv}", &key, &value)) {
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_DOUBLE))
            info[key] = g_variant_get_double(value);
        else if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
            info[key] = g_variant_get_string(value, nullptr);
        g_variant_unref(value);
    }
    g_variant_iter_free(entries);
    return info;
}

fs::path userExtensionsDirectory() {
    const char* data = std::getenv("XDG_DATA_HOME");
    const fs::path base = data && fs::path(data).is_absolute()
                              ? fs::path(data)
                              : corvane::Paths::home() / ".local" / "share";
    return base / "gnome-shell" / "extensions";
}

// Where the Shell finds the extension: the user's folder first, then the system's.
std::optional<fs::path> installedExtension() {
    std::vector<fs::path> places{userExtensionsDirectory() / kUuid};
    for (const gchar* const* dir = g_get_system_data_dirs(); *dir; ++dir)
        places.push_back(fs::path(*dir) / "gnome-shell" / "extensions" / kUuid);
    std::error_code error;
    for (const auto& place : places)
        if (fs::is_regular_file(place / "metadata.json", error))
            return place;
    return std::nullopt;
}

// The build for `major` as installed with the program, or in this build tree.
std::optional<fs::path> builtExtension(int major) {
    const std::string build = major < kFirstModuleShell ? "legacy" : "esm";
    std::vector<fs::path> places{corvane::Paths::dataDirectory() / "gnome-extension" / build};
#ifdef CVB_GNOME_EXTENSION_BUILD_DIR
    places.push_back(fs::path(CVB_GNOME_EXTENSION_BUILD_DIR) / build);
#endif
    std::error_code error;
    for (const auto& place : places)
        if (fs::is_regular_file(place / kUuid / "metadata.json", error))
            return place / kUuid;
    return std::nullopt;
}

// The metadata's "shell-version": the major versions the copy was built for.
std::vector<std::string> shellVersionsOf(const fs::path& extension) {
    std::ifstream file(extension / "metadata.json");
    const auto metadata = nlohmann::json::parse(file, nullptr, false);
    std::vector<std::string> versions;
    if (!metadata.is_object() || !metadata.contains("shell-version") ||
        !metadata["shell-version"].is_array())
        return versions;
    for (const auto& version : metadata["shell-version"])
        if (version.is_string())
            versions.push_back(version.get<std::string>());
    return versions;
}

std::string joined(const std::vector<std::string>& versions) {
    std::string text;
    for (const auto& version : versions)
        text += (text.empty() ? "" : ", ") + version;
    return text;
}

// A copy beside the old one first, then swapped in: a failed copy leaves the old one working.
bool replaceDirectory(const fs::path& from, const fs::path& to, std::string& reason) {
    const fs::path fresh = to.parent_path() / ("." + to.filename().string() + ".new");
    const fs::path old = to.parent_path() / ("." + to.filename().string() + ".old");
    std::error_code error;
    fs::create_directories(to.parent_path(), error);
    fs::remove_all(fresh, error);
    fs::remove_all(old, error);
    fs::copy(from, fresh, fs::copy_options::recursive, error);
    if (!error && fs::exists(to))
        fs::rename(to, old, error);
    if (!error)
        fs::rename(fresh, to, error);
    if (error) {
        reason = error.message();
        fs::remove_all(fresh, error);
        return false;
    }
    fs::remove_all(old, error);
    return true;
}

// The Shell's own settings, or null where GNOME Shell is not installed.
corvane::GObjectRef<GSettings> shellSettings() {
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    GSettingsSchema* schema =
        source ? g_settings_schema_source_lookup(source, "org.gnome.shell", TRUE) : nullptr;
    if (!schema)
        return {};
    g_settings_schema_unref(schema);
    return corvane::GObjectRef<GSettings>::adopt(g_settings_new("org.gnome.shell"));
}

std::vector<std::string> listSetting(GSettings* settings, const char* key) {
    gchar** values = g_settings_get_strv(settings, key);
    std::vector<std::string> list;
    for (gchar** value = values; *value; ++value)
        list.emplace_back(*value);
    g_strfreev(values);
    return list;
}

bool setListed(GSettings* settings, const char* key, bool listed) {
    std::vector<std::string> list = listSetting(settings, key);
    const auto found = std::find(list.begin(), list.end(), kUuid);
    if (listed == (found != list.end()))
        return true;
    if (listed)
        list.emplace_back(kUuid);
    else
        list.erase(found);
    std::vector<const gchar*> values;
    for (const auto& value : list)
        values.push_back(value.c_str());
    values.push_back(nullptr);
    return g_settings_set_strv(settings, key, values.data());
}

bool statusProgramRuns(GDBusConnection* bus) {
    if (!bus)
        return false;
    corvane::GErrorHolder error;
    const corvane::VariantRef reply(g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "NameHasOwner", g_variant_new("(s)", kStatusBusName), G_VARIANT_TYPE("(b)"),
        G_DBUS_CALL_FLAGS_NONE, 3000, nullptr, error.out()));
    gboolean owned = FALSE;
    if (reply)
        g_variant_get(reply.get(), "(b)", &owned);
    return owned;
}

std::string relogInHint() {
    const char* session = std::getenv("XDG_SESSION_TYPE");
    std::string hint = "GNOME Shell loads a newly installed extension when you next log in: log "
                       "out and in again";
    if (session && std::string_view(session) == "x11")
        hint += " (on X11, restarting the Shell does it too: Alt+F2, r, Enter)";
    return hint;
}

struct Context {
    corvane::GObjectRef<GDBusConnection> bus;
    int requestedVersion = 0;

    std::optional<int> shellMajor(std::string* version = nullptr) const {
        if (requestedVersion > 0)
            return requestedVersion;
        auto text = runningShellVersion(bus.get());
        if (!text)
            text = installedShellVersion();
        if (text && version)
            *version = *text;
        return text ? majorVersionIn(*text) : std::nullopt;
    }
};

int install(const Context& context) {
    const auto major = context.shellMajor();
    if (!major) {
        std::cerr << "corvanebar gnome-extension: GNOME Shell was not found; name its version "
                     "with --shell-version\n";
        return corvane::cli::kFailed;
    }
    if (*major < kOldestShell) {
        std::cerr << "corvanebar gnome-extension: GNOME Shell " << *major
                  << " is older than the extension supports (" << kOldestShell << " and later)\n";
        return corvane::cli::kFailed;
    }
    const auto built = builtExtension(*major);
    if (!built) {
        std::cerr << "corvanebar gnome-extension: the extension's files were not found under "
                  << (corvane::Paths::dataDirectory() / "gnome-extension").string()
                  << "; build or install Corvane Bar first\n";
        return corvane::cli::kFailed;
    }
    const fs::path target = userExtensionsDirectory() / kUuid;
    std::string reason;
    if (!replaceDirectory(*built, target, reason)) {
        std::cerr << "corvanebar gnome-extension: could not copy the extension to "
                  << target.string() << ": " << reason << "\n";
        return corvane::cli::kFailed;
    }
    std::cout << "Installed the GNOME Shell extension " << kUuid << " (for GNOME "
              << joined(shellVersionsOf(target)) << ") in " << target.string()
              << "\nSwitch it on with: corvanebar gnome-extension enable\n";
    return 0;
}

// The state the Shell reports once it has followed the settings, or an empty object.
nlohmann::json settledInfo(GDBusConnection* bus) {
    nlohmann::json info = extensionInfo(bus);
    for (int i = 0; i < 30 && info.value("state", 0.0) != kStateEnabled &&
                    info.value("state", 0.0) != kStateError && !info.empty();
         ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        info = extensionInfo(bus);
    }
    return info;
}

int enable(const Context& context) {
    const auto settings = shellSettings();
    if (!settings) {
        std::cerr << "corvanebar gnome-extension: GNOME Shell is not installed here (it has no "
                     "org.gnome.shell settings)\n";
        return corvane::cli::kFailed;
    }
    if (!installedExtension()) {
        std::cerr << "corvanebar gnome-extension: the extension is not installed; run "
                     "corvanebar gnome-extension install first\n";
        return corvane::cli::kFailed;
    }
    if (!setListed(settings.get(), kDisabledKey, false) ||
        !setListed(settings.get(), kEnabledKey, true)) {
        std::cerr << "corvanebar gnome-extension: GNOME Shell's settings could not be written\n";
        return corvane::cli::kFailed;
    }
    g_settings_sync();
    if (g_settings_get_boolean(settings.get(), "disable-user-extensions"))
        std::cout << "Note: extensions are switched off as a whole (org.gnome.shell "
                     "disable-user-extensions); switch them on in the Extensions app\n";
    if (!runningShellVersion(context.bus.get())) {
        std::cout << "Switched on: GNOME Shell starts the extension when it next starts\n";
        return 0;
    }
    const nlohmann::json info = settledInfo(context.bus.get());
    const double state = info.value("state", 0.0);
    if (state == kStateEnabled) {
        std::cout << "Switched on: the items are in the top bar\n";
        return 0;
    }
    if (state == kStateError || state == kStateOutOfDate) {
        std::cerr << "corvanebar gnome-extension: GNOME Shell could not start the extension: "
                  << info.value("error", std::string("made for another version of GNOME")) << "\n";
        return corvane::cli::kFailed;
    }
    std::cout << "Switched on. " << relogInHint() << "\n";
    return 0;
}

std::string shellStateText(const nlohmann::json& info, bool shellRuns) {
    if (!shellRuns)
        return "-";
    if (info.empty())
        return "not loaded: " + relogInHint();
    const double state = info.value("state", 0.0);
    if (state == kStateEnabled)
        return "running";
    if (state == kStateError)
        return "failed: " + info.value("error", std::string("no reason given"));
    if (state == kStateOutOfDate)
        return "made for another version of GNOME: run corvanebar gnome-extension install";
    return "off";
}

int status(const Context& context) {
    std::string version;
    const auto major = context.shellMajor(&version);
    const auto running = runningShellVersion(context.bus.get());
    std::cout << "GNOME Shell      "
              << (running ? *running + ", running in this session"
                          : (major ? version + ", not running in this session" : "not found"))
              << "\n";
    const auto installed = installedExtension();
    std::string extension = "not installed (corvanebar gnome-extension install)";
    if (installed) {
        const auto versions = shellVersionsOf(*installed);
        extension = "installed in " + installed->string() + " (for GNOME " + joined(versions) + ")";
        if (major &&
            std::find(versions.begin(), versions.end(), std::to_string(*major)) == versions.end())
            extension += "; not for GNOME " + std::to_string(*major) +
                         ": run corvanebar gnome-extension install again";
    }
    std::cout << "Extension        " << extension << "\n";
    const auto settings = shellSettings();
    std::string enabled = "-";
    if (settings) {
        const auto list = listSetting(settings.get(), kEnabledKey);
        enabled = std::find(list.begin(), list.end(), kUuid) != list.end()
                      ? "yes"
                      : "no (corvanebar gnome-extension enable)";
        if (g_settings_get_boolean(settings.get(), "disable-user-extensions"))
            enabled += "; but extensions are switched off as a whole";
    }
    std::cout << "Switched on      " << enabled << "\n";
    std::cout << "In the Shell     "
              << shellStateText(extensionInfo(context.bus.get()), running.has_value()) << "\n";
    std::cout << "Status program   "
              << (statusProgramRuns(context.bus.get())
                      ? "running"
                      : "not running (systemctl --user start corvanebar-status)")
              << "\n";
    return 0;
}

int remove(const Context&) {
    if (const auto settings = shellSettings()) {
        setListed(settings.get(), kEnabledKey, false);
        g_settings_sync();
    }
    const fs::path target = userExtensionsDirectory() / kUuid;
    std::error_code error;
    if (!fs::exists(target, error)) {
        const auto elsewhere = installedExtension();
        std::cout << "Switched off; "
                  << (elsewhere ? "it stays installed in " + elsewhere->string() +
                                      ", where the system's package manager put it"
                                : std::string("it was not installed"))
                  << "\n";
        return 0;
    }
    fs::remove_all(target, error);
    if (error) {
        std::cerr << "corvanebar gnome-extension: could not remove " << target.string() << ": "
                  << error.message() << "\n";
        return corvane::cli::kFailed;
    }
    std::cout << "Switched off and removed " << target.string()
              << "; the Shell lets go of it at the next log-in\n";
    return 0;
}

} // namespace

void addGnomeExtensionCommand(CLI::App& app, GnomeExtensionOptions& o) {
    o.command = app.add_subcommand(
        "gnome-extension", "Install and switch on the GNOME Shell extension that shows the items "
                           "in the top bar");
    o.command->require_subcommand(1);
    o.install = o.command->add_subcommand(
        "install", "Copy the extension for this GNOME Shell into ~/.local/share/gnome-shell");
    o.install
        ->add_option("--shell-version", o.shellVersion,
                     "GNOME Shell's major version; default: the running or installed Shell's")
        ->check(corvane::cli::wholeNumber(1, 999));
    o.enable = o.command->add_subcommand("enable", "Switch the extension on");
    o.status = o.command->add_subcommand(
        "status", "Say whether the extension is installed, switched on and running");
    o.remove = o.command->add_subcommand("remove", "Switch the extension off and delete it");
}

int runGnomeExtensionCommand(const GnomeExtensionOptions& o) {
    Context context;
    context.bus = corvane::GObjectRef<GDBusConnection>::adopt(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    context.requestedVersion = o.shellVersion;
    if (o.install->parsed())
        return install(context);
    if (o.enable->parsed())
        return enable(context);
    if (o.status->parsed())
        return status(context);
    return remove(context);
}
