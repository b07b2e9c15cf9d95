#include "collectors/battery/UPowerDevices.h"

#include "foundation/Log.h"
#include "foundation/ManualMainQueue.h"
#include "support/FakeDBusService.h"
#include "support/MainContext.h"

#include <atomic>
#include <chrono>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

using namespace corvane;
using corvane::test::FakeDBusService;
using Item = BatteryStatCollectorItem;

namespace {

constexpr const char* kIntrospection = R"(<node>
  <interface name="org.freedesktop.UPower">
    <method name="EnumerateDevices"><arg name="devices" type="ao" direction="out"/></method>
    <signal name="DeviceAdded"><arg name="device" type="o"/></signal>
  </interface>
  <interface name="org.freedesktop.UPower.Device">
    <property name="NativePath" type="s" access="read"/>
    <property name="Model" type="s" access="read"/>
    <property name="Serial" type="s" access="read"/>
    <property name="Type" type="u" access="read"/>
    <property name="PowerSupply" type="b" access="read"/>
    <property name="IsPresent" type="b" access="read"/>
    <property name="Percentage" type="d" access="read"/>
    <property name="State" type="u" access="read"/>
    <property name="TimeToEmpty" type="x" access="read"/>
    <property name="TimeToFull" type="x" access="read"/>
  </interface>
</node>)";

struct FakeDevice {
    const char* path;
    const char* native;
    const char* model;
    const char* serial;
    guint32 type;
    gboolean powerSupply;
    double percentage;
    guint32 state = 0;
    gint64 timeToEmpty = 0;
    gint64 timeToFull = 0;
};

// The UPS comes last: it is listed only once plugged in.
constexpr FakeDevice kDevices[] = {
    {"/org/freedesktop/UPower/devices/battery_BAT0", "BAT0", "5B10W", "123", 2, TRUE, 60},
    {"/org/freedesktop/UPower/devices/line_power_AC", "AC", "", "", 1, TRUE, 0},
    {"/org/freedesktop/UPower/devices/headset_dev_AA", "/org/bluez/hci0/dev_AA", "Headset", "", 17,
     FALSE, 80},
    {"/org/freedesktop/UPower/devices/mouse_hidpp", "hidpp_battery_0", "MX", "4a-2f", 5, FALSE, 55},
    {"/org/freedesktop/UPower/devices/keyboard_dev_BB", "/org/bluez/hci0/dev_BB", "Keys", "K-1", 6,
     FALSE, 30},
    {"/org/freedesktop/UPower/devices/ups_hiddev0", "hiddev0", "Back-UPS ES 700G", "3B2051X12345",
     3, TRUE, 87, 2, 1800, 0},
};
constexpr std::size_t kWithoutUps = std::size(kDevices) - 1;

GVariant* propertiesOf(const FakeDevice& d) {
    return g_variant_new_parsed(
        "({'NativePath': <%s>, 'Model': <%s>, 'Serial': <%s>, 'Type': <%u>, 'PowerSupply': <%b>,"
        " 'IsPresent': <true>, 'Percentage': <%d>, 'State': <%u>, 'TimeToEmpty': <%x>,"
        " 'TimeToFull': <%x>},)",
        d.native, d.model, d.serial, d.type, d.powerSupply, d.percentage, d.state, d.timeToEmpty,
        d.timeToFull);
}

// UPower as far as the collector asks it, from a thread of its own on the session bus; the
// UPS is listed once plugged in.
class FakeUPower {
public:
    FakeUPower() {
        for (const auto& d : kDevices)
            service.addObject(d.path, kIntrospection);
        service.onMethod("EnumerateDevices", [this](const FakeDBusService::Call&) {
            GVariantBuilder paths;
            g_variant_builder_init(&paths, G_VARIANT_TYPE("ao"));
            for (std::size_t i = 0; i < listed; ++i)
                g_variant_builder_add(&paths, "o", kDevices[i].path);
            return FakeDBusService::Reply(g_variant_new("(ao)", &paths));
        });
        service.onMethod("GetAll", [](const FakeDBusService::Call& call) {
            for (const auto& d : kDevices)
                if (call.path == d.path)
                    return FakeDBusService::Reply(propertiesOf(d));
            return FakeDBusService::Reply::failure("org.freedesktop.DBus.Error.UnknownObject");
        });
    }
    void plugInUps() {
        listed = std::size(kDevices);
        service.emitSignal("org.freedesktop.UPower", "DeviceAdded",
                           g_variant_new("(o)", kDevices[kWithoutUps].path));
    }
    int enumerations() const { return service.calls("EnumerateDevices"); }
    int reads() const { return service.calls("GetAll"); }

