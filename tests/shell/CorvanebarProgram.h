#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibMainQueue.h"

#include <filesystem>
#include <gio/gio.h>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace corvane::test {

// What one run of the built program left behind.
struct ProgramRun {
    bool started = false;
    bool succeeded = false;
    int status = -1; // the exit status
    std::string output;
    std::string errors; // what it printed on its standard error
    std::string error;  // why it did not start
};

// Runs the built `corvanebar` with its settings and logs in the given folders, as a user would.
inline ProgramRun runCorvanebar(const std::vector<std::string>& arguments,
                                const std::filesystem::path& configHome,
                                const std::filesystem::path& stateHome) {
    std::vector<char*> argv{const_cast<char*>(CVB_CORVANEBAR_PROGRAM)};
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    gchar** environment = g_get_environ();
    environment = g_environ_setenv(environment, "XDG_CONFIG_HOME", configHome.c_str(), TRUE);
    environment = g_environ_setenv(environment, "XDG_STATE_HOME", stateHome.c_str(), TRUE);
    environment = g_environ_setenv(environment, "LANGUAGE", "en", TRUE);
    ProgramRun run;
    gint status = -1;
    gchar* output = nullptr;
    gchar* errors = nullptr;
    GError* error = nullptr;
    run.started = g_spawn_sync(nullptr, argv.data(), environment, G_SPAWN_DEFAULT, nullptr, nullptr,
                               &output, &errors, &status, &error);
    if (run.started) {
        run.succeeded = g_spawn_check_wait_status(status, nullptr);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.output = output ? output : "";
        run.errors = errors ? errors : "";
    } else {
        run.error = error ? error->message : "cannot start";
    }
    g_free(output);
    g_free(errors);
    g_clear_error(&error);
    g_strfreev(environment);
    return run;
}

// Hears the named notifications on the session bus, as another program of the product would.
class BusListener {
public:
    BusListener(GDBusConnection* bus, const std::vector<std::string>& names)
        : center_(bus) {
        for (const auto& name : names)
            observations_.push_back(center_.addObserver(name, [this](const Notification& n) {
                heard.push_back(n.name);
                if (heard.size() >= wanted_)
                    queue_.quit();
            }));
    }
    // Runs the main loop until `count` posts were heard or 20 seconds passed.
    void waitFor(std::size_t count) {
        wanted_ = count;
        const auto timeout = queue_.after(20.0, [this] { queue_.quit(); });
        if (heard.size() < count)
            queue_.run();
        queue_.cancel(timeout);
    }

    std::vector<std::string> heard;

private:
    GLibMainQueue queue_;
    DistributedNotificationCenter center_;
    std::vector<Observation> observations_;
    std::size_t wanted_ = 1;
};

} // namespace corvane::test
