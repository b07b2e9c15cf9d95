// The public address against a local HTTPS server: when it is fetched and what is refused.
#include "collectors/ping/PublicAddressFetcher.h"
#include "foundation/Log.h"
#include "foundation/ManualMainQueue.h"
#include "support/LocalTlsServer.h"
#include "support/MainContext.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

class PublicAddress : public ::testing::Test {
protected:
    void SetUp() override {
        if (!server.failure().empty())
            GTEST_SKIP() << server.failure();
        server.respond("/ip", 200, "203.0.113.45\n");
        fetcher = std::make_unique<PublicAddressFetcher>(
            clock, PublicAddressFetcher::Settings{server.url("/ip"), server.database()},
            [this](const Value& data) { changes.push_back(data["address"].stringValue()); });
    }
    // Serves until the fetch in flight has ended.
    void settle() { settle(*fetcher); }
    static void settle(const PublicAddressFetcher& fetching) {
        test::runMainContextUntil([&] { return !fetching.fetching(); });
    }

    test::LocalTlsServer server;
    ManualMainQueue clock; // only its clock: the fetch runs on the GLib context
    std::unique_ptr<PublicAddressFetcher> fetcher;
    std::vector<std::string> changes;
};

TEST_F(PublicAddress, FetchedOnNetworkChangesAndAtMostEveryTenMinutes) {
    fetcher->refresh();
    EXPECT_FALSE(fetcher->fetching()) << "never while offline";
    fetcher->networkChanged(true);
    settle();
    EXPECT_EQ(server.requests("/ip"), 1);
    EXPECT_EQ(fetcher->publicIPData()["address"].stringValue(), "203.0.113.45");
    clock.advance(PublicAddressFetcher::kMinimumInterval - 1);
    fetcher->refresh();
    settle();
    EXPECT_EQ(server.requests("/ip"), 1) << "not again within ten minutes";
    clock.advance(1);
    server.respond("/ip", 200, "2001:db8::45");
    fetcher->refresh();
    settle();
    EXPECT_EQ(server.requests("/ip"), 2);
    fetcher->networkChanged(true);
    settle();
    EXPECT_EQ(server.requests("/ip"), 3) << "a new network asks at once";
    fetcher->networkChanged(false);
    EXPECT_TRUE(fetcher->publicIPData()["address"].isNull());
    EXPECT_EQ(changes, (std::vector<std::string>{"203.0.113.45", "2001:db8::45", ""}));
}

TEST_F(PublicAddress, RefusesWhatIsNotAnAddress) {
    struct Case {
        const char* name;
        unsigned status;
        std::string body;
        const char* logged;
    };
    const Case cases[] = {
        {"a web page", 200, "<html><body>203.0.113.45</body></html>", "not an address"},
        {"a huge answer", 200, std::string(1 << 20, '1'), "longer than 256 bytes"},
        {"an error status", 503, "203.0.113.45", "status 503"},
        {"three parts", 200, "203.0.113", "not an address"},
    };
    fetcher->networkChanged(true);
    settle();
    for (const auto& c : cases) {
        LogCapture log;
        server.respond("/ip", c.status, c.body);
        clock.advance(PublicAddressFetcher::kMinimumInterval);
        fetcher->refresh();
        settle();
        EXPECT_TRUE(log.contains(c.logged)) << c.name << ": " << log.lines();
        EXPECT_EQ(fetcher->publicIPData()["address"].stringValue(), "203.0.113.45") << c.name;
    }
    EXPECT_EQ(server.requests("/ip"), 5);
}

TEST_F(PublicAddress, TrustsOnlyTheGivenDatabase) {
    LogCapture log;
    PublicAddressFetcher untrusting(clock, {server.url("/ip"), nullptr}, [](const Value&) {});
    untrusting.networkChanged(true);
    settle(untrusting);
    EXPECT_TRUE(untrusting.publicIPData()["address"].isNull());
    EXPECT_TRUE(log.contains("the request failed")) << log.lines();
}

TEST(PublicAddressBlock, HiddenOnlyByItsOwnEntryInTheDisabledList) {
    EXPECT_TRUE(PublicAddressFetcher::shownWith(""));
    EXPECT_TRUE(PublicAddressFetcher::shownWith("buttons,public-ipv6,ip"));
    EXPECT_FALSE(PublicAddressFetcher::shownWith("buttons,public-ip"));
    EXPECT_FALSE(PublicAddressFetcher::shownWith("public-ip,,buttons"));
}

} // namespace
