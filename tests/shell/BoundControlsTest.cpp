#include "shell/BoundControls.h"

#include "foundation/Log.h"
#include "preferences/PreferencesFixture.h"
#include "preferences/SettingsFile.h"

#include <initializer_list>
#include <memory>

namespace corvane::test {
namespace {

// Controls on a temporary store, a centre without a bus (delivery at once) and virtual time.
// `events` records stores seen by peers, posts and target calls in the order they happen.
class BoundControlsTest : public PreferencesFixture {
protected:
    void SetUp() override { install(); }

    BoundControlServices services() {
        return {&distributed, &center, &queue, [this] { return dark; }};
    }

    // Records each post of `name` together with what a peer reads under `key` at that moment.
    Observation listen(const std::string& name, const std::string& key) {
        return distributed.addObserver(name, [this, key](const Notification& n) {
            events.push_back("post " + onDisk(key).stringValue());
            userInfos.push_back(n.userInfo);
        });
    }
    BoundControl::Action recordTarget() {
        return [this](BoundControl&) { events.push_back("target"); };
    }
    // As an import does: the store changes underneath, then the controls are told.
    void importValue(const char* key, const Value& value) {
        PreferenceDomain other(kExtrasDomain, dir.path() / "extras.plist");
        other.setValue(key, value); // a null value removes the key
        other.synchronize();
        CVBPreferences::sharedPreferences().clearCache();
        center.post(kImportedPreferencesNotification);
    }

    DistributedNotificationCenter distributed{nullptr};
    bool dark = false;
    std::vector<std::string> events;
    std::vector<Value> userInfos;
};

TEST_F(BoundControlsTest, CheckboxStoresAnIntegerThenPostsThenCallsTargets) {
    auto observer = listen("CorvaneBarCPUPreferencesChanged", "CPU_MenubarGroupItems");
    CVBCheckbox box("CPU_MenubarGroupItems", "CorvaneBarCPUPreferencesChanged", services());
    box.addTarget(recordTarget());
    box.userSetChecked(false);
    box.userSetChecked(true);

    EXPECT_EQ(CVBStoredObjectForKey("CPU_MenubarGroupItems"), Value(1));
    EXPECT_EQ(events, (std::vector<std::string>{"post 0", "target", "post 1", "target"}));
    EXPECT_TRUE(userInfos.at(0).isNull());

    // A page's member function as the target, handed the control as what it is.
    struct Page {
        bool seen = false;
        void bluetoothChanged(CVBCheckbox& sender) { seen = sender.checked(); }
    } page;
    HLVCheckbox shared("Battery_DisableBluetooth", "", services());
    shared.addTarget(page, &Page::bluetoothChanged);
    shared.userSetChecked(true);
    EXPECT_EQ(CVBStoredObjectForKey("Battery_DisableBluetooth"), Value(1));
    EXPECT_TRUE(page.seen);
    EXPECT_EQ(events.size(), 4u) << "a control without a notification name posts nothing";
}

TEST_F(BoundControlsTest, PopUpStoresByItsKindAndReadsItBack) {
    using Kind = CVBPopUpButton::Kind;
    struct Case {
        Kind kind;
        std::size_t index;
        Value expected;
    };
    const Case cases[] = {
        {Kind::Index, 1, Value(1)},
        {Kind::StringBased, 1, Value("10 processes")},
        {Kind::RepresentedObject, 1, Value(3)}, // a number is stored as an integer
        {Kind::RepresentedObject, 2, Value("none")},
        {Kind::NumberInTitle, 1, Value(10)},
    };
    const std::vector<CVBPopUpButton::Item> items{
        {"5 processes", Value(7.0)}, {"10 processes", Value(3.0)}, {"Off", Value("none")}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << static_cast<int>(c.kind) << " " << c.index);
        CVBPopUpButton writer("CPU_ProcessCount", "", c.kind, services());
        writer.setItems(items);
        writer.userSelectItemAtIndex(c.index);
        EXPECT_EQ(CVBStoredObjectForKey("CPU_ProcessCount"), c.expected);

        CVBPopUpButton reader("CPU_ProcessCount", "", c.kind, services());
        reader.setItems(items);
        reader.updateValue();
        EXPECT_EQ(reader.indexOfSelectedItem(), c.index);
    }

