#include "status/PanelService.h"

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "status/BusTestSupport.h"
#include "status/StatusItemService.h"

#include <cstring>
#include <gtest/gtest.h>

namespace corvane {
namespace {

using test::callAndWait;
using test::sampleItem;

class PanelServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        program = test::privateSessionConnection();
        client = test::privateSessionConnection();
        if (!program || !client)
            GTEST_SKIP() << "no session bus";
        name = g_dbus_connection_get_unique_name(program.get());
        service = std::make_unique<PanelService>(
            program.get(),
            [this](const std::string& item, const std::string& action) {
                actions.push_back(item + " " + action);
            },
            [this](const PanelStyle& style) { styles.push_back(style); });
    }

    test::CallResult call(const char* method, GVariant* parameters = nullptr) {
        return callAndWait(client.get(), name, PanelService::kObjectPath, PanelService::kInterface,
                           method, parameters);
    }
    Value reply(const char* method, GVariant* parameters = nullptr) {
        test::CallResult result = call(method, parameters);
        return result.reply ? fromGVariant(result.reply.get()) : Value();
    }

    GObjectRef<GDBusConnection> program, client;
    std::string name;
    std::unique_ptr<PanelService> service;
    std::vector<std::string> actions;
    std::vector<PanelStyle> styles;
};

TEST_F(PanelServiceTest, SignalsOnlyForFrontEndsAndPicturesOnlyWhenTheBytesChange) {
    test::SignalCounter pictures(client.get(), name, PanelService::kInterface, "PictureChanged");
    test::SignalCounter texts(client.get(), name, PanelService::kInterface, "ItemChanged");
    test::SignalCounter lists(client.get(), name, PanelService::kInterface, "ItemsChanged");
    std::vector<PanelItem> items = {sampleItem("cpu"), sampleItem("memory")};
    service->show(items); // nobody has asked for the items yet: nothing is sent
    ASSERT_EQ(reply("GetItems")[0].arrayItems().size(), 2u);
    service->show(items); // the same frame again
    items[0].label = "13%";
    service->show(items);
    items[1].picture = test::filledPicture(30, 22, 0xff336698);
    service->show(items);
    ASSERT_EQ(reply("GetItems")[0].arrayItems().size(), 2u); // a round trip: signals are in
    test::runMainContextFor(0.05);
    EXPECT_EQ(pictures.arguments, std::vector<std::string>{"('memory',)"});
    EXPECT_EQ(texts.arguments, std::vector<std::string>{"('cpu',)"});
    EXPECT_EQ(lists.count(), 0);
}

TEST_F(PanelServiceTest, ServesItemsPicturesAndDropdownsInPanelOrder) {
    PanelItem cpu = sampleItem("cpu", 0x80402000);
    cpu.picture2x = test::filledPicture(60, 44, 0xff000000);
    service->show({sampleItem("memory"), cpu});

    const Value items = reply("GetItems")[0];
    ASSERT_EQ(items.arrayItems().size(), 2u);
    EXPECT_EQ(items[0]["id"].string(), "memory");
    EXPECT_EQ(items[1]["width"].integerValue(), 30);
    EXPECT_EQ(items[1]["compact-width"].integerValue(), 22);
    EXPECT_EQ(reply("GetItem", g_variant_new("(s)", "cpu"))[0]["label-guide"].string(), "100%");

    // Pixels go as drawn: premultiplied words in this machine's order.
    const Value wide = reply("GetPicture", g_variant_new("(ssd)", "cpu", "wide", 1.0));
    EXPECT_EQ(wide[0].integerValue(), 30);
    ASSERT_EQ(wide[2].data().size(), 30u * 22 * 4);
    std::uint32_t first = 0;
    std::memcpy(&first, wide[2].data().data(), 4);
    EXPECT_EQ(first, 0x80402000u);
    EXPECT_EQ(reply("GetPicture", g_variant_new("(ssd)", "cpu", "wide", 2.0))[1].integerValue(),
              44);
    EXPECT_EQ(reply("GetPicture", g_variant_new("(ssd)", "cpu", "compact", 1.0))[0].integerValue(),
              22);

    const Value rows = reply("GetDropdown", g_variant_new("(s)", "cpu"))[0];
    ASSERT_EQ(rows.arrayItems().size(), 6u);
    EXPECT_EQ(rows[0]["type"].string(), "header");
    EXPECT_EQ(rows[2]["type"].string(), "separator");
    EXPECT_EQ(rows[3]["action"].string(), kOpenSettingsAction);
    EXPECT_EQ(rows[5]["pixels"].data().size(), 4u * 2 * 4);

    EXPECT_EQ(call("GetPicture", g_variant_new("(ssd)", "gpu", "wide", 1.0)).error,
              "org.freedesktop.DBus.Error.InvalidArgs");
}

