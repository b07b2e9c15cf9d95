#include "DrawingFixture.h"
#include "collectors/battery/BatteryStatCollector.h"
#include "collectors/battery/WirelessDeviceKind.h"
#include "drawing/Artwork.h"
#include "drawing/CVBBatteryMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "support/GoldenImage.h"

#include <map>
#include <optional>

using namespace corvane;
using corvane::test::countPixels;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;
using corvane::test::modes;
using Reading = CVBBatteryMenuExtraView::Reading;

namespace {

// Power sources as the test states them, without a machine to read.
class ScriptedBattery final : public BatteryStatCollector {
public:
    using BatteryStatCollector::BatteryStatCollector;
    std::vector<PowerSource> sources;

protected:
    std::vector<PowerSource> powerSources() override { return sources; }
    std::optional<std::int64_t> readAdapterWatts() override { return std::nullopt; }
};

Value mode(std::int64_t code, Value::Dictionary extra = {}) {
    Value entry = Value::dict({{"key", code}});
    for (auto& [key, value] : extra)
        entry.set(key, value);
    return entry;
}

Value spacer(int width, std::optional<int> place = std::nullopt) {
    Value entry = mode(101, {{"width", width}});
    if (place)
        entry.set("mode", *place);
    return entry;
}

BatteryStatCollector::PowerSource onBattery(const char* id, double level, int minutes,
                                            std::int64_t type = 0) {
    return {type,
            Value::dict({{"Power Source ID", id},
                         {"Name", id},
                         {"Current Capacity", level},
                         {"Power Source State", "Battery Power"},
                         {"Time to Empty", minutes}}),
            {}};
}

BatteryStatCollector::PowerSource charging(const char* id, double level, int minutes) {
    return {0,
            Value::dict({{"Power Source ID", id},
                         {"Current Capacity", level},
                         {"Power Source State", "AC Power"},
                         {"Is Charging", 1},
                         {"Time to Full Charge", minutes}}),
            {}};
}

class BatteryView : public DrawingFixture {
protected:
    void SetUp() override { view.setSurface(&surface); }
    void TearDown() override {
        view.setSurface(nullptr);
        battery.cleanup();
        PreferencesFixture::TearDown();
    }
    void read(std::vector<BatteryStatCollector::PowerSource> sources) {
        battery.sources = std::move(sources);
        battery.updateStats();
    }
    std::shared_ptr<BatteryStatCollectorItem> item(const std::string& key) {
        for (const auto& b : battery.batteries())
            if (b->key() == key)
                return b;
        return nullptr;
    }
    int draw(const Value& list, const char* key = "Battery_MenubarMode") {
        CVBSetObjectForKey(list, key);
        return view.drawAtOffset(0);
    }
    int large(const std::string& text, const char* style) {
        return view.sizeLargeText(text, view.textAttributes(style)) + 4;
    }
    int small(const std::string& text) {
        return view.sizeSmallText(text, view.smallTextAttributes("stacked-text")) + 4;
    }
    Image render(const Value& list, const char* key, bool dark) {
        return rendered(view, key, list, dark);
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedBattery battery{context};
    CVBBatteryMenuExtraView view{host(), battery};
    Image scratch{600, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(BatteryView, EachElementAnswersItsWidth) {
    read({onBattery("laptop", 60, 185)});
    const int label = view.drawLabel("menubar-label-bat", "Battery_Label", 0);
    const struct {
        int code;
        int width;
    } elements[] = {
        {0, large("60%", "battery-percentage")},
        {1, large("3:05", "battery-time")},
        {2, 30},
        {3, 22},
        {4, 30},
        {5, 22},
        {6, 13},
        {7, std::max(small("3:05"), small("60%"))},
        {8, 20}, // no picture for a laptop's battery, but its room all the same
        {100, label},
    };
    for (const auto& e : elements) {
        SCOPED_TRACE(e.code);
        EXPECT_EQ(draw(modes({e.code})), e.width - 4);
    }
    // An item that draws nothing still takes eight points.
    for (const Value& nothing : {Value::array(), Value("2,1"), modes({42})})
        EXPECT_EQ(draw(nothing), 8);
    EXPECT_EQ(draw(modes({100, 2, 1})), label + 30 + large("3:05", "battery-time") - 4);
    // The label stands once for all sources.
    read({onBattery("laptop", 60, 185), onBattery("ups", 90, 40, 1)});
    EXPECT_EQ(draw(modes({100, 3, 100})), label + 22 + 22 - 4);
}

TEST_F(BatteryView, TimeShowsOnlyWhereThereIsAnEstimate) {
    read({onBattery("mouse", 55, 0, 2)});
    // A wireless device neither has a time nor stacked lines, unless it is a pair of earbuds.
    EXPECT_EQ(draw(modes({1, 7}), "Battery_MenubarModeBluetooth"), 8);

    BatteryStatCollector::PowerSource ups = charging("ups", 80, 0);
    ups.type = 1;
    ups.powerSource.erase("Time to Full Charge");
    read({ups});
    ASSERT_EQ(item("ups")->time(), -3);
    EXPECT_EQ(draw(modes({1})), 8);
    // The stacked lines still say so.
    EXPECT_EQ(draw(modes({7})), std::max(small("Unknown Time"), small("80%")) - 4);
}

// Two hosts in one process, one of them German, share the artwork cache and its tables:
// each view writes in its own host's language.
TEST_F(BatteryView, TimeTextsSayWhyThereAreNoMinutesInTheHostsLanguage) {
    const struct {
        std::int64_t state, time;
        const char* english;
        const char* german;
    } cases[] = {
        {2, 185, "3:05", "3:05"},
        {1, 59, "0:59", "0:59"},
        {2, 0, "0:00", "0:00"},
        {3, -1, "Not Charging", "Lädt nicht"},
        {2, -1, "Calculating", "Wird berechnet"},
        {1, -3, "Unknown Time", "Zeit unbekannt"},
        {0, -2, "Charged", "Geladen"},
        {0, -3, "Unknown Time", "Zeit unbekannt"},
        {5, -3, "Paused", "Pausiert"},
    };
    const auto germanSettings = otherHost();
    germanSettings->setObject(Value("de"), "language");
    germanSettings->setObject(modes({1}), "Battery_MenubarMode");
    const DrawingContext german = DrawingContext::forHost(*germanSettings, artwork);
    CVBBatteryMenuExtraView germanView{german, battery};
    germanView.setSurface(&surface);
    CVBSetObjectForKey(modes({1}), "Battery_MenubarMode");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.english);
        EXPECT_EQ(CVBBatteryMenuExtraView::formattedBatteryTime(host().text(), c.state, c.time),
                  c.english);
        EXPECT_EQ(CVBBatteryMenuExtraView::formattedBatteryTime(german.text(), c.state, c.time),
                  c.german);
    }
    // The German view draws the German word, the other the English one, from the same cache.
    auto plugged = charging("laptop", 60, 0);
    plugged.powerSource.set("Is Charging", 0);
    read({plugged});
    ASSERT_EQ(item("laptop")->state, BatteryStatCollectorItem::OnMainsNotCharging);
    EXPECT_EQ(view.drawAtOffset(0), large("Not Charging", "battery-time") - 4);
    EXPECT_EQ(germanView.drawAtOffset(0),
              germanView.sizeLargeText("Lädt nicht", germanView.textAttributes("battery-time")));
    germanView.setSurface(nullptr);
}

TEST_F(BatteryView, EachStateHasItsOwnListWhenTheUserSetsListsPerState) {
    const std::map<std::string, Value> lists = {
        {"Battery_MenubarMode", modes({0})},         {"Battery_MenubarModeCharged", modes({1})},
        {"Battery_MenubarModeCharging", modes({2})}, {"Battery_MenubarModeNotCharging", modes({3})},
        {"Battery_MenubarModeDraining", modes({4})}, {"Battery_MenubarModeBluetooth", modes({5})},
        {"Battery_MenubarModeAirpods", modes({6})},
    };
    for (const auto& [key, list] : lists)
        CVBSetObjectForKey(list, key);
    const auto chosen = [&](Reading r) { return view.currentModesForBattery(r); };
    const auto at = [&](const char* key) { return lists.at(key); };

    for (std::int64_t state : {0, 1, 2, 3, 5})
        EXPECT_EQ(chosen({0, 0, state}), at("Battery_MenubarMode")) << state;
    EXPECT_EQ(chosen({2, 0, 2}), at("Battery_MenubarModeBluetooth"));
    EXPECT_EQ(chosen({2, 1, 2}), at("Battery_MenubarModeAirpods"));

    CVBSetBoolForKey(true, "Battery_MenubarCustomizeStates");
    EXPECT_EQ(chosen({0, 0, 0}), at("Battery_MenubarModeCharged"));
    EXPECT_EQ(chosen({1, 0, 1}), at("Battery_MenubarModeCharging"));
    EXPECT_EQ(chosen({0, 0, 3}), at("Battery_MenubarModeNotCharging"));
    EXPECT_EQ(chosen({0, 0, 5}), at("Battery_MenubarModeNotCharging"));
    EXPECT_EQ(chosen({0, 0, 2}), at("Battery_MenubarModeDraining"));
    EXPECT_EQ(chosen({2, 0, 2}), at("Battery_MenubarModeBluetooth"));
    EXPECT_EQ(chosen({2, 1, 2}), at("Battery_MenubarModeAirpods"));

    // An empty list for the state shows nothing rather than the general list.
    read({charging("laptop", 40, 90)});
    CVBSetObjectForKey(Value::array(), "Battery_MenubarModeCharging");
    EXPECT_EQ(view.drawAtOffset(0), 8);
}

TEST_F(BatteryView, ColouredGraphsTakeTheColourOfKindStateAndLevel) {
    const struct {
        Reading reading;
        const char* key;
    } cases[] = {
        {{0, 0, 0, 0, 100}, "Battery_ColorGraphCharged"},
        {{0, 0, 1, 0, 5}, "Battery_ColorGraphCharging"},
        {{0, 0, 3, 0, 80}, "Battery_ColorGraphNotCharging"},
        {{1, 0, 5, 0, 80}, "Battery_ColorGraphNotCharging"},
        {{0, 0, 2, 0, 11}, "Battery_ColorGraphDraining"},
        {{0, 0, 2, 0, 10}, "Battery_ColorGraphLow"},
        {{2, 1, 2, 0, 50}, "Battery_ColorGraphAirpods"},
        {{2, 2, 2, 0, 10}, "Battery_ColorGraphAirpodsLow"},
        {{3, 2, 0, 0, 90}, "Battery_ColorGraphAirpods"},
        {{2, 3, 2, 0, 50}, "Battery_ColorGraphBluetooth"},
        {{2, 0, 2, 0, 3}, "Battery_ColorGraphBluetoothhLow"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CVBBatteryMenuExtraView::graphColorKey(c.reading, false), c.key);
        EXPECT_EQ(CVBBatteryMenuExtraView::graphColorKey(c.reading, true),
                  std::string(c.key) + "-Standard");
    }
}

TEST_F(BatteryView, SpacersStandBeforeBetweenOrAfterAsTheirPlaceSays) {
    read({onBattery("laptop", 60, 185)});
    // By position: first before, last after, the rest between.
    Value list = Value::array({spacer(3), mode(2), spacer(5), mode(3), spacer(7)});
    EXPECT_EQ(draw(list), 3 + 30 + 5 + 22 + 7 - 4);
    // A stated place wins over the position; only the first leading and trailing ones count.
    list = Value::array({spacer(3, 2), mode(2), spacer(5, 0), spacer(6, 0), spacer(9, 2)});
    EXPECT_EQ(draw(list), 5 + 30 + 3 - 4);
    // A lone spacer is the first entry, so it leads.
    EXPECT_EQ(draw(Value::array({spacer(12)})), 12 - 4);

    // Each source's list has its own leading and trailing room.
    read({onBattery("laptop", 60, 185), onBattery("mouse", 40, 0, 2)});
    CVBSetObjectForKey(Value::array({spacer(2), mode(8), spacer(4)}),
                       "Battery_MenubarModeBluetooth");
    EXPECT_EQ(draw(Value::array({spacer(3), mode(3)})), 3 + 22 + 2 + 20 + 4 - 4);
}

TEST_F(BatteryView, EarbudsShowEachSideOrTheWeakerOne) {
    read({onBattery("buds", 0, 0, 2)});
    auto buds = item("buds");
    buds->subtype = 1;
    buds->percentageLeft = 5;
    buds->percentageRight = 70;
    const char* key = "Battery_MenubarModeAirpods";
    EXPECT_EQ(draw(modes({0}), key), large("5%", "battery-percentage") - 4);
    EXPECT_EQ(draw(Value::array({mode(0, {{"show", 1}})}), key),
              large("5%", "battery-percentage") + large("70%", "battery-percentage") - 4);
    // The device picture stands once even when the sides are asked for.
    EXPECT_EQ(draw(Value::array({mode(8, {{"show", 1}}), mode(5, {{"show", 1}})}), key),
              20 + 22 + 22 - 4);
    EXPECT_EQ(draw(modes({7}), key), std::max(small("5%"), small("70%")) - 4);

    // A side that reports nothing does not drag the pair down to nothing.
    buds->percentageLeft = 0;
    EXPECT_EQ(draw(modes({0}), key), large("70%", "battery-percentage") - 4);
    EXPECT_EQ(draw(modes({7}), key), std::max(small("-"), small("70%")) - 4);
}

TEST_F(BatteryView, EachKindOfDeviceHasItsOwnPicture) {
    const struct {
        WirelessDeviceKind kind;
        const char* picture;
    } kinds[] = {
        {Earbuds, "menubar-bluetooth-airpods"},
        {GameController, "menubar-bluetooth-gamecontroller"},
        {UnknownDevice, "menubar-bluetooth-mouse"},
    };
    read({onBattery("device", 50, 0, 2)});
    CVBSetObjectForKey(modes({8}), "Battery_MenubarModeAirpods");
    for (const auto& k : kinds) {
        SCOPED_TRACE(k.picture);
        item("device")->subtype = k.kind;
        const Image drawn = render(modes({8}), "Battery_MenubarModeBluetooth", false);
        const auto art = artwork.tintedImage(k.picture, Color::black(), 2);
        ASSERT_TRUE(art);
        Image expected(drawn.size().width, drawn.size().height, 2);
        Surface(expected).drawImage(*art, {0, 2});
        EXPECT_EQ(
            countPixels(drawn, [&](int x, int y, Color c) { return c != expected.pixel(x, y); }),
            0);
    }
}

TEST_F(BatteryView, TheUserPicksWhichSourcesShow) {
    read({onBattery("mouse", 40, 0, 2), onBattery("laptop", 60, 185)});
    const auto keys = [&] {
        std::vector<std::string> result;
        for (const auto& b : view.menubarBatteries())
            result.push_back(b->key());
        return result;
    };
    EXPECT_EQ(keys(), (std::vector<std::string>{"mouse", "laptop"}));
    CVBSetObjectForKey(Value::array(), "Battery_MenubarItems");
    EXPECT_EQ(keys(), (std::vector<std::string>{"mouse", "laptop"}));
    CVBSetObjectForKey(
        Value::array({Value::dict({{"internal", true}}), Value::dict({{"key", "gone"}}),
                      Value::dict({{"key", "mouse"}})}),
        "Battery_MenubarItems");
    EXPECT_EQ(keys(), (std::vector<std::string>{"laptop", "mouse"}));

    // Only sources that are gone: the item shows the empty battery.
    CVBSetObjectForKey(Value::array({Value::dict({{"key", "gone"}})}), "Battery_MenubarItems");
    EXPECT_EQ(draw(modes({2, 1})), 15 - 4);
}

TEST_F(BatteryView, AMachineWithoutBatteriesShowsAnEmptyOne) {
    read({});
    EXPECT_EQ(draw(modes({100, 2, 1})), 15 - 4);
    // The whole outline fits the item: its right wall is drawn as fully as its left one.
    for (double scale : {1.0, 2.0}) {
        const Image empty =
            ItemRenderer::render(view, host(scale), ItemRenderer::Background::Transparent);
        const auto inkIn = [&](int column) {
            return countPixels(empty,
                               [&](int x, int, Color c) { return x == column && c.alpha > 0.5; });
        };
        const auto ink = test::inkBounds(empty, 0.5);
        EXPECT_GT(inkIn(ink.left), 10 * scale) << scale;
        EXPECT_EQ(inkIn(ink.right), inkIn(ink.left)) << scale;
    }
    EXPECT_TRUE(
        matchesGolden(render(modes({2, 1}), "Battery_MenubarMode", false), "battery-none-light"));
}

TEST_F(BatteryView, LooksAsRecorded) {
    const auto looks = [&](const Value& list, const char* key, const std::string& name) {
        for (bool dark : {false, true})
            EXPECT_TRUE(matchesGolden(render(list, key, dark), name + (dark ? "-dark" : "-light")));
    };
    read({onBattery("laptop", 60, 185)});
    looks(modes({100, 0, 4, 1}), "Battery_MenubarMode", "battery-discharging");
    read({charging("charger", 35, 95)});
    looks(modes({3, 5, 6, 7}), "Battery_MenubarMode", "battery-charging");
    read({onBattery("keyboard", 8, 0, 2)});
    item("keyboard")->subtype = 4;
    looks(modes({8, 5, 0}), "Battery_MenubarModeBluetooth", "battery-wireless");
}

} // namespace
