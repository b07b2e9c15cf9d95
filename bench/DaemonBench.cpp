// The daemon as its clients meet it: the round trip of `version` (median over 1,000 calls,
// goal at most 0.5 ms) and how often the daemon wakes when nobody asks anything (goal at most
// once a minute). Runs its own bus and daemon.
#include "foundation/GLibHandles.h"
#include "links/DaemonNames.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace corvane;

// A private session bus and the daemon on it, for the life of the program.
class DaemonOnPrivateBus {
public:
    DaemonOnPrivateBus() {
        gchar* argv[] = {const_cast<gchar*>("dbus-daemon"), const_cast<gchar*>("--session"),
                         const_cast<gchar*>("--nofork"), const_cast<gchar*>("--print-address=1"),
                         nullptr};
        gint out = -1;
        if (!g_spawn_async_with_pipes(
                nullptr, argv, nullptr,
                static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD), nullptr,
                nullptr, &busPid_, nullptr, &out, nullptr, nullptr))
            return;
        std::string address;
        char c = 0;
        while (::read(out, &c, 1) == 1 && c != '\n')
            address += c;
        ::close(out);
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        daemonPid_ = ::fork();
        if (daemonPid_ == 0) {
            ::execl(CVB_DAEMON_PROGRAM, CVB_DAEMON_PROGRAM, "--bus", "session", nullptr);
            ::_exit(127);
        }
        bus_ = GObjectRef<GDBusConnection>::adopt(g_dbus_connection_new_for_address_sync(
            address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr));
        for (int i = 0; i < 1000 && !version(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ~DaemonOnPrivateBus() {
        bus_.reset();
        for (const pid_t pid : {daemonPid_, static_cast<pid_t>(busPid_)})
            if (pid > 0) {
                ::kill(pid, SIGTERM);
                ::waitpid(pid, nullptr, 0);
            }
    }

    bool version() const {
        if (!bus_)
            return false;
        VariantRef reply(g_dbus_connection_call_sync(
            bus_.get(), daemon::kBusName, daemon::kObjectPath, daemon::kInterface, "version",
            nullptr, G_VARIANT_TYPE("(dx)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, 1000, nullptr,
            nullptr));
        return static_cast<bool>(reply);
    }

    // Times the daemon's threads went to sleep after running: each is one wake-up.
    long long wakeUps() const {
        long long total = 0;
        const std::string tasks = "/proc/" + std::to_string(daemonPid_) + "/task";
        GDir* dir = g_dir_open(tasks.c_str(), 0, nullptr);
        for (const char* task = dir ? g_dir_read_name(dir) : nullptr; task;
             task = g_dir_read_name(dir)) {
            gchar* status = nullptr;
            if (!g_file_get_contents((tasks + "/" + task + "/status").c_str(), &status, nullptr,
                                     nullptr))
                continue;
            const std::string text = takeGString(status);
            for (const char* field : {"voluntary_ctxt_switches:", "nonvoluntary_ctxt_switches:"})
                if (const auto at = text.find(std::string("\n") + field); at != std::string::npos)
                    total += std::atoll(text.c_str() + at + 1 + std::string(field).size());
        }
        if (dir)
            g_dir_close(dir);
        return total;
    }

private:
    GPid busPid_ = 0;
    pid_t daemonPid_ = 0;
    GObjectRef<GDBusConnection> bus_;
};

DaemonOnPrivateBus& daemonProcess() {
    static DaemonOnPrivateBus instance;
    return instance;
}

void BM_DaemonVersionRoundTrip(benchmark::State& state) {
    auto& daemon = daemonProcess();
    std::vector<double> times;
    times.reserve(1000);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (!daemon.version()) {
            state.SkipWithError("the daemon does not answer");
            return;
        }
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::nth_element(times.begin(), times.begin() + static_cast<long>(times.size() / 2),
                     times.end());
    state.counters["median_ms"] = times[times.size() / 2];
}
BENCHMARK(BM_DaemonVersionRoundTrip)->Iterations(1000)->UseRealTime();

void BM_DaemonIdleWakeUps(benchmark::State& state) {
    auto& daemon = daemonProcess();
    constexpr int kSeconds = 6;
    double perMinute = 0;
    for (auto _ : state) {
        const long long before = daemon.wakeUps();
        std::this_thread::sleep_for(std::chrono::seconds(kSeconds));
        perMinute = static_cast<double>(daemon.wakeUps() - before) * 60.0 / kSeconds;
    }
    state.counters["wakeups_per_minute"] = perMinute;
}
BENCHMARK(BM_DaemonIdleWakeUps)->Iterations(1)->UseRealTime()->Unit(benchmark::kSecond);

} // namespace

BENCHMARK_MAIN();
