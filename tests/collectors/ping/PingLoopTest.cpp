// The send/wait loop on scripted sockets and virtual time.
#include "PingRecorder.h"
#include "ScriptedPingTransport.h"
#include "collectors/ping/HLVPing.h"
#include "collectors/ping/HLVPingItem.h"
#include "collectors/ping/PingAddressTest.h"
#include "collectors/ping/ReachabilityCheck.h"
#include "foundation/ManualMainQueue.h"

#include <chrono>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::ScriptedTransport;
using Calls = std::vector<std::string>;
using Script = std::function<int(ScriptedTransport&, const ping::Bytes&)>;

namespace {

const Script kAnswer = [](ScriptedTransport& t, const ping::Bytes& p) {
    t.answer(p, 0.025);
    return 0;
};

class PingLoop : public ::testing::Test {
protected:
    void make(std::int64_t packets, Script onSend) {
        recorder = {};
        auto owned = std::make_unique<ScriptedTransport>();
        transport = owned.get();
        transport->onSend = std::move(onSend);
        ping = std::make_shared<HLVPingItem>(queue, std::move(owned));
        ping->packetsTotal = packets;
        ping->setDelegate(&recorder);
    }
    // Runs the loop on this thread, then delivers what it told.
    void run(const std::string& host = "192.0.2.7") {
        ping->run(host);
        queue.runUntilIdle();
    }
    // Cancels from the socket's side once `sends` packets went out.
    Script cancelAt(std::size_t sends, Script then) {
        return [this, sends, then](ScriptedTransport& t, const ping::Bytes& p) {
            if (t.sent.size() == sends) {
                queue.runUntilIdle(); // the main queue has delivered what came so far
                ping->cancel();
            }
            return then(t, p);
        };
    }

