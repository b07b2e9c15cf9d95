#include "window/PageControls.h"

#include "preferences/PreferencesFixture.h"
#include "window/BatteryListMember.h"
#include "window/ModeListMember.h"
#include "window/PageDescription.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::test {
namespace {

struct Family {
    const char* page;
    std::vector<std::string> prefixes; // keys with a built-in default that the page edits
};

bool startsWithAny(const std::string& key, const std::vector<std::string>& prefixes) {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const std::string& p) { return key.rfind(p, 0) == 0; });
}

class PageControlsTest : public PreferencesFixture {
protected:
    void SetUp() override { install(); }
    DistributedNotificationCenter bus{nullptr}; // delivers in this process only
    BoundControlServices services() {
        return {&bus, &center, &queue, [] { return false; }};
    }
};

// A key its section's views or dropdowns read without a control on its page is a setting the
// user cannot reach from the window.
TEST_F(PageControlsTest, EveryKeyOfTheSectionHasAControlOrAnotherEditor) {
    const std::vector<Family> families{
        {"CPU", {"CPU_", "Load_"}},
        {"Memory", {"Memory_"}},
        {"Disks", {"Disks_"}},
        {"Battery", {"Battery_"}},
        {"Sensors", {"Sensors_"}},
        {"Combined", {"Combined"}},
        {"General",
         {"Dropdown", "Menubar", "StatusItems-", "Theme-", "ProcessesCombine", "TimerFrequency"}},
    };
    const Value& defaults = CVBPreferences::sharedPreferences().defaults();
    for (const auto& family : families) {
        const auto page = pageDescriptionFor(family.page);
        auto covered = controlledKeys(page, defaults);
        const auto elsewhere = keysEditedElsewhere(family.page);
        covered.insert(covered.end(), elsewhere.begin(), elsewhere.end());
        for (const auto& [key, value] : defaults.dictionaryItems()) {
            if (startsWithAny(key, family.prefixes)) {
                EXPECT_THAT(covered, ::testing::Contains(key)) << family.page << " page";
            }
        }
    }
}

// What the user does is stored under the row's key and posted with its section's name, as a
// command-line write of that key is.
TEST_F(PageControlsTest, AChangeIsStoredAndPostedWithTheSectionsNotification) {
    struct Case {
        const char* page;
        const char* key;
        std::function<void(BoundControl&)> change;
        Value stored;
        const char* notification;
    };
    const std::vector<Case> cases{
        {"CPU", "CPU_MenubarGraphBreakdowns",
         [](BoundControl& c) { dynamic_cast<CVBCheckbox&>(c).userSetChecked(true); }, Value(1),
         "CorvaneBarCPUPreferencesChanged"},
        {"Memory", "Memory_MenubarGraphWidth",
         [](BoundControl& c) { dynamic_cast<CVBPopUpButton&>(c).userSelectItemAtIndex(0); },
         Value(16), "CorvaneBarMeoryPreferencesChanged"},
        {"Battery", "Battery_MenubarFontStyle",
         [](BoundControl& c) { dynamic_cast<CVBPopUpButton&>(c).userSelectItemAtIndex(2); },
         Value(2), "CorvaneBarBatteryPreferencesChanged"},
        {"General", "MenubarGraphOpacity-Modern",
         [](BoundControl& c) { dynamic_cast<CVBSlider&>(c).userSetDoubleValue(0.75); }, Value(0.75),
         "CorvaneBarGlobalDisplayChange"},
    };
    for (const auto& c : cases) {
        PageControls controls(pageDescriptionFor(c.page), services());
        std::vector<std::string> heard;
        auto observation = bus.addObserver(c.notification,
                                           [&](const Notification& n) { heard.push_back(n.name); });
        BoundRow* row = controls.rowForKey(c.key);
        ASSERT_NE(row, nullptr) << c.key;
        c.change(*row->control);
        EXPECT_TRUE(onDisk(c.key).numericallyEquals(c.stored)) << c.key;
        EXPECT_EQ(heard.size(), 1u) << c.key;
    }
}