    FakeDBusService service{"org.freedesktop.UPower", "/org/freedesktop/UPower", kIntrospection};
    std::atomic<std::size_t> listed{kWithoutUps};
};

// Lets `client` see all signals sent so far: they come before the answer to a call made after
// them, and are handed out on the main context.
void deliverSignals(GDBusConnection* client) {
    GVariant* pong = g_dbus_connection_call_sync(
        client, "org.freedesktop.UPower", "/", "org.freedesktop.DBus.Peer", "Ping", nullptr,
        nullptr, G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, nullptr);
    if (pong)
        g_variant_unref(pong);
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
}

// One update, then the answers to what it asked, for the next one to take.
std::vector<UPowerDevices::Peripheral> beat(UPowerDevices& devices,
                                            const std::vector<std::string>& known = {}) {
    auto sources = devices.peripheralBatteries(known);
    // Until UPower answered what it asked, or it gave up.
    test::runMainContextUntil([&] { return !devices.waiting(); });
    return sources;
}

class UPowerService : public ::testing::Test {
protected:
    void SetUp() override {
        bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        if (!bus)
            GTEST_SKIP() << "no session bus; run the tests with `make test`";
        ASSERT_TRUE(upower.service.start());
    }
    void TearDown() override {
        upower.service.stop();
        if (bus)
            g_object_unref(bus);
    }

    GDBusConnection* bus = nullptr;
    FakeUPower upower;
    ManualMainQueue clock{1795335330.0};
};

// Peripherals the kernel does not list become wireless sources; the list is read again when
// UPower announces a device, or after a minute.
TEST_F(UPowerService, PeripheralsAreListedAndTheListIsKeptUpToDate) {
    UPowerDevices devices(bus, &clock);
    // The first update only asks.
    EXPECT_TRUE(beat(devices).empty());
    const auto peripherals = beat(devices, {"BAT0", "hidpp_battery_0"});
    ASSERT_EQ(peripherals.size(), 2u);
    EXPECT_EQ(peripherals[0].powerSource["Name"], Value("Headset"));
    EXPECT_EQ(peripherals[0].powerSource["Current Capacity"], Value(80.0));
    EXPECT_EQ(peripherals[0].powerSource["Power Source ID"], Value("/org/bluez/hci0/dev_AA"));
    EXPECT_FALSE(peripherals[0].powerSource.contains("Hardware Serial Number"));
    EXPECT_EQ(peripherals[1].powerSource["Hardware Serial Number"], Value("K-1"));
    EXPECT_EQ(peripherals[1].powerSource["Power Source State"], Value("Battery Power"));
    EXPECT_EQ(peripherals[0].type, Item::WirelessDevice);
    // The panel draws a headset and a keyboard for them.
    EXPECT_EQ(peripherals[0].kind, Headphones);
    EXPECT_EQ(peripherals[1].kind, Keyboard);
    EXPECT_EQ(upower.enumerations(), 1);
    // Battery and line power are of no interest, and are not asked again.
    const int firstReads = upower.reads();
    EXPECT_EQ(beat(devices).size(), 3u);
    EXPECT_EQ(upower.enumerations(), 1);
    EXPECT_EQ(upower.reads() - firstReads, 3);

    // A USB UPS that only UPower reads: a power source of its own, on battery for half an hour.
    upower.plugInUps();
    deliverSignals(bus);
    EXPECT_EQ(beat(devices).size(), 3u);
    const auto sources = beat(devices);
    EXPECT_EQ(upower.enumerations(), 2);
    ASSERT_EQ(sources.size(), 4u);
    const auto& ups = sources.back();
    EXPECT_EQ(ups.type, Item::PowerSource);
    EXPECT_EQ(ups.powerSource["Name"], Value("Back-UPS ES 700G"));
    EXPECT_EQ(ups.powerSource["Hardware Serial Number"], Value("3B2051X12345"));
    Item item(3, 1);
    item.type = ups.type;
    item.processIOPS(ups.powerSource);
    EXPECT_FLOAT_EQ(item.percentage, 87.0F);
    EXPECT_EQ(item.source, 0);
    EXPECT_EQ(item.state, Item::Discharging);
    EXPECT_EQ(item.time(), 30);

    // The kernel's reading of the same UPS wins.
    EXPECT_EQ(beat(devices, {"hiddev0"}).size(), 3u);

    clock.advance(UPowerDevices::kListLifetime - 1);
    beat(devices);
    EXPECT_EQ(upower.enumerations(), 2);
    clock.advance(1);
    beat(devices);
    EXPECT_EQ(upower.enumerations(), 3);
}