    // A value no item stands for leaves nothing selected rather than a wrong item.
    CVBPopUpButton popUp("CPU_ProcessCount", "", Kind::RepresentedObject, services());
    popUp.setItems(items);
    popUp.userSelectItemAtIndex(1);
    importValue("CPU_ProcessCount", Value(9));
    EXPECT_FALSE(popUp.indexOfSelectedItem().has_value());
}

TEST_F(BoundControlsTest, PopUpPostsItsNotificationKeyWhenItHasOne) {
    auto observer = listen("CorvaneBarNetworkPreferencesChanged", "Network_MenubarUnitLevel");
    CVBPopUpButton popUp("Network_MenubarUnitLevel", "CorvaneBarNetworkPreferencesChanged",
                         CVBPopUpButton::Kind::Index, services());
    for (const char* title : {"B", "KB", "MB", "Automatic"})
        popUp.addItemWithTitle(title);
    popUp.addTarget(recordTarget());
    popUp.updateValue();
    EXPECT_EQ(popUp.titleOfSelectedItem(), "Automatic") << "the default selects its item";

    popUp.userSelectItemAtIndex(1);
    popUp.setNotificationKey("Network_MenubarUnitLevel");
    popUp.userSelectItemAtIndex(2);
    EXPECT_EQ(events, (std::vector<std::string>{"post 1", "target", "post 2", "target"}));
    EXPECT_TRUE(userInfos.at(0).isNull());
    EXPECT_EQ(userInfos.at(1), Value::dict({{"key", "Network_MenubarUnitLevel"}}));

    // A title that a settings file cannot hold (a translation in Latin-1) is refused: nothing
    // stored or told, and the control shows what is stored.
    CVBPopUpButton named("Network_MenubarUnitLevel", "CorvaneBarNetworkPreferencesChanged",
                         CVBPopUpButton::Kind::StringBased, services());
    named.setItems({{"2", {}}, {"d\xe9\x62it", {}}});
    named.addTarget(recordTarget());
    LogCapture log;
    named.userSelectItemAtIndex(1);
    EXPECT_EQ(CVBStoredObjectForKey("Network_MenubarUnitLevel"), Value(2));
    EXPECT_EQ(events.size(), 4u);
    EXPECT_EQ(named.indexOfSelectedItem(), 0u);
    EXPECT_TRUE(log.contains("not valid UTF-8")) << log.lines();
}

TEST_F(BoundControlsTest, ColorWellPostsOnceAfterABurstOrWhenClosedAndCallsTargetsFirst) {
    auto observer = listen("CorvaneBarCPUPreferencesChanged", "CPU_MenubarTextColor");
    CVBColorWell well("CPU_MenubarTextColor", "CorvaneBarCPUPreferencesChanged", services());
    well.addTarget(recordTarget());
    for (double red : {0.1, 0.2, 0.5}) {
        well.userSetColor({red, 0.25, 1.0, 1.0});
        // This process sees each step at once, so the page's preview follows the drag; the
        // disk is left alone until the drag settles.
        EXPECT_EQ(CVBColorForKey("CPU_MenubarTextColor"), (Color{red, 0.25, 1.0, 1.0}));
        EXPECT_TRUE(onDisk("CPU_MenubarTextColor").isNull()) << red;
        queue.advance(0.06);
    }
    EXPECT_EQ(CVBStoredObjectForKey("CPU_MenubarTextColor"), Value("0.50 0.25 1.00 1.00"));
    EXPECT_EQ(events, (std::vector<std::string>{"target", "target", "target"}));

    queue.advance(0.05);
    EXPECT_EQ(events.back(), "post 0.50 0.25 1.00 1.00");
    queue.advance(1.0);
    EXPECT_EQ(events.size(), 4u);

    // Closed during the delay, it still tells the peers, once.
    auto closing = std::make_unique<CVBColorWell>("CPU_MenubarTextColor",
                                                  "CorvaneBarCPUPreferencesChanged", services());
    closing->userSetColor(Color::white());
    closing.reset();
    EXPECT_EQ(events.back(), "post 1.00 1.00 1.00 1.00");
    queue.advance(1.0);
    EXPECT_EQ(events.size(), 5u);
}

TEST_F(BoundControlsTest, ColorWellInDarkModeEditsTheDarkKeyOnlyOnADarkPanel) {
    CVBColorWell well("Memory_UFUsedColor", "", services());
    dark = true;
    EXPECT_EQ(well.prefKey(), "Memory_UFUsedColor") << "dark mode is off";
    well.setDarkMode(true);
    EXPECT_EQ(well.prefKey(), "Memory_UFUsedColor-Dark");

    well.updateValue();
    EXPECT_EQ(well.color(), Color::white()) << "the dark default";
    well.userSetColor({1, 0, 0, 1});
    EXPECT_EQ(CVBStoredObjectForKey("Memory_UFUsedColor-Dark"), Value("1.00 0.00 0.00 1.00"));
    EXPECT_TRUE(CVBStoredObjectForKey("Memory_UFUsedColor").isNull());

    dark = false;
    well.updateValue();
    EXPECT_EQ(well.color(), (Color{0.22, 0.22, 0.22, 1.0}));
}

TEST_F(BoundControlsTest, ImportedSettingsShowUpInEveryControlThatStillExists) {
    CVBCheckbox box("Disks_ShowIcons", "", services());
    CVBSlider slider("Disks_MenubarGraphActivityWidth", "", 10, 100, services());
    CVBColorWell well("Disks_MenubarGraphOverallColor", "", services());
    well.setDefaultColor(Color{0, 0, 1, 1});
    for (BoundControl* control : std::initializer_list<BoundControl*>{&box, &slider, &well})
        control->updateValue();
    EXPECT_TRUE(box.checked());
    EXPECT_EQ(slider.doubleValue(), 50.0);
    EXPECT_EQ(well.color(), (Color{0, 0, 1, 1})) << "no value and no built-in default";

    importValue("Disks_ShowIcons", Value(false));
    importValue("Disks_MenubarGraphActivityWidth", Value(70.5));
    importValue("Disks_MenubarGraphOverallColor", Value("0 1 0 1"));
    EXPECT_FALSE(box.checked());
    EXPECT_EQ(slider.doubleValue(), 70.5);
    EXPECT_EQ(well.color(), (Color{0, 1, 0, 1}));

    importValue("Disks_MenubarGraphOverallColor", Value());
    EXPECT_EQ(well.color(), (Color{0, 0, 1, 1}));
    well.setDefaultColor(std::nullopt);
    well.updateValue();
    EXPECT_EQ(well.color(), Color::black()) << "without a default colour, the light fallback";

    // A control that is gone no longer listens, so the next import cannot reach it.
    const auto listening = center.observerCount();
    std::make_unique<CVBCheckbox>("Disks_ShowIcons", "", services()).reset();
    EXPECT_EQ(center.observerCount(), listening);
    center.post(kImportedPreferencesNotification);
}

TEST_F(BoundControlsTest, SlidersKeepToTheirRangeAndStoreReals) {
    OpacitySlider opacity("MenubarGraphOpacity", "CorvaneBarGlobalDisplayChange", services());
    opacity.updateValue();
    EXPECT_EQ(opacity.doubleValue(), 0.5);
    opacity.userSetDoubleValue(1.7);
    EXPECT_EQ(CVBStoredObjectForKey("MenubarGraphOpacity"), Value(1.0));

    CVBSlider width("CPU_MenubarGraphWidth", "", 10, 100, services());
    importValue("CPU_MenubarGraphWidth", Value("wide"));
    EXPECT_EQ(width.doubleValue(), 10.0) << "text reads as 0, below the range";
    width.userSetDoubleValue(42);
    EXPECT_EQ(CVBStoredObjectForKey("CPU_MenubarGraphWidth"), Value(42.0));
}

} // namespace
} // namespace corvane::test
