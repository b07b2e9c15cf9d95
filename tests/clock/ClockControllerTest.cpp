#include "clock/ClockController.h"

#include "../preferences/PreferencesFixture.h"
#include "clock/CityDatabaseLookup.h"
#include "foundation/DistributedNotificationCenter.h"

namespace corvane {
namespace {

class WorldClocks : public test::PreferencesFixture {
protected:
    std::vector<std::string> order() {
        std::vector<std::string> ids;
        for (const Value& city : clocks.visibleCities())
            ids.push_back(city["identifier"].stringValue() + "@" +
                          std::to_string(city["position"].integerValue()));
        return ids;
    }

    CVBPreferences& preferences = install();
    DistributedNotificationCenter center{nullptr}; // no bus: delivered in this process only
    ClockController clocks{preferences, center};
};

TEST_F(WorldClocks, AddRemoveAndSaveKeepTheOrderAndTheStoredFields) {
    preferences.setObject(Value::array({Value::dict({{"identifier", "b"}, {"position", 1}}),
                                        Value::dict({{"identifier", "a"}, {"position", 0}}),
                                        Value::dict({{"identifier", "-7"}}), "junk"}),
                          "Time_Cities");
    clocks.loadCities();
    EXPECT_EQ(order(), (std::vector<std::string>{"a@0", "b@1", "-7@2"}));

    const Value row = Value::dict({{"identifier", "8778532973625536"},
                                   {"city", "St. John's"},
                                   {"state", "Newfoundland and Labrador"},
                                   {"country", "Canada"},
                                   {"country_code", "CA"},
                                   {"latitude", 47.56494},
                                   {"longitude", -52.70931},
                                   {"tz", "America/St_Johns"}});
    EXPECT_TRUE(clocks.addCity(row));
    EXPECT_FALSE(clocks.addCity(row));
    EXPECT_TRUE(clocks.removeCity("b"));
    EXPECT_FALSE(clocks.removeCity("b"));
    EXPECT_EQ(order(), (std::vector<std::string>{"a@0", "-7@1", "8778532973625536@2"}));
    EXPECT_TRUE(clocks.moveCity("a", 2));
    EXPECT_FALSE(clocks.moveCity("-7", -1)); // already first
    EXPECT_FALSE(clocks.moveCity("a", 1));   // already last
    EXPECT_FALSE(clocks.moveCity("b", 1));
    EXPECT_TRUE(clocks.moveCity("8778532973625536", -1));
    EXPECT_EQ(order(), (std::vector<std::string>{"8778532973625536@0", "-7@1", "a@2"}));

    std::vector<std::string> posted;
    auto observation = center.addObserver("CorvaneBarTimePreferencesChanged",
                                          [&](const Notification& n) { posted.push_back(n.name); });
    clocks.saveClocks();
    EXPECT_EQ(posted.size(), 1u);
    const Value stored = preferences.objectForKey("Time_Cities")[0];
    EXPECT_EQ(stored["timezone"].stringValue(), "America/St_Johns");
    EXPECT_EQ(stored["city"].stringValue(), "St. John's");
    EXPECT_EQ(stored["position"].integerValue(), 0);
    EXPECT_TRUE(stored["country_code"].isNull()); // only the listed fields are kept
    EXPECT_TRUE(stored["tz"].isNull());
}

TEST_F(WorldClocks, ANewNameReplacesTheOldOneAndAnEmptyOneRestoresTheCitysOwn) {
    const Value paris = Value::dict({{"identifier", "p"}, {"city", "Paris"}});
    preferences.setObject(Value::array({Value::dict({{"identifier", "l"}, {"name", "Home"}})}),
                          "Time_CityNames");
    clocks.updateCityName("p", "Office");
    clocks.updateCityName("p", "HQ");
    EXPECT_EQ(clocks.nameForCity(paris), "HQ");
    EXPECT_EQ(preferences.objectForKey("Time_CityNames").arrayItems().size(), 2u);
    clocks.updateCityName("p", "");
    EXPECT_EQ(clocks.nameForCity(paris), "Paris");
    EXPECT_EQ(clocks.nameForCity(Value::dict({{"identifier", "l"}, {"city", "London"}})), "Home");
}

// Settings of an older version name world clocks by bare identifier; start-up looks them up in
// the real database, and keeps what it cannot find rather than lose the user's list.
TEST_F(WorldClocks, BareIdentifiersInTheSettingsFileBecomeCitiesOfTheDatabase) {
    const auto database = CityStatCollector::defaultDatabasePath();
    if (!std::filesystem::exists(database))
        GTEST_SKIP() << "no cities database at " << database;
    std::string stJohns, berlin;
    {
        CityStatCollector cities(queue, database);
        for (const Value& row : cities.citiesWithMatch("St. John's"))
            if (row["country"].stringValue() == "Canada")
                stJohns = row["identifier"].stringValue();
        for (const Value& row : cities.citiesWithMatch("Berlin"))
            if (row["timezone"].stringValue() == "Europe/Berlin")
                berlin = row["identifier"].stringValue();
    }
    ASSERT_FALSE(stJohns.empty());
    ASSERT_FALSE(berlin.empty());
    const Value moon = Value::dict({{"identifier", "-6"}, {"city", "Moon"}});
    storeElsewhere(Value::dict(
        {{"Time_Cities", Value::array({moon, Value(std::stoll(stJohns)), berlin, "12", "x"})}}));

    migrateStoredCities(preferences, queue, database);
    clocks.loadCities();
    ASSERT_EQ(clocks.visibleCities().size(), 3u);
    EXPECT_EQ(clocks.visibleCities()[1]["identifier"].stringValue(), stJohns);
    EXPECT_EQ(clocks.visibleCities()[1]["timezone"].stringValue(), "America/St_Johns");
    EXPECT_EQ(clocks.visibleCities()[2]["identifier"].stringValue(), berlin);
    EXPECT_TRUE(clocks.visibleCities()[2]["city_plain"].isNull()); // stored in the clock's form

    // Unknown entries survive the migration and a later edit of the list.
    clocks.removeCity("-6");
    clocks.saveClocks();
    const Value stored = onDisk("Time_Cities");
    ASSERT_EQ(stored.size(), 4u);
    EXPECT_EQ(stored[0]["identifier"].stringValue(), stJohns);
    EXPECT_EQ(stored[2], Value("12"));
    EXPECT_EQ(stored[3], Value("x"));

    // Without a database nothing is touched.
    migrateStoredCities(preferences, queue, dir.path() / "missing.db");
    EXPECT_EQ(onDisk("Time_Cities"), stored);
}

} // namespace
} // namespace corvane
