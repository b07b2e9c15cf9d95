#include "window/NetworkControls.h"

#include "preferences/PreferencesFixture.h"
#include "window/PageDescription.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::test {
namespace {

constexpr const char* kNotification = "CorvaneBarNetworkPreferencesChanged";

class NetworkControlsTest : public PreferencesFixture {
protected:
    void SetUp() override {
        install();
        observation = bus.addObserver(kNotification, [this](const Notification&) { ++posts; });
    }
    BoundControlServices services() {
        return {&bus, &center, &queue, [] { return false; }};
    }

    DistributedNotificationCenter bus{nullptr};
    Observation observation;
    int posts = 0;
};

// Every key of the section that has a default can be reached from the window.
TEST_F(NetworkControlsTest, EveryKeyWithADefaultHasAnEditor) {
    const Value& defaults = CVBPreferences::sharedPreferences().defaults();
    const auto page = pageDescriptionFor("Network");
    auto covered = controlledKeys(page, defaults);
    const auto elsewhere = keysEditedElsewhere("Network");
    covered.insert(covered.end(), elsewhere.begin(), elsewhere.end());
    // Read by nothing yet: the dropdown's process list, which it lacks.
    const std::vector<std::string> unread{"Network_AppSort", "Network_ProcessCount",
                                          "Network_DecimalLevel",
                                          "Network_DropdownCombineBandwidth"};
    for (const auto& [key, value] : defaults.dictionaryItems()) {
        if (key.rfind("Network_", 0) == 0 &&
            std::find(unread.begin(), unread.end(), key) == unread.end()) {
            EXPECT_THAT(covered, ::testing::Contains(key));
        }
    }
}

TEST_F(NetworkControlsTest, InterfaceChoiceFollowsTheSystemUnlessAServiceIsStored) {
    NetworkInterfaceChoice choice(kNotification, {{"svc-a", "Ethernet"}, {"svc-b", ""}},
                                  services());
    choice.updateValue();
    EXPECT_EQ(choice.indexOfSelectedItem(), 0u) << "nothing stored";
    EXPECT_EQ(choice.items()[3].title, "svc-b") << "a service without a name shows its key";
    choice.userSelectItemAtIndex(2);
    EXPECT_EQ(onDisk("Network_PrimaryInterface").stringValue(), "svc-a");
    storeElsewhere(Value::dict({{"Network_PrimaryInterface", "gone"}}));
    CVBRefreshKey("Network_PrimaryInterface");
    choice.updateValue();
    EXPECT_EQ(choice.indexOfSelectedItem(), 0u) << "a service that is gone";
}

// Both lists keep the entries a switch does not concern, and go when they hold nothing.
TEST_F(NetworkControlsTest, SwitchesOverListsKeepTheOtherEntries) {
    const char* blocks = "Network_DropdownOrderDisabled";
    storeElsewhere(
        Value::dict({{"FilteringNetwork", Value::array({"other"})}, {blocks, "buttons"}}));
    NetworkServiceShown shown(kNotification, "svc-a", services());
    NetworkDropdownBlock block(blocks, kNotification, "public-ip", services());
    shown.updateValue();
    block.updateValue();
    EXPECT_TRUE(shown.checked() && block.checked());
    shown.userSetChecked(false);
    block.userSetChecked(false);
    EXPECT_EQ(onDisk("FilteringNetwork"), Value::array({"other", "svc-a"}));
    EXPECT_EQ(onDisk(blocks).stringValue(), "buttons,public-ip");
    block.userSetChecked(true);
    EXPECT_EQ(onDisk(blocks).stringValue(), "buttons");
    NetworkServiceShown(kNotification, "other", services()).userSetChecked(true);
    shown.userSetChecked(true);
    EXPECT_TRUE(onDisk("FilteringNetwork").isNull());
    EXPECT_EQ(posts, 5);
}

TEST_F(NetworkControlsTest, StatusAddressSavesTheBareNameOnly) {
    NetworkStatusAddress address(kNotification, services());
    address.updateValue();
    EXPECT_FALSE(address.custom()) << address.address();
    EXPECT_TRUE(address.userSaveAddress("  https://host.example "));
    EXPECT_FALSE(address.userSaveAddress("http:// "));
    EXPECT_EQ(onDisk("Network_StatusAddress").stringValue(), "host.example");
    EXPECT_TRUE(address.custom());
    EXPECT_EQ(posts, 1);
}

} // namespace
} // namespace corvane::test
