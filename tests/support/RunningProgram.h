#pragma once

#include "support/MainContext.h"
#include "support/TemporaryDirectory.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <glib.h>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace corvane::test {

// The built `corvanebar`, run as a user would, in English: HOME and the XDG folders are `home`
// (by default a folder of its own), `environment` adds variables, and its standard output goes
// to `outputFile` when given, else to a pipe read line by line while this thread's main context
// answers its calls.
class RunningProgram {
public:
    using Environment = std::vector<std::pair<std::string, std::string>>;

    explicit RunningProgram(const std::vector<std::string>& arguments,
                            const Environment& environment = {}, std::filesystem::path home = {},
                            const char* outputFile = nullptr) {
        std::vector<const char*> argv{CVB_CORVANEBAR_PROGRAM};
        for (const auto& argument : arguments)
            argv.push_back(argument.c_str());
        argv.push_back(nullptr);
        gchar** env = g_environ_setenv(g_get_environ(), "LANGUAGE", "en", TRUE);
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"})
            env =
                g_environ_setenv(env, name, (home.empty() ? ownHome_.path() : home).c_str(), TRUE);
        for (const auto& [name, value] : environment)
            env = g_environ_setenv(env, name.c_str(), value.c_str(), TRUE);
        const int output = outputFile ? ::open(outputFile, O_WRONLY) : -1;
        started_ = g_spawn_async_with_pipes_and_fds(
            nullptr, argv.data(), env, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr, -1, output, -1,
            nullptr, nullptr, 0, &pid_, nullptr, outputFile ? nullptr : &output_, &error_, nullptr);
        if (output >= 0)
            ::close(output);
        if (output_ >= 0)
            ::fcntl(output_, F_SETFL, O_NONBLOCK);
        g_strfreev(env);
    }
    ~RunningProgram() {
        if (started_ && status_ < 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        for (int fd : {output_, error_})
            if (fd >= 0)
                ::close(fd);
    }

    bool started() const { return started_; }
    std::optional<std::string> nextLine(double seconds = 5) {
        std::optional<std::string> line;
        runMainContextUntil(
            [&] {
                for (char c = 0; ::read(output_, &c, 1) == 1; pending_ += c)
                    if (c == '\n') {
                        line = std::exchange(pending_, {});
                        return true;
                    }
                return false;
            },
            seconds);
        return line;
    }
    void closeOutput() { ::close(std::exchange(output_, -1)); }
    // Sends `signal` first when given; the exit status (128 + a signal that ended it), or -1
    // when the program has not ended within the time.
    int finish(int signal = 0, double seconds = 20) {
        if (signal)
            ::kill(pid_, signal);
        int status = 0;
        if (!runMainContextUntil([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; },
                                 seconds))
            return -1;
        return status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    // What it printed and no `nextLine` took, and what it printed on its standard error, once it
    // has ended.
    std::string outputText() const { return pending_ + readAll(output_); }
    std::string errorText() const { return readAll(error_); }

private:
    static std::string readAll(int fd) {
        std::string text;
        char buffer[512];
        for (ssize_t n; fd >= 0 && (n = ::read(fd, buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<std::size_t>(n));
        return text;
    }

    TemporaryDirectory ownHome_;
    bool started_ = false;
    GPid pid_ = 0;
    int output_ = -1;
    int error_ = -1;
    int status_ = -1;
    std::string pending_;
};

} // namespace corvane::test
