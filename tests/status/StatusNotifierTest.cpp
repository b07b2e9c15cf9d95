#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "status/BusTestSupport.h"
#include "status/StatusNotifierFrontEnd.h"

#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace corvane {
namespace {

using test::kWatcherXml;
using test::runMainContextUntil;
using test::sampleItem;

constexpr const char* kRegister = "RegisterStatusNotifierItem";
constexpr const char* kWatcherInterface = "org.kde.StatusNotifierWatcher";

class StatusNotifierTest : public ::testing::Test {
protected:
    void SetUp() override {
        client = test::privateSessionConnection();
        if (!client)
            GTEST_SKIP() << "no session bus";
        // Keeps its list as a watcher does.
        watcher.onMethod(kRegister, [this](const test::FakeDBusService::Call& call) {
            const gchar* name = nullptr;
            g_variant_get(call.parameters, "(&s)", &name);
            listed.emplace_back(name);
            std::vector<const char*> names;
            for (const auto& n : listed)
                names.push_back(n.c_str());
            watcher.setProperty(
                kWatcherInterface, "RegisteredStatusNotifierItems",
                g_variant_new_strv(names.data(), static_cast<gssize>(names.size())));
            return test::FakeDBusService::Reply();
        });
        ASSERT_TRUE(watcher.start());
    }

    std::unique_ptr<StatusNotifierFrontEnd> makeFrontEnd(int timeoutMs = 2000,
                                                         double retrySeconds = 30) {
        StatusNotifierFrontEnd::Options options;
        options.callTimeoutMs = timeoutMs;
        options.retrySeconds = retrySeconds;
        return std::make_unique<StatusNotifierFrontEnd>(
            [this](const std::string& item, const std::string& action) {
                actions.push_back(item + " " + action);
            },
            options);
    }
    // The names the watcher lists, in the order it was asked.
    std::vector<std::string> registered() {
        const VariantRef names = test::propertyOf(
            client.get(), StatusNotifierItem::kWatcherName, StatusNotifierItem::kWatcherPath,
            kWatcherInterface, "RegisteredStatusNotifierItems");
        std::vector<std::string> list;
        for (const auto& name : names ? fromGVariant(names.get()).arrayItems() : Value::Array{})
            list.push_back(name.string());
        return list;
    }
    Value itemProperties(const std::string& name) {
        return test::itemProperties(client.get(), name);
    }

    GObjectRef<GDBusConnection> client;
    std::vector<std::string> listed; // the watcher's, used on its thread; outlives it
    test::FakeDBusService watcher{StatusNotifierItem::kWatcherName,
                                  StatusNotifierItem::kWatcherPath, kWatcherXml};
    std::vector<std::string> actions;
};

TEST_F(StatusNotifierTest, ItemsRegisterWithinASecondAndShowThePixelsHandedIn) {
    auto frontEnd = makeFrontEnd();
    const std::vector<PanelItem> items = {sampleItem("cpu"), sampleItem("memory")};
    frontEnd->show(items);
    ASSERT_TRUE(runMainContextUntil([&] { return registered().size() == 2; }, 1.0));
    // Each item asks from a connection of its own, so the two requests may arrive either way.
    const std::vector<std::string> names = registered();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()),
              (std::set<std::string>{frontEnd->busNameOf("cpu"), frontEnd->busNameOf("memory")}));
    // The watcher here is this test program, which no panel list knows: the square picture.
    ASSERT_TRUE(runMainContextUntil([&] { return !frontEnd->hostProgram().empty(); }, 2.0));
    EXPECT_EQ(frontEnd->hostProgram(), programNameOfProcess("/proc", ::getpid()));
    EXPECT_EQ(frontEnd->pictureShape(), PictureShape::Compact);
    EXPECT_EQ(itemProperties(frontEnd->busNameOf("cpu"))["IconPixmap"][0][0].integerValue(), 22);

    frontEnd->setTrayStyle(TrayStyle::Wide);
    frontEnd->show(items);
    const Value cpu = itemProperties(frontEnd->busNameOf("cpu"));
    const Value pixmap = cpu["IconPixmap"][0];
    EXPECT_EQ(pixmap[0].integerValue(), 30);
    EXPECT_EQ(pixmap[1].integerValue(), 22);
    ASSERT_EQ(pixmap[2].data().size(), 30u * 22 * 4);
    EXPECT_EQ(cpu["IconName"].string(), "");
    EXPECT_TRUE(cpu["ItemIsMenu"].boolValue());
    EXPECT_EQ(cpu["Menu"].string(), StatusNotifierItem::kMenuPath);
    EXPECT_EQ(cpu["Title"].string(), "CPU");
    EXPECT_EQ(cpu["ToolTip"][3].string(), "CPU: 12%");
    EXPECT_EQ(cpu["IconAccessibleDesc"].string(), "CPU usage");
    EXPECT_EQ(cpu["XAyatanaLabel"].string(), "12%");
}

