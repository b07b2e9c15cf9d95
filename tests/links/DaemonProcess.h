#pragma once

#include "foundation/GLibHandles.h"
#include "support/MainContext.h"
#include "support/TemporaryDirectory.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace corvane::test {

inline bool nameHasOwner(GDBusConnection* bus, const char* name) {
    VariantRef reply(g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "NameHasOwner", g_variant_new("(s)", name), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE,
        -1, nullptr, nullptr));
    gboolean owned = FALSE;
    if (reply)
        g_variant_get(reply.get(), "(b)", &owned);
    return owned;
}

// The real daemon program on the test's session bus, its log in a file.
class DaemonProcess {
public:
    explicit DaemonProcess(std::vector<std::string> extra = {})
        : extra_(std::move(extra)) {}
    ~DaemonProcess() { stop(); }

    // Starts it and waits for its name on `bus`; false when it did not come up.
    bool start(GDBusConnection* bus) {
        std::vector<std::string> arguments{CVB_DAEMON_PROGRAM, "--bus", "session"};
        arguments.insert(arguments.end(), extra_.begin(), extra_.end());
        std::vector<char*> argv;
        for (auto& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int log = ::open((dir_ / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(log, STDERR_FILENO);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(log);
        const auto up = [&] { return nameHasOwner(bus, "com.halvorn.corvanebardaemon"); };
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!up() && std::chrono::steady_clock::now() < end) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) { // it gave up
                pid_ = 0;
                return false;
            }
            ::usleep(5000);
        }
        return up();
    }
    // SIGTERM, as the service manager stops it; its exit status.
    int stop() {
        if (pid_ <= 0)
            return -1;
        ::kill(pid_, SIGTERM);
        int status = -1;
        ::waitpid(pid_, &status, 0);
        pid_ = 0;
        return status;
    }
    std::string log() const {
        std::ifstream in(dir_ / "log");
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    std::vector<std::string> extra_;
    TemporaryDirectory dir_;
    pid_t pid_ = 0;
};

} // namespace corvane::test
