#include "DrawingFixture.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "drawing/CVBSensorsMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "hardware/PlatformLinux.h"
#include "support/GoldenImage.h"
#include "text/SensorFormatters.h"

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;
using corvane::test::modes;

namespace {

// The recorded desktop's sensors; the tests set the readings they draw.
std::unique_ptr<SensorsStatCollectorLinux> desktopSensors(const EngineContext& context) {
    const SysRoot root(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot" / "hw-amd-desktop");
    HwmonReadings readings(root);
    auto sensors = std::make_unique<SensorsStatCollectorLinux>(
        context, root, std::make_unique<PlatformLinux>(PlatformInputs{}, readings.inputs()));
    sensors->loadSensors();
    return sensors;
}

Value records(std::initializer_list<const char*> keys) {
    Value list = Value::array();
    for (const char* key : keys)
        list.append(Value::dict({{"key", key}}));
    return list;
}

constexpr const char* kCpu = "k10temp-pci-00c3/temp1";
constexpr const char* kFan = "nct6798-nct6775.656/fan2";
constexpr const char* kVolts = "nct6798-nct6775.656/in0";
constexpr const char* kDrive = "nvme-pci-0100/temp1";

class SensorsView : public DrawingFixture {
protected:
    void SetUp() override {
        view.setSurface(&surface);
        view.ready = true;
    }
    void TearDown() override {
        view.setSurface(nullptr);
        sensors->cleanup();
        PreferencesFixture::TearDown();
    }
    int draw(const Value& list) {
        CVBSetObjectForKey(list, "Sensors_MenubarMode");
        return view.drawAtOffset(0);
    }
    void reading(const char* key, float value) { sensors->sensorWithKey(key)->reading = value; }
    std::string text(const char* key) {
        return formattedMenubarSensor(host().text(), sensors->sensorWithKey(key).get(),
                                      Value::dict({{"key", key}}), false);
    }
    int large(const std::string& s) {
        return view.sizeLargeText(s, view.textAttributes("sensor-text")) + 4;
    }
    int small(const std::string& s) {
        return view.sizeSmallText(s, view.smallTextAttributes("sensor-text-small")) + 4;
    }
    Image render(const Value& list, bool dark) {
        return rendered(view, "Sensors_MenubarMode", list, dark);
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    std::unique_ptr<SensorsStatCollectorLinux> sensors = desktopSensors(context);
    CVBSensorsMenuExtraView view{host(), *sensors};
    Image scratch{600, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(SensorsView, TextPairsAndTheirWidths) {
    // Before the list is seeded, the processor's package sensor stands in.
    ASSERT_EQ(view.menubarSensors().size(), 1u);
    EXPECT_EQ(view.menubarSensors()[0].item->key(), kCpu);
    CVBSetObjectForKey(records({kCpu, "missing", kFan, kVolts}), "Sensors_MenubarItems");
    ASSERT_EQ(view.menubarSensors().size(), 3u);
    const int cpu = large(text(kCpu)), fan = large(text(kFan)), volts = large(text(kVolts));
    EXPECT_EQ(draw(modes({0})), cpu + fan + volts - 4);
    // Stacked: the first pair in one column, the third sensor alone in the next.
    EXPECT_EQ(draw(modes({3})),
              std::max(small(text(kCpu)), small(text(kFan))) + small(text(kVolts)) - 4);
    const int label = view.drawLabel("menubar-label-sensors", "Sensors_Label", 0);
    EXPECT_EQ(draw(modes({100, 101, 0})), label + 0 + cpu + fan + volts - 4);
}

TEST_F(SensorsView, RememberedWidthsDoNotShrinkUntilReset) {
    CVBSetObjectForKey(records({kCpu}), "Sensors_MenubarItems");
    reading(kCpu, 100.0F);
    const int wide = draw(modes({0}));
    reading(kCpu, 9.0F);
    EXPECT_EQ(draw(modes({0})), wide);
    view.resetSavedWidths();
    EXPECT_LT(draw(modes({0})), wide);
}

TEST_F(SensorsView, NothingToShowStillTakesEightPoints) {
    CVBSetObjectForKey(records({kDrive}), "Sensors_MenubarItems");
    CVBSetObjectForKey(Value(false), "Disks_MonitorSMART");
    EXPECT_TRUE(view.menubarSensors().empty());
    EXPECT_EQ(draw(modes({0, 3})), 8);
    EXPECT_EQ(draw(Value("0")), 8);
    CVBSetObjectForKey(Value(true), "Disks_MonitorSMART");
    EXPECT_EQ(view.menubarSensors().size(), 1u);
    view.ready = false;
    EXPECT_EQ(draw(modes({0})), 0);
}

TEST_F(SensorsView, DropdownGraphRunsThePanelSensorsBetweenTheirExtremes) {
    CVBSetObjectForKey(records({kCpu, kFan, kVolts, kDrive}), "Sensors_MenubarItems");
    const auto cpu = sensors->sensorWithKey(kCpu);
    ASSERT_FALSE(cpu->hasFixedLimits);
    for (int beat = 2; beat <= 7; ++beat) { // 1 is the sample taken at loading
        cpu->reading = 40.0F + 10.0F * static_cast<float>(beat);
        sensors->addValue(*cpu, beat);
    }
    // Two samples a column, newest first: 105, 85, 65.
    const HistoryGraph graph = view.dropdownHistory(0, 3, 2);
    EXPECT_EQ(graph.colors.size(), CVBSensorsMenuExtraView::kGraphedSensors);
    ASSERT_EQ(graph.samples.size(), 3u);
    EXPECT_DOUBLE_EQ(graph.samples[0][0], 1.0);
    EXPECT_DOUBLE_EQ(graph.samples[1][0], 0.5);
    EXPECT_DOUBLE_EQ(graph.samples[2][0], 0.0);
}

TEST_F(SensorsView, LooksAsRecorded) {
    CVBSetObjectForKey(records({kCpu, kFan, kVolts}), "Sensors_MenubarItems");
    for (bool dark : {false, true}) {
        const std::string look = dark ? "-dark" : "-light";
        EXPECT_TRUE(matchesGolden(render(modes({2, 0}), dark), "sensors-text" + look));
        EXPECT_TRUE(matchesGolden(render(modes({100, 3}), dark), "sensors-stacked" + look));
    }
}

} // namespace
