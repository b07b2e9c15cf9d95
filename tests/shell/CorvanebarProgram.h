#pragma once

#include <filesystem>
#include <gio/gio.h>
#include <string>
#include <vector>

namespace corvane::test {

// What one run of the built program left behind.
struct ProgramRun {
    bool started = false;
    bool succeeded = false;
    std::string output;
    std::string error;
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
    ProgramRun run;
    gint status = -1;
    gchar* output = nullptr;
    GError* error = nullptr;
    run.started = g_spawn_sync(nullptr, argv.data(), environment, G_SPAWN_DEFAULT, nullptr, nullptr,
                               &output, nullptr, &status, &error);
    if (run.started) {
        run.succeeded = g_spawn_check_wait_status(status, nullptr);
        run.output = output ? output : "";
    } else {
        run.error = error ? error->message : "cannot start";
    }
    g_free(output);
    g_clear_error(&error);
    g_strfreev(environment);
    return run;
}

} // namespace corvane::test
