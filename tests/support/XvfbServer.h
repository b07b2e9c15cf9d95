#pragma once

#include <csignal>
#include <glib-unix.h>
#include <glib.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace corvane::test {

// An X server of the test's own on a display it picks itself, so that programs starting
// servers at the same time cannot take the same number; stopped with the object.
class XvfbServer {
public:
    explicit XvfbServer(const char* screen = "1280x1024x24") {
        int ready[2];
        if (!g_unix_open_pipe(ready, FD_CLOEXEC, nullptr))
            return;
        const gchar* argv[] = {"Xvfb",    "-displayfd", "3",    "-nolisten", "tcp",
                               "-screen", "0",          screen, nullptr};
        const gint source[] = {ready[1]};
        const gint target[] = {3};
        const bool started = g_spawn_async_with_pipes_and_fds(
            nullptr, argv, nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr, -1, -1, -1, source,
            target, 1, &server_, nullptr, nullptr, nullptr, nullptr);
        close(ready[1]);
        std::string number;
        char c = 0;
        while (started && read(ready[0], &c, 1) == 1 && c != '\n')
            number += c;
        close(ready[0]);
        if (!number.empty())
            display_ = ":" + number;
    }
    ~XvfbServer() {
        if (server_ <= 0)
            return;
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
    }
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    // Empty when the server did not start.
    const std::string& display() const { return display_; }

private:
    GPid server_ = 0;
    std::string display_;
};

} // namespace corvane::test
