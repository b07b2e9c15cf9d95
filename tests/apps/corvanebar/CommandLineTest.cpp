#include "support/TemporaryDirectory.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

const std::string kRecordedMachine = std::string(CVB_FIXTURES_DIR) + "/sysroot/ht-4c8t";

// The built program with its settings and logs in a folder of the test's own, reading the given
// machine (by default an empty folder). Its standard output goes to `outputFile` when given,
// else to a pipe.
class Program {
public:
    explicit Program(const std::vector<std::string>& arguments, const std::string& machine = "",
                     const char* outputFile = nullptr) {
        std::vector<const char*> argv{CVB_CORVANEBAR_PROGRAM};
        for (const auto& argument : arguments)
            argv.push_back(argument.c_str());
        argv.push_back(nullptr);
        gchar** environment = g_get_environ();
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_STATE_HOME"})
            environment = g_environ_setenv(environment, name, home_.path().c_str(), TRUE);
        environment =
            g_environ_setenv(environment, "CORVANEBAR_SYSROOT",
                             machine.empty() ? home_.path().c_str() : machine.c_str(), TRUE);
        const int output = outputFile ? ::open(outputFile, O_WRONLY) : -1;
        GError* error = nullptr;
        started_ = g_spawn_async_with_pipes_and_fds(
            nullptr, argv.data(), environment, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr, -1,
            output, -1, nullptr, nullptr, 0, &pid_, nullptr, outputFile ? nullptr : &output_,
            &error_, &error);
        if (!started_)
            g_clear_error(&error);
        if (output >= 0)
            ::close(output);
        g_strfreev(environment);
    }
    ~Program() {
        if (started_ && status_ < 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        for (int fd : {output_, error_})
            if (fd >= 0)
                ::close(fd);
    }

    // Reads the output up to its first line break; the pipe stays open.
    std::string firstLine() {
        std::string line;
        char c = 0;
        while (output_ >= 0 && ::read(output_, &c, 1) == 1 && c != '\n')
            line += c;
        return line;
    }
    void closeOutput() {
        ::close(output_);
        output_ = -1;
    }
    // The exit status, or -1 when the program has not ended within the time.
    int waitForExit(double seconds = 20) {
        const auto until =
            std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        int status = 0;
        while (::waitpid(pid_, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > until)
                return -1;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        return status_;
    }
    std::string errorText() const {
        std::string text;
        char buffer[512];
        for (ssize_t n; (n = ::read(error_, buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<std::size_t>(n));
        return text;
    }
    bool started() const { return started_; }

private:
    corvane::test::TemporaryDirectory home_;
    bool started_ = false;
    GPid pid_ = 0;
    int output_ = -1;
    int error_ = -1;
    int status_ = -1;
};

struct Refusal {
    std::vector<std::string> arguments;
    int status;
    const char* says;
};

TEST(CommandLine, ExitStatusesAndMessagesNameTheProblem) {
    const Refusal cases[] = {
        {{"sky", "--lat", "abc"}, 2, "--lat: \"abc\" is not a number"},
        {{"sky", "--lat", "nan"}, 2, "--lat: \"nan\" is not a finite number"},
        {{"sky", "--lon", "-181"}, 2, "--lon: -181 is outside -180 to 180"},
        {{"render", "cpu", "--out", "x.png", "--scale", "inf"}, 2, "\"inf\" is not a finite"},
        {{"render", "cpu", "--out", "x.png", "--seconds", "1.5"}, 2, "not a whole number"},
        {{"no-such-command"}, 2, "no-such-command"},
        {{"prefs"}, 2, "subcommand"},
        // The machine is an empty folder: nothing to read.
        {{"status"}, 1, "nothing could be read"},
    };
    for (const auto& c : cases) {
        Program program(c.arguments);
        ASSERT_TRUE(program.started());
        EXPECT_EQ(program.waitForExit(), c.status) << c.arguments[0] << " " << c.says;
        const std::string error = program.errorText();
        EXPECT_NE(error.find(c.says), std::string::npos) << error;
    }
}

TEST(CommandLine, OutputThatCannotBeWrittenEndsTheCommandWithAFailure) {
    for (const auto& arguments : {std::vector<std::string>{"sky"}, {"status"}, {"--version"}}) {
        Program program(arguments, kRecordedMachine, "/dev/full");
        EXPECT_EQ(program.waitForExit(), 1) << arguments[0];
        EXPECT_NE(program.errorText().find("cannot write the output"), std::string::npos);
    }
    // A reader that leaves after one line ends the running display, without a message.
    Program watch({"status", "--watch"}, kRecordedMachine);
    EXPECT_NE(watch.firstLine().find("  CPU "), std::string::npos);
    watch.closeOutput();
    EXPECT_EQ(watch.waitForExit(), 1);
    EXPECT_EQ(watch.errorText().find("cannot write"), std::string::npos);
}

} // namespace
