#include "clock/CityStatCollector.h"

#include "clock/CityIdentifier.h"
#include "foundation/ManualMainQueue.h"
#include "preferences/PreferenceDefaults.h"

#include <chrono>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <thread>

namespace corvane {
namespace {

// The database this build generated from the GeoNames data.
class Cities : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(CityStatCollector::defaultDatabasePath()))
            GTEST_SKIP() << "no cities database at " << CityStatCollector::defaultDatabasePath()
                         << " (libgeonames-dev missing at build time)";
    }
    static std::vector<std::string> names(const CityStatCollector::Rows& rows) {
        std::vector<std::string> out;
        for (const Value& row : rows)
            out.push_back(row["city"].stringValue() + ", " + row["country"].stringValue());
        return out;
    }
    static bool has(const CityStatCollector::Rows& rows, const std::string& name) {
        const auto n = names(rows);
        return std::find(n.begin(), n.end(), name) != n.end();
    }
    // Runs the main queue until `done` or the time has passed.
    template <class Done>
    void pump(Done done, std::chrono::milliseconds wait = std::chrono::seconds(5)) {
        const auto give_up = std::chrono::steady_clock::now() + wait;
        while (!done() && std::chrono::steady_clock::now() < give_up) {
            queue.runUntilIdle();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    ManualMainQueue queue;
    CityStatCollector cities{queue, CityStatCollector::defaultDatabasePath()};
};

TEST_F(Cities, SaintFormsAndApostrophesFindTheirCities) {
    const auto stJohn = cities.citiesWithMatch("st john");
    EXPECT_TRUE(has(stJohn, "St. John's, Canada"));
    EXPECT_TRUE(has(stJohn, "Saint John, Canada"));
    EXPECT_TRUE(has(cities.citiesWithMatch("Saint John"), "St. John's, Canada"));
    // The user's words are data, not SQL.
    EXPECT_TRUE(has(cities.citiesWithMatch("St. John's"), "St. John's, Canada"));
    EXPECT_TRUE(cities.citiesWithMatch("x' OR '1'='1").empty());
    // Plain spellings find accented names; "city, state" finds the city.
    EXPECT_TRUE(has(cities.citiesWithMatch("sao paulo"), "São Paulo, Brazil"));
    EXPECT_TRUE(has(cities.citiesWithMatch("Sydney, New South"), "Sydney, Australia"));
    EXPECT_EQ(cities.citiesWithMatch("a", 5).size(), 10u); // the limit applies per query
}

// The search asks the indexes and joins "city, state" only for names the match begins with; it
// must find exactly the rows, in the order, that the plain statement finds by reading them all.
TEST_F(Cities, TheQuickFirstQueryFindsWhatThePlainOneFinds) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(CityStatCollector::defaultDatabasePath().c_str(), &db,
                              SQLITE_OPEN_READONLY, nullptr),
              SQLITE_OK);
    for (const char* match : {"ber", "Sydney, New South", "a", "Ho", "St. John's", "Århus",
                              "new york, new", "san jose c", "los,"}) {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db,
                           "SELECT identifier FROM cities WHERE city ||', '|| state LIKE ?1 OR "
                           "city ||' '|| state LIKE ?1 OR city_plain LIKE ?1 OR state LIKE ?1 "
                           "LIMIT 1000",
                           -1, &s, nullptr);
        sqlite3_bind_text(s, 1, (std::string(match) + "%").c_str(), -1, SQLITE_TRANSIENT);
        std::vector<std::string> expected;
        while (sqlite3_step(s) == SQLITE_ROW)
            expected.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(s, 0)));
        sqlite3_finalize(s);
        const auto rows = cities.citiesWithMatch(match);
        ASSERT_GE(rows.size(), expected.size()) << match;
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_EQ(rows[i]["identifier"].stringValue(), expected[i]) << match << " row " << i;
    }
    sqlite3_close(db);
}

TEST_F(Cities, ClosestCityLooksOnlyWithinTwoDegrees) {
    const auto stJohns = cities.closestCity(47.56, -52.71);
    ASSERT_TRUE(stJohns);
    EXPECT_EQ((*stJohns)["city"].stringValue(), "St. John's");
    EXPECT_EQ((*stJohns)["timezone"].stringValue(), "America/St_Johns");
    EXPECT_EQ(cities.cityWithIdentifier((*stJohns)["identifier"].stringValue()), stJohns);
    EXPECT_FALSE(cities.closestCity(35.0, -40.0)); // the middle of the Atlantic
    EXPECT_FALSE(cities.cityWithIdentifier("0"));
}

