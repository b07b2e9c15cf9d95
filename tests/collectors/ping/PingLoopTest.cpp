// The send/wait loop on scripted sockets and virtual time.
#include "PingRecorder.h"
#include "ScriptedPingTransport.h"
#include "collectors/ping/HLVPing.h"
#include "collectors/ping/HLVPingItem.h"
#include "collectors/ping/ReachabilityCheck.h"
#include "foundation/ManualMainQueue.h"

#include <chrono>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::ScriptedTransport;

namespace {

std::uint16_t sequenceOf(const ping::Bytes& packet) {
    return static_cast<std::uint16_t>(packet[6] << 8 | packet[7]);
}

class PingLoop : public ::testing::Test {
protected:
    std::shared_ptr<HLVPingItem> item(std::int64_t packets = 4) {
        auto owned = std::make_unique<ScriptedTransport>();
        transport = owned.get();
        auto made = std::make_shared<HLVPingItem>(queue, std::move(owned));
        made->packetsTotal = packets;
        made->setDelegate(&recorder);
        return made;
    }
    // Runs the loop on this thread, then delivers what it told.
    void run(HLVPingItem& ping, const std::string& host = "192.0.2.7") {
        ping.run(host);
        queue.runUntilIdle();
    }

    ManualMainQueue queue;
    PingRecorder recorder;
    ScriptedTransport* transport = nullptr;
};

TEST_F(PingLoop, RepliesAtASteadyIntervalThenTheTotals) {
    auto ping = item();
    transport->onSend = [](ScriptedTransport& t, const ping::Bytes& p) {
        t.answer(p, 0.025);
        return 0;
    };
    run(*ping);
    EXPECT_EQ(recorder.calls,
              (std::vector<std::string>{"began", "reply 1 ttl 64", "reply 2 ttl 64",
                                        "reply 3 ttl 64", "reply 4 ttl 64", "complete 4/4"}));
    EXPECT_NEAR(transport->clock, 3.025, 1e-9) << "one packet a second, no wait after the last";
    const Value& totals = recorder.results.back();
    EXPECT_NEAR(totals["totalTime"].doubleValue(), 0.1, 1e-9);
    EXPECT_NEAR(totals["minimumTime"].doubleValue(), 0.025, 1e-9);
    EXPECT_EQ(recorder.results[0]["address"].stringValue(), "192.0.2.7");
    EXPECT_EQ(recorder.results[0]["bytes"].integerValue(), 64);
}

TEST_F(PingLoop, StrayRepliesAreIgnoredUntilTheTimeout) {
    auto ping = item(2);
    transport->onSend = [](ScriptedTransport& t, const ping::Bytes& p) {
        t.answer(p, 0.1, 1);    // another pinger's identifier
        t.answer(p, 0.2, 0, 1); // an old sequence
        return 0;
    };
    run(*ping);
    EXPECT_EQ(recorder.calls,
              (std::vector<std::string>{"began", "timeout 1", "timeout 2", "complete 2/0"}));
    EXPECT_NEAR(transport->clock, 2.0, 1e-9);
}

TEST_F(PingLoop, SendErrors) {
    struct Case {
        const char* name;
        std::vector<int> errors; // per send
        std::vector<std::string> calls;
    };
    const Case cases[] = {
        {"refused at once", {EINVAL}, {"failed Unable to ping host"}},
        {"a dropped moment after a packet went out",
         {0, ENETUNREACH, 0},
         {"began", "timeout 1", "timeout 2", "timeout 3", "complete 2/0"}},
    };
    for (const auto& c : cases) {
        recorder = {};
        auto ping = item(static_cast<std::int64_t>(c.errors.size()));
        transport->onSend = [&c](ScriptedTransport& t, const ping::Bytes&) {
            return c.errors[t.sent.size() - 1];
        };
        run(*ping);
        auto expected = c.calls;
        if (c.errors.front() != 0)
            expected.insert(expected.begin(), "began");
        EXPECT_EQ(recorder.calls, expected) << c.name;
    }
}

TEST_F(PingLoop, SocketAndLookupFailures) {
    auto refused = item();
    transport->openResult = PingTransport::Open::Refused;
    run(*refused);
    EXPECT_EQ(recorder.calls, std::vector<std::string>{"failed Unable to create socket"});
    recorder = {};
    auto unknown = item();
    run(*unknown, "");
    EXPECT_EQ(recorder.calls, std::vector<std::string>{"failed Unable to look up address"});
    EXPECT_TRUE(transport->sent.empty());
}

TEST_F(PingLoop, SequenceWrapsAtTheSixtyFifthThousandFiveHundredThirtySixthPacket) {
    auto ping = item(0x7fffffff);
    ping->packetSequence = 0xffff;
    transport->onSend = [&](ScriptedTransport& t, const ping::Bytes& p) {
        if (t.sent.size() == 3) {
            queue.runUntilIdle();
            ping->cancel();
        }
        t.answer(p, 0.01);
        return 0;
    };
    run(*ping);
    ASSERT_EQ(transport->sent.size(), 3u);
    EXPECT_EQ(sequenceOf(transport->sent[0]), 0xffff);
    EXPECT_EQ(sequenceOf(transport->sent[1]), 0);
    // The reply to the wrapped packet is its own, not an old one.
    EXPECT_EQ(recorder.calls,
              (std::vector<std::string>{"began", "reply 65536 ttl 64", "reply 1 ttl 64"}));
}

TEST_F(PingLoop, ReadResponsesGathersDistinctSourcesForATenthOfASecond) {
    auto ping = item();
    ping->socketMode = AF_INET;
    const auto request = ping::pingPacketWithType(ping::kEchoRequest, ping->identifier, 0, true);
    const char* sources[] = {"10.0.0.2", "10.0.0.3", "10.0.0.2", "10.0.0.4"};
    double delay = 0.02;
    for (const char* source : sources) {
        transport->answer(request, delay += 0.025);
        transport->inbox.back().second.address = source;
    }
    transport->answer(request, 0.01, 1); // another pinger's
    std::rotate(transport->inbox.begin(), transport->inbox.end() - 1, transport->inbox.end());
    // 10.0.0.4 comes after the tenth of a second.
    EXPECT_EQ(ping->readResponses(), (std::vector<std::string>{"10.0.0.2", "10.0.0.3"}));
}

TEST_F(PingLoop, CancelWhileWaitingEndsWithoutAnotherCall) {
    auto ping = item();
    transport->onSend = [&](ScriptedTransport& t, const ping::Bytes&) {
        if (t.sent.size() == 2) {
            queue.runUntilIdle(); // the main queue has delivered what came so far
            ping->cancel();
        }
        return 0;
    };
    run(*ping);
    EXPECT_EQ(recorder.calls, (std::vector<std::string>{"began", "timeout 1"}));
    EXPECT_EQ(transport->sent.size(), 2u);
}

// The front object forwards only what its active item says.
TEST(HLVPingFront, DropsLateResultsOfAReplacedItem) {
    ManualMainQueue queue;
    PingRecorder recorder;
    std::vector<ScriptedTransport*> transports;
    HLVPing front(queue, [&] {
        auto t = std::make_unique<ScriptedTransport>();
        t->onSend = [](ScriptedTransport& s, const ping::Bytes& p) {
            s.answer(p, 0.001);
            return 0;
        };
        transports.push_back(t.get());
        return std::unique_ptr<PingTransport>(std::move(t));
    });
    front.delegate = &recorder;
    front.packets = 1;
    front.ping("127.0.0.1");
    const auto first = front.activeItem;
    first->wait();
    front.ping("127.0.0.2");
    front.activeItem->wait();
    queue.runUntilIdle();
    EXPECT_EQ(recorder.calls,
              (std::vector<std::string>{"began", "reply 1 ttl 64", "complete 1/1"}));
    EXPECT_FALSE(front.active);
    EXPECT_EQ(front.activeItem, nullptr);
}

// Sockets for every item made, all on one script; counts what they send.
struct ScriptedFactory {
    std::function<int(ScriptedTransport&, const ping::Bytes&)> onSend;
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
template <class Done>
void deliverUntil(ManualMainQueue& queue, Done done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!done() && std::chrono::steady_clock::now() < end) {
        queue.runUntilIdle();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
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
        {"answers the first", 1, PingTransport::Open::Ok, true, 1},
        {"answers the third", 3, PingTransport::Open::Ok, true, 3},
        {"silent", 0, PingTransport::Open::Ok, false, 4},
        {"no socket", 1, PingTransport::Open::Refused, false, 0},
    };
    for (const auto& c : cases) {
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
        EXPECT_EQ(answered, c.answered) << c.name;
        EXPECT_FALSE(test.testing()) << c.name;
        EXPECT_GE(*script.sends, c.sends) << c.name;
        EXPECT_LE(*script.sends, c.open == PingTransport::Open::Ok ? 4 : 0) << c.name;
    }
}

TEST(PingAddressTestCase, ANewTestSilencesTheRunningOne) {
    ManualMainQueue queue;
    ScriptedFactory script;
    script.onSend = [](ScriptedTransport& t, const ping::Bytes& p) {
        t.answer(p, 0.02);
        return 0;
    };
    PingAddressTest test(queue, script.make());
    std::vector<std::string> told;
    test.test("192.0.2.7", [&](bool) { told.push_back("first"); });
    test.test("192.0.2.8", [&](bool) { told.push_back("second"); });
    deliverUntil(queue, [&] { return !told.empty(); });
    queue.runUntilIdle();
    EXPECT_EQ(told, std::vector<std::string>{"second"});
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
    std::vector<std::string> asked;
    ReachabilityCheck check(
        queue, [&] { return asked.emplace_back("1.0.0.1"); },
        [&](bool reachable) { changes.push_back(reachable); }, script.make());
    EXPECT_EQ(check.hasInternetConnection(), std::nullopt);
    check.networkChanged(2);
    deliverUntil(queue, [&] { return !changes.empty(); });
    EXPECT_EQ(check.hasInternetConnection(), true);
    peerAnswers = false;
    queue.advance(ReachabilityCheck::kInterval - 1);
    EXPECT_EQ(asked.size(), 1u) << "not again within the interval";
    queue.advance(1);
    deliverUntil(queue, [&] { return changes.size() == 2; });
    EXPECT_EQ(asked.size(), 2u);
    EXPECT_EQ(changes, (std::vector<bool>{true, false}));
    check.networkChanged(1); // an address is missing: no pings
    const int sends = *script.sends;
    queue.advance(3 * ReachabilityCheck::kInterval);
    EXPECT_EQ(*script.sends, sends);
    EXPECT_EQ(asked.size(), 2u);
}

} // namespace
