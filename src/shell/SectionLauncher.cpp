#include "shell/SectionLauncher.h"

#include "foundation/Log.h"

#include <chrono>
#include <filesystem>
#include <gio/gio.h>
#include <thread>

namespace corvane {

namespace {

class SessionApplicationLauncher final : public ApplicationLauncher {
public:
    bool isRunning() override {
        GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        if (!bus)
            return false;
        GVariant* reply = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "NameHasOwner", g_variant_new("(s)", "com.halvorn.corvanebar"), G_VARIANT_TYPE("(b)"),
            G_DBUS_CALL_FLAGS_NONE, 1000, nullptr, nullptr);
        g_object_unref(bus);
        if (!reply)
            return false;
        gboolean owned = FALSE;
        g_variant_get(reply, "(b)", &owned);
        g_variant_unref(reply);
        return owned != FALSE;
    }

    bool launch() override {
        std::error_code error;
        const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
        std::string program = "corvanebar";
        if (!error && std::filesystem::exists(self.parent_path() / "corvanebar", error))
            program = (self.parent_path() / "corvanebar").string();
        const char* argv[] = {program.c_str(), nullptr};
        GError* spawnError = nullptr;
        const bool ok = g_spawn_async(nullptr, const_cast<char**>(argv), nullptr,
                                      G_SPAWN_SEARCH_PATH, nullptr, nullptr, nullptr, &spawnError);
        if (!ok) {
            CVBLog("Cannot start %s: %s", program.c_str(),
                   spawnError ? spawnError->message : "unknown error");
            g_clear_error(&spawnError);
        }
        return ok;
    }

    void sleep(double seconds) override {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
};

} // namespace

std::shared_ptr<ApplicationLauncher> makeSessionApplicationLauncher() {
    return std::make_shared<SessionApplicationLauncher>();
}

std::string openNotificationForSection(std::int64_t sectionKey) {
    switch (sectionKey) {
    case 1:
        return "CorvaneBar-Open-CPU";
    case 2:
        return "CorvaneBar-Open-Memory";
    case 3:
        return "CorvaneBar-Open-Disks";
    case 4:
        return "CorvaneBar-Open-Network";
    case 5:
        return "CorvaneBar-Open-Sensors";
    case 6:
        return "CorvaneBar-Open-Battery";
    case 7:
        return "CorvaneBar-Open-Time";
    case 9:
        return "CorvaneBar-Open-Weather";
    default:
        return {};
    }
}

bool launchAndWait(ApplicationLauncher& launcher) {
    if (!launcher.isRunning() && launcher.launch()) {
        for (int poll = 0; poll < 200 && !launcher.isRunning(); ++poll)
            launcher.sleep(0.1);
    }
    launcher.sleep(0.2);
    return launcher.isRunning();
}

void launchPrefsToSection(std::int64_t sectionKey, std::shared_ptr<ApplicationLauncher> launcher,
                          MainQueue& queue, DistributedNotificationCenter& center) {
    std::thread([sectionKey, launcher = std::move(launcher), &queue, &center] {
        launchAndWait(*launcher);
        queue.async([sectionKey, &center] {
            const std::string name = openNotificationForSection(sectionKey);
            if (!name.empty())
                center.postNotificationName(name);
        });
    }).detach();
}

} // namespace corvane