// The key is off by default, so that each step below is a change the page must show.
TEST_F(PageControlsTest, ChangesFromElsewhereAreShownAndTold) {
    PageControls controls(pageDescriptionFor("CPU"), services());
    int refreshes = 0;
    controls.setRefreshed([&] { ++refreshes; });
    auto& box =
        dynamic_cast<CVBCheckbox&>(*controls.rowForKey("CPU_MenubarGraphBreakdowns")->control);
    ASSERT_FALSE(box.checked());

    storeElsewhere(Value::dict({{"CPU_MenubarGraphBreakdowns", 1}}));
    bus.postNotificationName("CorvaneBarResetPreferencesApp",
                             Value::dict({{"key", "CPU_MenubarGraphBreakdowns"}}));
    EXPECT_TRUE(box.checked());
    // A key of another page changes nothing here.
    bus.postNotificationName("CorvaneBarResetPreferencesApp",
                             Value::dict({{"key", "Memory_Label"}}));
    EXPECT_EQ(refreshes, 1);

    // Within the same second and at the same size: the reader still sees the new file.
    storeElsewhere(Value::dict({{"CPU_MenubarGraphBreakdowns", 0}}));
    bus.postNotificationName("CorvaneBarExternalChange");
    EXPECT_FALSE(box.checked());
    center.post("ImportedPreferences");
    EXPECT_EQ(refreshes, 3);
}

TEST_F(PageControlsTest, AColourWithADarkVariantGetsAWellForEach) {
    PageControls controls(pageDescriptionFor("CPU"), services());
    const BoundRow* text = controls.rowForKey("CPU_MenubarTextColor-Dark");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->control->prefKey(), "CPU_MenubarTextColor");
    // Graph colours have one key for both looks.
    EXPECT_EQ(controls.rowForKey("CPU_MenubarGraphUser")->dark, nullptr);
}

// The Combined page's switches add and remove one section of a mode list, keeping the others
// with their settings; a list of the wrong type counts as empty and is replaced only on a change.
TEST_F(PageControlsTest, ModeListMembersKeepTheOtherEntries) {
    storeElsewhere(Value::dict(
        {{"CombinedMenubarDisplayMode",
          Value::array({Value::dict({{"key", 1}, {"width", 4}}), Value::dict({{"key", 2}})})}}));
    ModeListMember memory("CombinedMenubarDisplayMode", "CorvaneBarCombinedDisplayChange", 2,
                          services());
    ModeListMember battery("CombinedMenubarDisplayMode", "CorvaneBarCombinedDisplayChange", 6,
                           services());
    memory.updateValue();
    battery.updateValue();
    EXPECT_TRUE(memory.checked());
    EXPECT_FALSE(battery.checked());

    memory.userSetChecked(false);
    battery.userSetChecked(true);
    EXPECT_EQ(onDisk("CombinedMenubarDisplayMode"),
              Value::array({Value::dict({{"key", 1}, {"width", 4}}), Value::dict({{"key", 6}})}));

    storeElsewhere(Value::dict({{"CombinedMenubarDisplayMode", "1,2"}}));
    CVBRefreshKey("CombinedMenubarDisplayMode");
    battery.updateValue();
    EXPECT_FALSE(battery.checked());
    EXPECT_EQ(onDisk("CombinedMenubarDisplayMode"), Value("1,2"));
}

// The panel item lists every battery while nothing is stored; a switch turned off stores the
// others, the last one turned back on removes the list, and absent devices stay listed.
TEST_F(PageControlsTest, BatterySwitchesStoreTheListThePanelItemReads) {
    const Value internal = BatteryListMember::recordOf(true, "");
    const Value mouse = BatteryListMember::recordOf(false, "mouse");
    const Value gone = BatteryListMember::recordOf(false, "gone");
    struct Case {
        const char* name;
        Value stored; // null: nothing stored
        const Value* battery;
        bool turnOn;
        bool wasOn;
        Value after;
    };
    const std::vector<Case> cases{
        {"all by default", Value(), &internal, false, true, Value::array({mouse})},
        {"wrong type counts as all", Value("x"), &mouse, false, true, Value::array({internal})},
        {"back to all", Value::array({mouse}), &internal, true, false, Value()},
        {"absent kept", Value::array({gone, internal}), &mouse, true, false,
         Value::array({gone, internal, mouse})},
        {"absent kept when off", Value::array({gone, internal, mouse}), &internal, false, true,
         Value::array({gone, mouse})},
    };
    for (const auto& c : cases) {
        storeElsewhere(Value::dict({{"Battery_MenubarItems", c.stored}}));
        CVBRefreshKey("Battery_MenubarItems");
        BatteryListMember member(
            "Battery_MenubarItems", "CorvaneBarBatteryPreferencesChanged", *c.battery,
            [&] {
                return std::vector<Value>{internal, mouse};
            },
            services());
        member.updateValue();
        EXPECT_EQ(member.checked(), c.wasOn) << c.name;
        member.userSetChecked(c.turnOn);
        EXPECT_EQ(onDisk("Battery_MenubarItems"), c.after) << c.name;
    }
}

} // namespace
} // namespace corvane::test