    ManualMainQueue queue;
    PingRecorder recorder;
    std::shared_ptr<HLVPingItem> ping;
    ScriptedTransport* transport = nullptr;
};

TEST_F(PingLoop, RepliesAtASteadyIntervalThenTheTotals) {
    make(4, kAnswer);
    run();
    EXPECT_EQ(recorder.calls, (Calls{"began", "reply 1 ttl 64", "reply 2 ttl 64", "reply 3 ttl 64",
                                     "reply 4 ttl 64", "complete 4/4"}));
    EXPECT_NEAR(transport->clock, 3.025, 1e-9) << "one packet a second, no wait after the last";
    const Value& totals = recorder.results.back();
    EXPECT_NEAR(totals["totalTime"].doubleValue(), 0.1, 1e-9);
    EXPECT_NEAR(totals["minimumTime"].doubleValue(), 0.025, 1e-9);
    EXPECT_EQ(recorder.results[0]["address"].stringValue(), "192.0.2.7");
    EXPECT_EQ(recorder.results[0]["bytes"].integerValue(), 64);
}

TEST_F(PingLoop, StraysErrorsFailuresAndCancel) {
    struct Case {
        const char* name;
        std::int64_t packets;
        Script onSend;
        Calls calls;
        std::size_t sent;
        const char* host = "192.0.2.7";
        PingTransport::Open open = PingTransport::Open::Ok;
    };
    const Script strays = [](ScriptedTransport& t, const ping::Bytes& p) {
        t.answer(p, 0.1, 1);    // another pinger's identifier
        t.answer(p, 0.2, 0, 1); // an old sequence
        return 0;
    };
    const Script refused = [](ScriptedTransport&, const ping::Bytes&) { return EINVAL; };
    // Dropped a moment after the second packet went out.
    const Script drops = [](ScriptedTransport& t, const ping::Bytes&) {
        return t.sent.size() == 2 ? ENETUNREACH : 0;
    };
    const Script silent = [](ScriptedTransport&, const ping::Bytes&) { return 0; };
    const auto noSocket = PingTransport::Open::Refused;
    const Case cases[] = {
        {"strays", 2, strays, {"began", "timeout 1", "timeout 2", "complete 2/0"}, 2},
        {"refused", 1, refused, {"began", "failed Unable to ping host"}, 1},
        {"dropped", 3, drops, {"began", "timeout 1", "timeout 2", "timeout 3", "complete 2/0"}, 3},
        {"no socket", 4, kAnswer, {"failed Unable to create socket"}, 0, "192.0.2.7", noSocket},
        {"no address", 4, kAnswer, {"failed Unable to look up address"}, 0, ""},
        {"cancel while waiting", 4, cancelAt(2, silent), {"began", "timeout 1"}, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        make(c.packets, c.onSend);
        transport->openResult = c.open;
        run(c.host);
        EXPECT_EQ(recorder.calls, c.calls);
        EXPECT_EQ(transport->sent.size(), c.sent);
        if (c.open == PingTransport::Open::Ok) {
            EXPECT_LE(transport->clock, static_cast<double>(c.packets)) << "a second a packet";
        }
    }
}

TEST_F(PingLoop, SequenceWrapsAfter65535) {
    make(0x7fffffff, cancelAt(3, kAnswer));
    ping->packetSequence = 0xffff;
    run();
    ASSERT_EQ(transport->sent.size(), 3u);
    EXPECT_EQ(transport->sent[1][6] << 8 | transport->sent[1][7], 0);
    // The reply to the wrapped packet is its own, not an old one.
    EXPECT_EQ(recorder.calls, (Calls{"began", "reply 65536 ttl 64", "reply 1 ttl 64"}));
}

TEST_F(PingLoop, ReadResponsesGathersDistinctSourcesForATenthOfASecond) {
    make(4, kAnswer);
    ping->socketMode = AF_INET;
    const auto request = ping::pingPacketWithType(ping::kEchoRequest, ping->identifier, 0, true);
    double delay = 0.02;
    for (const char* source : {"10.0.0.2", "10.0.0.3", "10.0.0.2", "10.0.0.4"}) {
        transport->answer(request, delay += 0.025);
        transport->inbox.back().second.address = source;
    }
    transport->answer(request, 0.01, 1); // another pinger's
    std::rotate(transport->inbox.begin(), transport->inbox.end() - 1, transport->inbox.end());
    // 10.0.0.4 comes after the tenth of a second.
    EXPECT_EQ(ping->readResponses(), (Calls{"10.0.0.2", "10.0.0.3"}));
}

// Sockets for every item made, all on one script; counts what they send.
struct ScriptedFactory {
    Script onSend = kAnswer;
    PingTransport::Open openResult = PingTransport::Open::Ok;
    std::shared_ptr<std::atomic<int>> sends = std::make_shared<std::atomic<int>>(0);

    HLVPing::TransportFactory make() const {
        return [script = *this] {
            auto t = std::make_unique<ScriptedTransport>();
            t->openResult = script.openResult;
            t->onSend = [script](ScriptedTransport& s, const ping::Bytes& p) {
                ++*script.sends;
                return script.onSend(s, p);
            };
            return std::unique_ptr<PingTransport>(std::move(t));
        };
    }
};

// Delivers what the items' threads tell until `done` or two seconds passed.
void deliverUntil(ManualMainQueue& queue, const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!done() && std::chrono::steady_clock::now() < end) {
        queue.runUntilIdle();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// The front object forwards only what its active item says.
TEST(HLVPingFront, DropsLateResultsOfAReplacedItem) {
    ManualMainQueue queue;
    PingRecorder recorder;
    HLVPing front(queue, ScriptedFactory{}.make());
    front.delegate = &recorder;
    front.packets = 1;
    front.ping("127.0.0.1");
    front.activeItem->wait();
    front.ping("127.0.0.2");
    front.activeItem->wait();
    queue.runUntilIdle();
    EXPECT_EQ(recorder.calls, (Calls{"began", "reply 1 ttl 64", "complete 1/1"}));
    EXPECT_FALSE(front.active);
    EXPECT_EQ(front.activeItem, nullptr);
}

TEST(PingAddressTestCase, FirstReplyAnswersFailuresAndSilenceDoNot) {
    struct Case {
        const char* name;
        int answeredPacket; // 0: none
        PingTransport::Open open;
        bool answered;
        int sends; // at least: on virtual time the run may go on before the answer is read
    };
    const Case cases[] = {
        {"answers the third", 3, PingTransport::Open::Ok, true, 3},
        {"silent", 0, PingTransport::Open::Ok, false, 4},
        {"no socket", 1, PingTransport::Open::Refused, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ManualMainQueue queue;
        ScriptedFactory script;
        script.openResult = c.open;
        script.onSend = [&c](ScriptedTransport& t, const ping::Bytes& p) {
            if (static_cast<int>(t.sent.size()) == c.answeredPacket)
                t.answer(p, 0.02);
            return 0;
        };
        PingAddressTest test(queue, script.make());
        std::optional<bool> answered;
        test.test("https://192.0.2.7", [&](bool a) { answered = a; });
        deliverUntil(queue, [&] { return answered.has_value(); });
        EXPECT_EQ(answered, c.answered);
        EXPECT_FALSE(test.testing());
        EXPECT_GE(*script.sends, c.sends);
        EXPECT_LE(*script.sends, c.open == PingTransport::Open::Ok ? 4 : 0);
    }
    // A new test silences the running one.
    ManualMainQueue queue;
    PingAddressTest test(queue, ScriptedFactory{}.make());
    Calls told;
    test.test("192.0.2.7", [&](bool) { told.push_back("first"); });
    test.test("192.0.2.8", [&](bool) { told.push_back("second"); });
    deliverUntil(queue, [&] { return !told.empty(); });
    queue.runUntilIdle();
    EXPECT_EQ(told, Calls{"second"});
}

TEST(ReachabilityCheckCase, ChecksWhileConnectedOnly) {
    ManualMainQueue queue;
    ScriptedFactory script;
    bool peerAnswers = true;
    script.onSend = [&](ScriptedTransport& t, const ping::Bytes& p) {
        if (peerAnswers)
            t.answer(p, 0.02);
        return 0;
    };
    std::vector<bool> changes;
    Calls asked;
    HLVPing shared(queue, script.make());
    shared.packets = HLVPing::kRunUntilCancelled;
    ReachabilityCheck check(
        queue, shared, [&] { return asked.emplace_back("https://1.0.0.1"); },
        [&](bool reachable) { changes.push_back(reachable); });
    EXPECT_EQ(check.hasInternetConnection(), std::nullopt);
    check.networkChanged(2);
    deliverUntil(queue, [&] { return !changes.empty(); });
    EXPECT_EQ(check.hasInternetConnection(), true);
    peerAnswers = false;
    queue.advance(ReachabilityCheck::kInterval - 1);
    EXPECT_EQ(asked.size(), 1u) << "not again within the interval";
    queue.advance(1);
    deliverUntil(queue, [&] { return changes.size() == 2; });
    EXPECT_EQ(changes, (std::vector<bool>{true, false}));
    EXPECT_GE(*script.sends, 1 + ReachabilityCheck::kMisses) << "the shared ping ran on";
    check.networkChanged(1); // an address is missing: no pings
    const int sends = *script.sends;
    queue.advance(3 * ReachabilityCheck::kInterval);
    EXPECT_EQ(*script.sends, sends);
    EXPECT_EQ(asked.size(), 2u);
}

} // namespace
