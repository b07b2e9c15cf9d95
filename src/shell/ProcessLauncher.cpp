#include "shell/ProcessLauncher.h"

#include "foundation/Log.h"

#include <glib.h>
#include <unistd.h>

namespace corvane {

namespace {

// Runs in the child before exec: leave the terminal's session, so closing it or the parent
// ending does not take the child along.
void newSession(gpointer) {
    setsid();
}

} // namespace

bool GLibProcessLauncher::launchDetached(const std::vector<std::string>& arguments) {
    if (arguments.empty())
        return false;
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    GError* error = nullptr;
    // Without G_SPAWN_DO_NOT_REAP_CHILD GLib reaps the child itself, so none is left behind.
    const bool started = g_spawn_async(nullptr, argv.data(), nullptr, G_SPAWN_DEFAULT, newSession,
                                       nullptr, nullptr, &error);
    if (!started) {
        CVBLog("Cannot start %s: %s", arguments.front().c_str(),
               error ? error->message : "unknown error");
        g_clear_error(&error);
    }
    return started;
}

std::filesystem::path runningProgramPath() {
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        CVBLog("Cannot read the program's own path: %s", error.message().c_str());
        return {};
    }
    return path;
}

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

} // namespace corvane