TEST_F(UPowerService, AHangingDaemonNeitherBlocksAnUpdateNorIsAskedForAMinute) {
    UPowerDevices devices(bus, &clock);
    beat(devices);
    ASSERT_EQ(beat(devices).size(), 3u);
    upower.service.setHung(true);
    LogCapture log;
    // The update returns at once with the figures it has.
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(devices.peripheralBatteries({}).size(), 3u);
    EXPECT_LT(std::chrono::steady_clock::now() - start,
              std::chrono::milliseconds(UPowerDevices::kTimeoutMs / 2));
    EXPECT_EQ(beat(devices).size(), 3u);
    EXPECT_TRUE(log.contains("UPower does not answer")) << log.lines();

    // Within the minute the daemon is not asked at all.
    const int asked = upower.reads() + upower.enumerations();
    clock.advance(UPowerDevices::kQuietAfterFailure - 1);
    EXPECT_TRUE(beat(devices).empty());
    EXPECT_FALSE(devices.waiting());
    EXPECT_EQ(upower.reads() + upower.enumerations(), asked);

    upower.service.setHung(false);
    clock.advance(1);
    beat(devices);
    EXPECT_EQ(beat(devices).size(), 3u);
}

// UPower's states of a UPS, as the battery item then reads them.
TEST(UPowerUps, StatesReadAsOnMainsOrOnBattery) {
    struct Case {
        const char* what;
        std::uint32_t state;
        double percent;
        std::int64_t toFull, source;
        Item::State itemState;
        std::optional<std::int64_t> time;
    } cases[] = {
        {"charging", 1, 60, 2400, 1, Item::Charging, 40},
        {"full", 4, 100, 0, 1, Item::ChargedOrUnknown, Item::kTimeCharged},
        {"pending charge: on mains, not charging yet", 5, 95, 0, 1, Item::OnMainsNotCharging,
         Item::kTimeNoEstimate},
        {"empty, with no time to empty given", 3, 0, 0, 0, Item::Discharging,
         Item::kTimeNoEstimate},
        {"unknown", 0, 50, 0, -1, Item::ChargedOrUnknown, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Value properties = Value::dict({{"Type", 3},
                                              {"Model", "Smart-UPS"},
                                              {"Percentage", c.percent},
                                              {"State", c.state},
                                              {"TimeToFull", c.toFull}});
        Item item(3, 1);
        item.type = Item::PowerSource;
        item.processIOPS(UPowerDevices::upsPowerSource(properties, "/ups"));
        EXPECT_EQ(item.source, c.source);
        EXPECT_EQ(item.state, c.itemState);
        if (c.time) {
            EXPECT_EQ(item.time(), *c.time);
        }
        EXPECT_EQ(item.name, "Smart-UPS");
    }
}

// A game pad that reports its charge in words has told none yet: UPower's level "Unknown" (0)
// with a Percentage of 0 is no charge at all, while a level with a percentage is one.
TEST(UPowerPeripherals, AnUnknownLevelGivesNoPercentage) {
    auto read = [](std::int64_t level, double percent) {
        Value properties = Value::dict({{"Type", 12}, {"Model", "Pad"}, {"Percentage", percent}});
        if (level >= 0)
            properties.set("BatteryLevel", level);
        auto item = std::make_unique<Item>(3, 1);
        item->type = Item::WirelessDevice;
        item->processIOPS(UPowerDevices::peripheralPowerSource(properties, "/pad"));
        return item;
    };
    EXPECT_FALSE(read(0, 0)->hasPercentage);
    EXPECT_FLOAT_EQ(read(1, 0)->percentage, 0.0F); // level "None": the percentage stands
    EXPECT_TRUE(read(1, 0)->hasPercentage);
    EXPECT_FLOAT_EQ(read(7, 70)->percentage, 70.0F);
    EXPECT_TRUE(read(-1, 0)->hasPercentage); // an older UPower without levels
    EXPECT_EQ(deviceKindForUPowerType(12), GameController);
}

TEST(UPowerDevices, WithoutTheServiceTheListIsEmpty) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        GTEST_SKIP() << "no session bus";
    LogCapture log;
    UPowerDevices devices(bus);
    g_object_unref(bus);
    EXPECT_TRUE(beat(devices).empty());
    EXPECT_TRUE(beat(devices).empty());
    EXPECT_TRUE(log.contains("UPower does not answer")) << log.lines();
}

} // namespace
