// The kernel's ICMP sockets, live, in private user and network namespaces: nothing leaves them.
// The outer test starts the namespace runner under `unshare -rnm`, which runs this program again
// with the inner tests (disabled outside it).
#include "PingRecorder.h"
#include "collectors/ping/HLVPing.h"
#include "collectors/ping/HLVPingItem.h"
#include "collectors/ping/LinuxPingSocket.h"
#include "collectors/ping/ReverseDNS.h"
#include "foundation/GLibHandles.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "support/Spawn.h"

#include <arpa/inet.h>
#include <chrono>
#include <filesystem>
#include <future>
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace corvane;

namespace {

using test::spawn;
using test::Spawned;

// The inner tests named by `filter`, in a new namespace set up by the runner's `options`.
Spawned inside(std::vector<std::string> command, const std::string& filter) {
    command.insert(command.begin(), {"unshare", "-rnm", CVB_NAMESPACE_RUNNER});
    command.insert(command.end(), {"--", std::filesystem::read_symlink("/proc/self/exe"),
                                   "--gtest_also_run_disabled_tests", "--gtest_filter=" + filter,
                                   "--gtest_brief=1"});
    return spawn(command);
}

TEST(PingNamespace, LivePingsInPrivateNamespaces) {
    const Spawned probe = spawn({"unshare", "-rnm", "true"});
    if (!probe.ran || probe.status != 0)
        GTEST_SKIP() << "a user and network namespace is refused here: " << probe.output;
    const std::pair<std::vector<std::string>, const char*> namespaces[] = {
        {{"--veth", "p0:192.0.2.2/24,p1", "--neighbour", "p0:192.0.2.7:02:00:00:00:00:07",
          "--blackhole", "198.51.100.0/24"},
         "InsidePingNamespace.*"},
        {{"--closed-ping-range"}, "InsideClosedRange.*RawSocket*"},
        {{"--closed-ping-range", "--drop-net-raw"}, "InsideClosedRange.*Unable*"},
    };
    // They are independent: run them side by side.
    std::vector<std::future<Spawned>> runs;
    for (const auto& [options, filter] : namespaces)
        runs.push_back(std::async(std::launch::async, inside, options, filter));
    for (auto& run : runs) {
        const Spawned done = run.get();
        EXPECT_EQ(done.status, 0) << done.output;
        EXPECT_TRUE(test::ranAndPassed(done.output)) << done.output;
    }
}

TEST(PingNamespace, RunnerRefusesTheMachinesOwnNetwork) {
    // A user and mount namespace of its own, so that nothing changes even if the check failed.
    const Spawned run = spawn({"unshare", "-rm", CVB_NAMESPACE_RUNNER, "--", "echo", "ran"});
    if (!run.ran)
        GTEST_SKIP() << "unshare is missing";
    EXPECT_EQ(run.status, 125) << run.output;
    EXPECT_EQ(run.output.find("ran\n"), std::string::npos) << run.output;
}

// Answers one PTR query on the namespace's loopback with `labels`, a name in DNS labels.
class LocalResponder {
public:
    // Writes the query name, dotted, to `asked`.
    LocalResponder(std::string labels, std::string& asked)
        : labels_(std::move(labels))
        , asked_(asked) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address_;
        ::bind(socket_, reinterpret_cast<sockaddr*>(&address_), length);
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address_), &length);
        const timeval wait{3, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
        thread_ = std::thread([this] { serve(); });
    }
    ~LocalResponder() {
        thread_.join();
        ::close(socket_);
    }
    const sockaddr_in& address() const { return address_; }

private:
    void serve() {
        std::uint8_t query[512];
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const ssize_t got = ::recvfrom(socket_, query, sizeof query, 0,
                                       reinterpret_cast<sockaddr*>(&from), &length);
        if (got < 17)
            return;
        std::size_t at = 12; // the question name follows the header
        for (; at < static_cast<std::size_t>(got) && query[at] != 0; at += query[at] + 1u)
            asked_.append(reinterpret_cast<const char*>(&query[at + 1]), query[at]).push_back('.');
        std::vector<std::uint8_t> answer(query, query + at + 5);
        answer[2] = 0x81; // a response, recursion desired
        answer[3] = 0x80; // recursion available, no error
        answer[7] = 1;    // one answer
        answer[9] = answer[11] = 0;
        const std::uint8_t record[] = {0xc0, 0x0c, 0, 12, 0, 1, 0, 0, 0x0e, 0x10, 0};
        answer.insert(answer.end(), std::begin(record), std::end(record));
        answer.push_back(static_cast<std::uint8_t>(labels_.size() + 1)); // and the root's 0
        answer.insert(answer.end(), labels_.c_str(), labels_.c_str() + labels_.size() + 1);
        ::sendto(socket_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from),
                 length);
    }

    std::string labels_;
    std::string& asked_;
    int socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address_{};
    std::thread thread_;
};