TEST_F(PanelServiceTest, ActivateRunsOnlyActionsTheItemOffers) {
    service->show({sampleItem("cpu")});
    EXPECT_TRUE(call("Activate", g_variant_new("(ss)", "cpu", kQuitAction)).error.empty());
    EXPECT_TRUE(call("Activate", g_variant_new("(ss)", "cpu", kOpenSettingsAction)).error.empty());
    EXPECT_FALSE(call("Activate", g_variant_new("(ss)", "cpu", "format-disk")).error.empty());
    EXPECT_FALSE(call("Activate", g_variant_new("(ss)", "gpu", kQuitAction)).error.empty());
    EXPECT_EQ(actions, (std::vector<std::string>{"cpu quit", "cpu open-settings"}));
}

TEST_F(PanelServiceTest, FrontEndsSetTheStyleAndTheProgramHearsIt) {
    LogCapture log;
    GVariant* style = g_variant_new_parsed(
        "{'height': <int32 32>, 'scale': <2.0>, 'foreground': <'#ffffff'>, 'dark': <true>}");
    EXPECT_TRUE(call("SetStyle", g_variant_new_tuple(&style, 1)).error.empty());
    GVariant* same = g_variant_new_parsed("{'height': <uint32 32>}");
    call("SetStyle", g_variant_new_tuple(&same, 1)); // no change: not told again
    GVariant* bad = g_variant_new_parsed("{'foreground': <'white'>, 'scale': <-1.0>}");
    call("SetStyle", g_variant_new_tuple(&bad, 1));
    ASSERT_EQ(styles.size(), 1u);
    EXPECT_EQ(styles[0], (PanelStyle{32, 2.0, Color::white(), true}));
    EXPECT_EQ(service->style(), styles[0]);
    EXPECT_TRUE(log.contains("\"white\" is not #rrggbb"));
    const VariantRef shown = test::propertyOf(client.get(), name, PanelService::kObjectPath,
                                              PanelService::kInterface, "Style");
    ASSERT_TRUE(shown);
    EXPECT_EQ(fromGVariant(shown.get())["foreground"].string(), "#ffffffff");
}

TEST(StatusItemService, AnswersTheSettingsApplication) {
    const auto program = test::privateSessionConnection();
    const auto client = test::privateSessionConnection();
    if (!program || !client)
        GTEST_SKIP() << "no session bus";
    std::function<void()> finishDeleting;
    StatusItemService service(
        program.get(),
        {nullptr, [&](std::function<void()> done) { finishDeleting = done; }, nullptr});
    const std::string name = g_dbus_connection_get_unique_name(program.get());
    const auto call = [&](const char* method) {
        return test::callAndWait(client.get(), name, "/com/halvorn/corvanebarstatus",
                                 "com.halvorn.corvanebarstatus", method);
    };
    ASSERT_TRUE(test::runMainContextUntil([&] { return service.ownsName(); }, 2.0));

    LogCapture log;
    EXPECT_TRUE(call("requestCalendarAccess").error.empty());
    EXPECT_TRUE(log.contains("no calendar"));
    EXPECT_EQ(call("Restart").error, "org.freedesktop.DBus.Error.NotSupported");

    // The reply to deleteDatabase waits for the deletion.
    bool answered = false;
    g_dbus_connection_call(
        client.get(), name.c_str(), "/com/halvorn/corvanebarstatus", "com.halvorn.corvanebarstatus",
        "deleteDatabase", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, 2000, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer done) {
            const VariantRef reply(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
            *static_cast<bool*>(done) = static_cast<bool>(reply);
        },
        &answered);
    ASSERT_TRUE(test::runMainContextUntil([&] { return static_cast<bool>(finishDeleting); }, 2.0));
    test::runMainContextFor(0.05);
    EXPECT_FALSE(answered);
    finishDeleting();
    EXPECT_TRUE(test::runMainContextUntil([&] { return answered; }, 2.0));
}

} // namespace
} // namespace corvane