TEST_F(StatusNotifierTest, NoNewIconForAnUnchangedFrame) {
    auto frontEnd = makeFrontEnd();
    frontEnd->setTrayStyle(TrayStyle::Wide);
    std::vector<PanelItem> items = {sampleItem("cpu")};
    frontEnd->show(items);
    const std::string name = frontEnd->busNameOf("cpu");
    test::SignalCounter icons(client.get(), name, StatusNotifierItem::kInterface, "NewIcon");
    test::SignalCounter labels(client.get(), name, StatusNotifierItem::kInterface,
                               "XAyatanaNewLabel");
    frontEnd->show(items);
    items[0].label = "13%";
    frontEnd->show(items);
    items[0].picture = test::filledPicture(30, 22, 0xff336698);
    frontEnd->show(items);
    frontEnd->show(items);
    itemProperties(name); // a round trip: what was sent before has arrived
    test::runMainContextFor(0.05);
    EXPECT_EQ(icons.count(), 1);
    EXPECT_EQ(labels.arguments, std::vector<std::string>{"('13%', '100%')"});
}

TEST_F(StatusNotifierTest, TheMenuHoldsTheDropdownAndAClickRunsTheAction) {
    auto frontEnd = makeFrontEnd();
    PanelItem cpu = sampleItem("cpu");
    cpu.dropdown.rows[4].enabled = false;
    frontEnd->show({cpu});
    const std::string name = frontEnd->busNameOf("cpu");
    const Value layout = fromGVariant(
        test::menuCall(client.get(), name, "GetLayout", g_variant_new("(iias)", 0, -1, nullptr))
            .reply.get());
    const Value::Array& rows = layout[1][2].arrayItems();
    std::vector<std::string> labels;
    for (const auto& row : rows)
        labels.push_back(row[1]["label"].string());
    EXPECT_EQ(labels, (std::vector<std::string>{"Processor", "User__1: 8%", "",
                                                "Open Corvane Bar Settings…", "Quit Corvane Bar"}));
    ASSERT_EQ(rows.size(), 5u); // the graph is left to Panel1's front ends
    EXPECT_EQ(rows[2][1]["type"].string(), "separator");
    EXPECT_FALSE(rows[0][1]["enabled"].boolValue()); // a header, greyed
    const Value& figure = rows[1][1]["enabled"];     // readable: absent means enabled
    EXPECT_TRUE(figure.isNull() || figure.boolValue());

    // Value rows and disabled actions do nothing; the settings row hands its action back.
    for (const int row : {1, 4, 3})
        EXPECT_TRUE(test::menuEvent(client.get(), name, rows[row][0].integerValue()).error.empty());
    EXPECT_EQ(actions, std::vector<std::string>{"cpu open-settings"});
    EXPECT_FALSE(test::menuEvent(client.get(), name, 99).error.empty());

    // A host that cannot drop the menu down activates the icon: the settings window opens.
    test::callAndWait(client.get(), name, StatusNotifierItem::kItemPath,
                      StatusNotifierItem::kInterface, "Activate", g_variant_new("(ii)", 5, 5));
    EXPECT_EQ(actions.size(), 2u);

    test::SignalCounter updates(client.get(), name, DBusMenuExporter::kInterface, "LayoutUpdated");
    cpu.dropdown.rows.pop_back();
    frontEnd->show({cpu});
    frontEnd->show({cpu});
    EXPECT_TRUE(runMainContextUntil([&] { return updates.count() == 1; }, 2.0));
}

TEST_F(StatusNotifierTest, AWatcherThatCrashesAndComesBackGetsTheItemsBack) {
    LogCapture log;
    auto frontEnd = makeFrontEnd();
    frontEnd->show({sampleItem("cpu"), sampleItem("memory")});
    ASSERT_TRUE(runMainContextUntil([&] { return watcher.calls(kRegister) == 2; }, 2.0));

    watcher.stop();
    ASSERT_TRUE(runMainContextUntil([&] { return log.contains("left the bus"); }, 2.0));
    ASSERT_TRUE(watcher.start());
    EXPECT_TRUE(runMainContextUntil([&] { return watcher.calls(kRegister) == 4; }, 2.0));
    EXPECT_TRUE(test::saidOnce(log, "Tray items")) << log.lines();
}

TEST_F(StatusNotifierTest, AHungWatcherCostsOneLogLineAndNeverHoldsTheLoop) {
    watcher.setHung(true);
    LogCapture log;
    auto frontEnd = makeFrontEnd(150, 0);
    const auto start = std::chrono::steady_clock::now();
    frontEnd->show({sampleItem("cpu")});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));

    ASSERT_TRUE(runMainContextUntil([&] { return log.contains("did not list the items"); }, 2.0));
    frontEnd->show({sampleItem("cpu")}); // asks again, times out again
    ASSERT_TRUE(runMainContextUntil([&] { return watcher.calls(kRegister) == 2; }, 2.0));
    test::runMainContextFor(0.3);
    EXPECT_TRUE(test::saidOnce(log, "did not list")) << log.lines();

    watcher.setHung(false);
    frontEnd->show({sampleItem("cpu")});
    EXPECT_TRUE(runMainContextUntil([&] { return watcher.calls(kRegister) == 3; }, 2.0));
}

} // namespace
} // namespace corvane
