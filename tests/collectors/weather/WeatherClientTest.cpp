// The weather section's client against a local HTTPS server: the provider list and the place
// search over a WebSocket.
#include "collectors/weather/LocationSearch.h"
#include "collectors/weather/ProviderList.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/PreferencesFixture.h"
#include "support/LocalTlsServer.h"
#include "support/MainContext.h"

#include <gtest/gtest.h>

namespace corvane::test {
namespace {

class Providers : public PreferencesFixture {
protected:
    void SetUp() override {
        if (!server.failure().empty())
            GTEST_SKIP() << server.failure();
        preferences = &install();
    }
    ProviderList make(GTlsDatabase* trust) {
        return ProviderList(*preferences, {server.url(""), trust}, [this] { ++changes; });
    }
    void update(ProviderList& list) {
        list.update();
        ASSERT_TRUE(runMainContextUntil([&] { return !list.fetching(); }));
    }

    LocalTlsServer server;
    CVBPreferences* preferences = nullptr;
    int changes = 0;
};

TEST_F(Providers, StoredOnlyWhenChangedAndKeptWhenTheServiceFails) {
    const char* path = ProviderList::kPath;
    auto list = make(server.database());
    EXPECT_EQ(list.providers(), ProviderList::fallbackProviders()) << "before any answer";
    EXPECT_EQ(list.popupItems()[0]["name"].stringValue(), "Automatic");

    server.respond(path, 200, R"([{"name": "Open Skies", "key": "openskies"}])");
    update(list);
    const Value stored = onDisk(ProviderList::kStoredKey);
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(list.popupItems()[2]["key"].stringValue(), "openskies");
    preferences->setObject(Value("openskies"), ProviderList::kChosenKey);
    EXPECT_EQ(list.selectedIndex(), 2u);

    // The same list again: the settings file is not written.
    const auto file = dir.path() / "extras.plist";
    std::filesystem::last_write_time(file, std::filesystem::file_time_type{});
    update(list);
    EXPECT_EQ(server.requests(path), 2);
    EXPECT_EQ(std::filesystem::last_write_time(file), std::filesystem::file_time_type{});

    struct Case {
        const char* name;
        GTlsDatabase* trust;
        unsigned status;
        const char* body;
        const char* message;
    };
    const char* unreachable = "Please make sure that Corvane Bar can connect to 127.0.0.1";
    const Case failures[] = {
        {"an untrusted certificate", nullptr, 200, R"([{"name": "X", "key": "x"}])", unreachable},
        {"an error status", server.database(), 500, "[]", unreachable},
        {"not a list", server.database(), 200, R"({"name": "X"})", ""},
    };
    for (const Case& c : failures) {
        server.respond(path, c.status, c.body);
        auto failing = make(c.trust);
        update(failing);
        EXPECT_EQ(failing.failureMessage(), c.message) << c.name;
        EXPECT_EQ(onDisk(ProviderList::kStoredKey), stored) << c.name;
    }
}

class PlaceSearch : public ::testing::Test {
protected:
    void SetUp() override {
        if (!server.failure().empty())
            GTEST_SKIP() << server.failure();
        server.acceptWebSockets(
            "/search", [this](const std::string& frame) { frames.push_back(parseJson(frame)); });
        search = std::make_unique<LocationSearch>(
            queue,
            LocationSearch::Settings{server.webSocketURL("/search"), server.database(),
                                     server.url("")},
            nullptr, [] {});
    }
    // Types `text` and serves until the server has had `frameCount` frames.
    void type(const std::string& text, std::size_t frameCount) {
        search->searchFieldChanged(text);
        EXPECT_TRUE(runMainContextUntil([&] { return frames.size() >= frameCount; })) << text;
    }
    // The service answers question `identifier`; the answer is handled on the main queue.
    void answer(const std::string& identifier, const char* name) {
        const Value reply = Value::dict(
            {{"identifier", identifier},
             {"results", Value::array({Value::dict(
                             {{"name", name}, {"state", ""}, {"country", "Germany"}})})}});
        ASSERT_EQ(server.send(toJson(reply)), 1);
        settle();
    }
    // Serves until the main queue has work, then does it.
    void settle() {
        const auto before = queue.pendingCount();
        runMainContextUntil([&] { return queue.pendingCount() > before; });
        queue.runUntilIdle();
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> out;
        for (const Value& row : search->rows().arrayItems())
            out.push_back(row["title"].stringValue());
        return out;
    }

    LocalTlsServer server;
    ManualMainQueue queue;
    std::vector<Value> frames;
    std::unique_ptr<LocationSearch> search;
};

TEST_F(PlaceSearch, LateAnswersAreDroppedAndShortTextShowsOnlyTheCurrentLocation) {
    // Typed before the socket is open: nothing is sent until it is, then only the latest.
    search->searchFieldChanged("Ber");
    type("Ber,  lin", 1);
    ASSERT_TRUE(runMainContextUntil([&] { return search->socketOpen(); }));
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0]["query"].stringValue(), "Ber lin");
    const std::string first = frames[0]["identifier"].stringValue();

    type("Berlin", 2);
    const std::string second = frames[1]["identifier"].stringValue();
    EXPECT_NE(first, second);
    answer(second, "Berlin");
    answer(first, "Bern");
    EXPECT_EQ(titles(), std::vector<std::string>{"Berlin, Germany"}) << "the older answer drops";

    type("Be", 2);
    EXPECT_EQ(titles(), std::vector<std::string>{"Current Location"});
    answer(second, "Berlin");
    EXPECT_EQ(titles(), std::vector<std::string>{"Current Location"}) << "cancelled by typing";
    EXPECT_EQ(frames.size(), 2u) << "no question under three characters";
}

TEST_F(PlaceSearch, TheSocketClosesAfterAMinuteWithoutQuestions) {
    type("Paris", 1);
    ASSERT_TRUE(runMainContextUntil([&] { return search->socketOpen(); }));
    queue.advance(LocationSearch::kIdleClose - 1);
    type("Paris, France", 2);
    queue.advance(LocationSearch::kIdleClose - 1);
    EXPECT_TRUE(search->socketOpen()) << "each question restarts the minute";
    queue.advance(1);
    EXPECT_FALSE(search->hasSocket());
    EXPECT_TRUE(runMainContextUntil([&] { return server.openWebSockets() == 0; }));
    // The next question opens a new one.
    type("Paris", 3);
    EXPECT_TRUE(search->socketOpen());
}

TEST_F(PlaceSearch, PersonalStationsMatchTheWholeName) {
    server.respond("/aq", 200,
                   R"({"RESULTS": [{"name": "KCASANFR58, San Francisco"}, {"name": "KCASANFR580"},
                                   {"name": "Near KCASANFR58"}]})");
    search->stationSearch("KCASANFR58");
    settle();
    ASSERT_EQ(titles(), std::vector<std::string>{"KCASANFR58, San Francisco"});
    const Value& record = search->rows()[0]["record"];
    EXPECT_EQ(record["wu-station-id"].stringValue(), "KCASANFR58");
    EXPECT_EQ(record["identifier"].integerValue(), std::int64_t(queue.now()));

    // Clearing the list while the answer is under way drops it.
    search->stationSearch("KCASANFR58");
    search->resetSearchResults();
    settle();
    EXPECT_EQ(server.requests("/aq"), 2);
    EXPECT_EQ(titles(), std::vector<std::string>{"Current Location"});
}

} // namespace
} // namespace corvane::test
