#include "clock/ClockController.h"

#include "../preferences/PreferencesFixture.h"
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

} // namespace
} // namespace corvane
