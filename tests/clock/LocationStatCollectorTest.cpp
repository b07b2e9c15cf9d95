#include "clock/LocationStatCollector.h"

#include "clock/GeoClueLocationSource.h"
#include "foundation/ManualMainQueue.h"
#include "preferences/PreferenceDomain.h"
#include "support/FakeDBusService.h"
#include "support/MainContext.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

constexpr const char* kClient = "/org/freedesktop/GeoClue2/Client/1";
constexpr const char* kLocation = "/org/freedesktop/GeoClue2/Location/1";
constexpr const char* kXml = R"xml(<node>
  <interface name="org.freedesktop.GeoClue2.Manager">
    <method name="GetClient"><arg type="o" direction="out"/></method>
  </interface>
  <interface name="org.freedesktop.GeoClue2.Client">
    <method name="Start"/><method name="Stop"/>
    <property name="DesktopId" type="s" access="readwrite"/>
    <property name="RequestedAccuracyLevel" type="u" access="readwrite"/>
    <property name="DistanceThreshold" type="u" access="readwrite"/>
    <signal name="LocationUpdated"><arg type="o"/><arg type="o"/></signal>
  </interface>
  <interface name="org.freedesktop.GeoClue2.Location">
    <property name="Latitude" type="d" access="read"/>
    <property name="Longitude" type="d" access="read"/>
    <property name="Altitude" type="d" access="read"/>
    <property name="Timestamp" type="(tt)" access="read"/>
  </interface>
</node>)xml";

// The generic fake service playing GeoClue2 on the session bus.
class GeoClue : public ::testing::Test {
protected:
    void SetUp() override {
        bus = GObjectRef<GDBusConnection>::adopt(
            g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        if (!bus)
            GTEST_SKIP() << "no session bus: run under dbus-run-session";
        geoclue.addObject("/org/freedesktop/GeoClue2/Manager", kXml);
        geoclue.addObject(kLocation, kXml);
        geoclue.onMethod("GetClient", [](const test::FakeDBusService::Call&) {
            return test::FakeDBusService::Reply(g_variant_new("(o)", kClient));
        });
        geoclue.onMethod("Set", [](const test::FakeDBusService::Call&) {
            return test::FakeDBusService::Reply();
        });
    }
    // GeoClue reports a position at `time`.
    void report(double latitude, double longitude, guint64 time) {
        const char* location = "org.freedesktop.GeoClue2.Location";
        geoclue.setProperty(location, "Latitude", g_variant_new_double(latitude));
        geoclue.setProperty(location, "Longitude", g_variant_new_double(longitude));
        geoclue.setProperty(location, "Altitude", g_variant_new_double(12));
        geoclue.setProperty(location, "Timestamp", g_variant_new("(tt)", time, guint64(0)));
        geoclue.emitSignal("org.freedesktop.GeoClue2.Client", "LocationUpdated",
                           g_variant_new("(oo)", "/", kLocation));
    }

    GObjectRef<GDBusConnection> bus;
    test::TemporaryDirectory dir;
    PreferenceDomain defaults{"com.halvorn.corvanebar", dir.path() / "app.plist"};
    ManualMainQueue queue;
    // The client is the first object: the fake sends its signals from there.
    test::FakeDBusService geoclue{GeoClueLocationSource::kService, kClient, kXml};
};

TEST_F(GeoClue, AnUpdateIsKeptAsTheLastLocationAndZeroZeroIsIgnored) {
    ASSERT_TRUE(geoclue.start());
    GeoClueLocationSource source(bus.get());
    LocationStatCollector location(source, defaults, queue, nullptr);
    int updates = 0;
    location.locationManagerUpdated = [&] { ++updates; };
    location.fetchLocationWithTimeout(30);
    EXPECT_EQ(location.status(), 3);
    const auto set = geoclue.arguments("Set");
    ASSERT_EQ(set.size(), 3u);
    EXPECT_NE(set[0].find("'com.halvorn.corvanebar'"), std::string::npos);
    EXPECT_NE(set[1].find("uint32 6"), std::string::npos);
    EXPECT_NE(set[2].find("uint32 100"), std::string::npos);

    report(47.56, -52.71, 1700000000);
    test::runMainContextUntil([&] { return updates == 1; });
    EXPECT_DOUBLE_EQ(location.latitude(), 47.56);
    EXPECT_DOUBLE_EQ(
        defaults.copyValue(LocationStatCollector::kLastLocationKey)["longitude"].doubleValue(),
        -52.71);

    report(0, 0, 1700000100);    // no fix yet, as a service reports it
    report(40, -74, 1600000000); // older than what is kept
    test::runMainContextFor(0.3);
    EXPECT_EQ(updates, 1);
    EXPECT_DOUBLE_EQ(location.latitude(), 47.56);

    // A later run starts from the kept place, before any update.
    GeoClueLocationSource other(bus.get());
    LocationStatCollector restarted(other, defaults, queue, nullptr);
    EXPECT_TRUE(restarted.hasLocation());
    EXPECT_DOUBLE_EQ(restarted.longitude(), -52.71);
}

TEST_F(GeoClue, OnlyTheLatestFetchStopsUpdatesAtItsTimeOut) {
    ASSERT_TRUE(geoclue.start());
    GeoClueLocationSource source(bus.get());
    LocationStatCollector location(source, defaults, queue, nullptr);
    location.fetchLocationWithTimeout(10);
    queue.advance(5);
    location.fetchLocationWithTimeout(10);
    queue.advance(6); // the first time-out passes: a later fetch came
    EXPECT_EQ(geoclue.calls("Stop"), 0);
    EXPECT_TRUE(location.running());
    queue.advance(5);
    EXPECT_EQ(geoclue.calls("Stop"), 1);
    EXPECT_FALSE(location.running());
}

TEST_F(GeoClue, RefusedAccessIsDeniedAndAMissingServiceRestricted) {
    GeoClueLocationSource absent(bus.get());
    LocationStatCollector withoutService(absent, defaults, queue, nullptr);
    withoutService.fetchLocationWithTimeout(1);
    EXPECT_EQ(withoutService.status(), 1);

    geoclue.onMethod("GetClient", [](const test::FakeDBusService::Call&) {
        return test::FakeDBusService::Reply::failure("org.freedesktop.DBus.Error.AccessDenied",
                                                     "not in geoclue.conf");
    });
    ASSERT_TRUE(geoclue.start());
    GeoClueLocationSource source(bus.get());
    LocationStatCollector location(source, defaults, queue, nullptr);
    location.fetchLocationWithTimeout(1);
    EXPECT_EQ(location.status(), 2);
    EXPECT_EQ(LocationStatCollector::nameForStatus(location.status()), "denied");
    EXPECT_EQ(LocationStatCollector::nameForStatus(1), "resitrcited");
    EXPECT_EQ(LocationStatCollector::nameForStatus(4), "unknown");
    EXPECT_FALSE(location.hasLocation());
}

TEST(LocationDistance, HaversineMetres) {
    EXPECT_NEAR(metersBetweenLocations(51.5074, -0.1278, 48.8566, 2.3522), 344000, 1500);
    EXPECT_EQ(metersBetweenLocations(10, 10, 10, 10), 0);
}

} // namespace
} // namespace corvane