// Runs the main context until every recorder has finished or `seconds` passed.
double runUntilFinished(const std::vector<const PingRecorder*>& recorders, double seconds,
                        const std::function<void(double)>& tick = {}) {
    const auto start = std::chrono::steady_clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const auto allDone = [&] {
        return std::all_of(recorders.begin(), recorders.end(),
                           [](const PingRecorder* r) { return r->finished(); });
    };
    while (!allDone() && elapsed() < seconds) {
        if (!g_main_context_iteration(nullptr, FALSE))
            g_usleep(1000);
        if (tick)
            tick(elapsed());
    }
    return elapsed();
}

std::vector<std::string> replies(int count) {
    std::vector<std::string> calls{"began"};
    for (int n = 1; n <= count; ++n)
        calls.push_back("reply " + std::to_string(n) + " ttl 64");
    calls.push_back("complete " + std::to_string(count) + "/" + std::to_string(count));
    return calls;
}

void expectLoopbackTimes(const PingRecorder& recorder, const char* name) {
    for (const Value& result : recorder.results) {
        if (result["time"].isNull())
            continue;
        EXPECT_GT(result["time"].doubleValue(), 0.0) << name;
        EXPECT_LE(result["time"].doubleValue(), 0.05) << name;
    }
}

TEST(InsidePingNamespace, DISABLED_LoopbackTimeoutsBlackholeAndCancel) {
    GLibMainQueue queue;
    PingRecorder four, six, silent, blackhole, cancelled;
    HLVPing v4(queue), v6(queue), neighbour(queue), hole(queue), cancel(queue);
    const std::pair<HLVPing*, PingRecorder*> fronts[] = {{&v4, &four},
                                                         {&v6, &six},
                                                         {&neighbour, &silent},
                                                         {&hole, &blackhole},
                                                         {&cancel, &cancelled}};
    for (auto [front, recorder] : fronts)
        front->delegate = recorder;
    double silentDone = 0;
    double blackholeDone = 0;
    v4.ping("127.0.0.1");
    v6.ping("::1");
    neighbour.ping("192.0.2.7");
    hole.ping("198.51.100.9");
    cancel.ping("192.0.2.7");
    bool cancelSent = false;
    runUntilFinished({&four, &six, &silent, &blackhole}, 6.0, [&](double elapsed) {
        if (!cancelSent && elapsed > 0.3) { // waiting for the first reply
            cancel.cancel();
            cancelSent = true;
        }
        if (!silentDone && silent.finished())
            silentDone = elapsed;
        if (!blackholeDone && blackhole.finished())
            blackholeDone = elapsed;
    });
    runUntilFinished({&cancelled}, 1.0); // long enough for the next result, had one come

    EXPECT_EQ(four.calls, replies(4));
    EXPECT_EQ(six.calls, replies(4));
    expectLoopbackTimes(four, "IPv4");
    expectLoopbackTimes(six, "IPv6");
    EXPECT_EQ(silent.calls, (std::vector<std::string>{"began", "timeout 1", "timeout 2",
                                                      "timeout 3", "timeout 4", "complete 4/0"}));
    EXPECT_NEAR(silentDone, 4.0, 0.3);
    EXPECT_EQ(blackhole.calls, (std::vector<std::string>{"began", "failed Unable to ping host"}));
    EXPECT_LE(blackholeDone, 0.1);
    EXPECT_EQ(cancelled.calls, (std::vector<std::string>{"began"}));
}

TEST(InsidePingNamespace, DISABLED_NamesWithBothFamiliesPingOverIPv4) {
    GLibMainQueue queue;
    HLVPingItem item(queue, std::make_unique<LinuxPingSocket>());
    // /etc/hosts names "localhost" for both 127.0.0.1 and ::1 on Debian; nothing leaves here.
    ASSERT_EQ(item.lookupAddress("localhost"), 0);
    EXPECT_EQ(item.socketMode, AF_INET);
    ASSERT_EQ(item.lookupAddress("::1"), 0);
    EXPECT_EQ(item.socketMode, AF_INET6);
}

TEST(InsidePingNamespace, DISABLED_ReverseLookupAsksTheResponder) {
    std::string asked;
    std::optional<std::string> answered;
    {
        LocalResponder responder("\5seven\7example\4test", asked);
        answered = reverseDNS("192.0.2.7", responder.address());
    }
    EXPECT_EQ(asked, "7.2.0.192.in-addr.arpa.");
    EXPECT_EQ(answered, "seven.example.test");
}

TEST(InsideClosedRange, DISABLED_RawSocketsStillPing) {
    GLibMainQueue queue;
    PingRecorder recorder;
    HLVPing front(queue);
    front.delegate = &recorder;
    front.packets = 2;
    front.ping("127.0.0.1");
    runUntilFinished({&recorder}, 3.0);
    EXPECT_EQ(recorder.calls, replies(2));
    expectLoopbackTimes(recorder, "raw");
}

TEST(InsideClosedRange, DISABLED_UnableToCreateSocketNamesTheSetting) {
    LogCapture log;
    GLibMainQueue queue;
    PingRecorder recorder;
    HLVPing front(queue);
    front.delegate = &recorder;
    front.ping("127.0.0.1");
    runUntilFinished({&recorder}, 1.0);
    EXPECT_EQ(recorder.calls, std::vector<std::string>{"failed Unable to create socket"});
    EXPECT_TRUE(log.contains("net.ipv4.ping_group_range")) << log.lines();
}

} // namespace
