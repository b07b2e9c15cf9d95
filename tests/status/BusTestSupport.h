#pragma once

#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "status/PanelItem.h"
#include "status/StatusNotifierItem.h"
#include "support/FakeDBusService.h"
#include "support/MainContext.h"

#include <string>
#include <vector>

namespace corvane::test {

// The tray's watcher, as far as the items ask it.
inline constexpr const char* kWatcherXml = R"xml(<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  </interface>
</node>)xml";

// Whether `text` was logged exactly once: a fault that lasts is said when it starts.
inline bool saidOnce(const LogCapture& log, const std::string& text) {
    const std::string lines = log.lines();
    const auto first = lines.find(text);
    return first != std::string::npos && first == lines.rfind(text);
}

// A call answered by code that runs on this thread's main context, so it cannot block.
struct CallResult {
    VariantRef reply;
    std::string error; // the D-Bus error name, when it failed
};

inline CallResult callAndWait(GDBusConnection* client, const std::string& destination,
                              const std::string& path, const char* interface, const char* method,
                              GVariant* parameters = nullptr) {
    struct State {
        bool done = false;
        CallResult result;
    } state;
    g_dbus_connection_call(
        client, destination.c_str(), path.c_str(), interface, method, parameters, nullptr,
        G_DBUS_CALL_FLAGS_NONE, 2000, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto& s = *static_cast<State*>(data);
            GError* error = nullptr;
            s.result.reply = VariantRef(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
            if (error) {
                gchar* remote = g_dbus_error_get_remote_error(error);
                s.result.error = remote ? remote : error->message;
                g_free(remote);
                g_error_free(error);
            }
            s.done = true;
        },
        &state);
    runMainContextUntil([&] { return state.done; }, 3.0);
    return std::move(state.result);
}

inline VariantRef propertyOf(GDBusConnection* client, const std::string& destination,
                             const std::string& path, const char* interface, const char* name) {
    CallResult result = callAndWait(client, destination, path, "org.freedesktop.DBus.Properties",
                                    "Get", g_variant_new("(ss)", interface, name));
    if (!result.reply)
        return {};
    const VariantRef boxed(g_variant_get_child_value(result.reply.get(), 0));
    return VariantRef(g_variant_get_variant(boxed.get()));
}

inline bool nameHasOwner(GDBusConnection* client, const std::string& name) {
    CallResult result =
        callAndWait(client, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "NameHasOwner", g_variant_new("(s)", name.c_str()));
    gboolean owned = FALSE;
    if (result.reply)
        g_variant_get(result.reply.get(), "(b)", &owned);
    return owned;
}

// A tray item's properties, as a tray host reads them.
inline Value itemProperties(GDBusConnection* client, const std::string& name) {
    const CallResult all =
        callAndWait(client, name, StatusNotifierItem::kItemPath, "org.freedesktop.DBus.Properties",
                    "GetAll", g_variant_new("(s)", StatusNotifierItem::kInterface));
    return all.reply ? fromGVariant(all.reply.get())[0] : Value();
}

inline CallResult menuCall(GDBusConnection* client, const std::string& name, const char* method,
                           GVariant* parameters) {
    return callAndWait(client, name, StatusNotifierItem::kMenuPath, DBusMenuExporter::kInterface,
                       method, parameters);
}

inline CallResult menuEvent(GDBusConnection* client, const std::string& name, std::int64_t id,
                            const char* event = "clicked") {
    return menuCall(
        client, name, "Event",
        g_variant_new("(isvu)", static_cast<gint32>(id), event, g_variant_new_int32(0), 0u));
}

// Counts one signal from one sender on the client connection.
class SignalCounter {
public:
    SignalCounter(GDBusConnection* client, const std::string& sender, const char* interface,
                  const char* signal) {
        id_ = subscribeSignal(
            client, {sender.c_str(), interface, signal}, [this](const char*, GVariant* parameters) {
                arguments.push_back(takeGString(g_variant_print(parameters, FALSE)));
            });
        // The bus handles a connection's messages in order: once this is answered, the match
        // rule is in place for whatever is sent next.
        callAndWait(client, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "GetId");
    }
    // The handler holds this counter, so it stays where it was made.
    SignalCounter(const SignalCounter&) = delete;
    SignalCounter& operator=(const SignalCounter&) = delete;
    int count() const { return static_cast<int>(arguments.size()); }
    std::vector<std::string> arguments;

private:
    ConnectionId id_;
};

// A picture whose every pixel is `pixel`.
inline PanelPicture filledPicture(int width, int height, std::uint32_t pixel) {
    return {width, height,
            std::vector<std::uint32_t>(static_cast<std::size_t>(width * height), pixel)};
}

inline PanelItem sampleItem(const std::string& id, std::uint32_t pixel = 0xff336699) {
    PanelItem item;
    item.id = id;
    item.title = id == "cpu" ? "CPU" : "Memory";
    item.accessibleDescription = item.title + " usage";
    item.label = "12%";
    item.labelGuide = "100%";
    item.tooltip = item.title + ": 12%";
    item.picture = filledPicture(30, 22, pixel);
    item.compact = filledPicture(22, 22, 0xff000000);
    item.dropdown.rows = {DropdownRow::header("Processor"),
                          DropdownRow::textRow("User_1: 8%"),
                          DropdownRow::separator(),
                          DropdownRow::actionRow("Open Corvane Bar Settings…", kOpenSettingsAction),
                          DropdownRow::actionRow("Quit Corvane Bar", kQuitAction),
                          DropdownRow::pictureRow(filledPicture(4, 2, 0xff00ff00))};
    return item;
}

} // namespace corvane::test