// The world clocks a new user starts with point at rows of this database, at the same place.
TEST_F(Cities, EveryDefaultWorldClockIsARowOfTheDatabase) {
    const Value defaults = builtInDefaults({})["Time_Cities"];
    int found = 0;
    for (const Value& city : defaults.arrayItems()) {
        const std::string id = city["identifier"].stringValue();
        if (id == "-6" || id == "-7") // the moon and the current location have no row
            continue;
        const auto row = cities.cityWithIdentifier(id);
        ASSERT_TRUE(row) << city["city"].stringValue() << " " << id;
        EXPECT_EQ((*row)["timezone"], city["timezone"]) << id;
        EXPECT_NEAR((*row)["latitude"].doubleValue(), city["latitude"].doubleValue(), 0.01) << id;
        EXPECT_NEAR((*row)["longitude"].doubleValue(), city["longitude"].doubleValue(), 0.01) << id;
        ++found;
    }
    EXPECT_EQ(found, 4);
}

TEST_F(Cities, OnlyTheLatestWaitingSearchRunsButARunningOneReports) {
    std::vector<std::string> reported;
    const auto record = [&](const CityStatCollector::Rows& rows, const std::string& match) {
        reported.push_back(match + (rows.empty() ? " (none)" : ""));
    };
    cities.search("lon", record);
    cities.search("par", record); // waits, then is replaced
    cities.search("ber", record);
    pump([&] { return reported.size() == 2; });
    EXPECT_EQ(reported, (std::vector<std::string>{"lon", "ber"}));

    reported.clear();
    cities.search("syd", record);
    cities.search("mel", record);
    cities.search("", record); // clears "mel"; "syd" is already running
    pump([&] { return reported.size() == 1; });
    queue.runUntilIdle();
    EXPECT_EQ(reported, (std::vector<std::string>{"syd"}));
}

TEST_F(Cities, TheDatabaseClosesAfterTenIdleSeconds) {
    ASSERT_TRUE(cities.closestCity(51.5, -0.12));
    EXPECT_TRUE(cities.isOpen());
    queue.advance(5);
    cities.closestCity(51.5, -0.12); // used again: the ten seconds start anew
    queue.advance(6);
    pump([&] { return !cities.isOpen(); }, std::chrono::milliseconds(200));
    EXPECT_TRUE(cities.isOpen());
    queue.advance(10);
    pump([&] { return !cities.isOpen(); });
    EXPECT_FALSE(cities.isOpen());
    EXPECT_TRUE(cities.closestCity(51.5, -0.12)); // and opens again on demand
}

TEST(CityDistance, GreatCircleKilometresAndNullsForMissingArguments) {
    EXPECT_NEAR(*cityDistance(51.5074, -0.1278, 48.8566, 2.3522), 344, 2); // London to Paris
    EXPECT_EQ(*cityDistance(47.56, -52.71, 47.56, -52.71), 0);             // never NaN
    EXPECT_FALSE(cityDistance(std::nullopt, 0, 1, 1));
    EXPECT_FALSE(cityDistance(1, 1, 1, std::nullopt));
}

TEST(CityIdentifiers, StableUnderNoiseAndDistinctForDifferentCities) {
    const std::string stJohns =
        cityIdentifier("St. John's", "Newfoundland and Labrador", "CA", 47.56494, -52.70931);
    EXPECT_EQ(stJohns, cityIdentifier("St. John's", "Newfoundland and Labrador", "CA", 47.5649401,
                                      -52.7093099));
    EXPECT_EQ(cityIdentifier("Null Island", "", "", 0.001, -0.001),
              cityIdentifier("Null Island", "", "", -0.001, 0.001));
    EXPECT_NE(stJohns, cityIdentifier("St. John's", "Saint John", "AG", 17.12096, -61.84329));
    EXPECT_NE(cityIdentifier("ab", "c", "XX", 1, 1), cityIdentifier("a", "bc", "XX", 1, 1));
    EXPECT_NE(stJohns,
              cityIdentifier("St. John's", "Newfoundland and Labrador", "CA", 47.58, -52.71));
}

} // namespace
} // namespace corvane
