#include "WaybarCommand.h"

#include "CommandLine.h"
#include "foundation/GLibHandles.h"

#include <glib-unix.h>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace {

constexpr const char* kStatusBusName = "com.halvorn.corvanebarstatus";
constexpr const char* kPanelPath = "/com/halvorn/corvanebar/Panel1";
constexpr const char* kPanelInterface = "com.halvorn.corvanebar.Panel1";

std::string markup(const std::string& text) {
    return corvane::takeGString(g_markup_escape_text(text.c_str(), -1));
}

std::string stringIn(GVariant* dictionary, const char* key) {
    const corvane::VariantRef value(g_variant_lookup_value(dictionary, key, G_VARIANT_TYPE_STRING));
    return value ? g_variant_get_string(value.get(), nullptr) : "";
}

// Waybar reads "text" and "tooltip" as Pango markup, so a process called "<b>" is escaped.
std::string lineFor(const std::string& item, GVariant* details, const std::string& error) {
    nlohmann::json line;
    if (details) {
        line["text"] = markup(stringIn(details, "label"));
        line["tooltip"] = markup(stringIn(details, "tooltip"));
        line["class"] = item;
        const corvane::VariantRef percentage(
            g_variant_lookup_value(details, "percentage", G_VARIANT_TYPE_INT64));
        if (percentage)
            line["percentage"] = g_variant_get_int64(percentage.get());
    } else if (error == "org.freedesktop.DBus.Error.InvalidArgs") {
        // Switched off: an empty text hides the module.
        line["text"] = "";
        line["tooltip"] = "";
        line["class"] = "off";
    } else {
        line["text"] = "–";
        line["tooltip"] = "Corvane Bar is not running (systemctl --user start corvanebar-status)";
        line["class"] = "offline";
    }
    return corvane::cli::escapeC1Controls(
        line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

// Asks for the item once a second and writes a line when the answer changed.
class WaybarFeed {
public:
    WaybarFeed(GDBusConnection* bus, const WaybarOptions& options, GMainLoop* loop)
        : bus_(bus)
        , item_(options.item)
        , once_(options.once)
        , loop_(loop) {}

    void start() {
        ask();
        timer_ = g_timeout_add_seconds(1, tick, this);
    }
    ~WaybarFeed() {
        if (timer_)
            g_source_remove(timer_);
    }
    WaybarFeed(const WaybarFeed&) = delete;
    WaybarFeed& operator=(const WaybarFeed&) = delete;

    bool outputFailed() const { return outputFailed_; }

private:
    static gboolean tick(gpointer self) {
        static_cast<WaybarFeed*>(self)->ask();
        return G_SOURCE_CONTINUE;
    }

    void ask() {
        // A program that is slow to answer gets no second question on top.
        if (asking_)
            return;
        asking_ = true;
        g_dbus_connection_call(bus_, kStatusBusName, kPanelPath, kPanelInterface, "GetItem",
                               g_variant_new("(s)", item_.c_str()), G_VARIANT_TYPE("(a{sv})"),
                               G_DBUS_CALL_FLAGS_NO_AUTO_START, 2000, cancel_.get(), answered,
                               this);
    }

    static void answered(GObject* source, GAsyncResult* result, gpointer self) {
        GError* error = nullptr;
        const corvane::VariantRef reply(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
            g_error_free(error);
            return;
        }
        std::string name;
        if (error) {
            name = corvane::takeGString(g_dbus_error_get_remote_error(error));
            g_error_free(error);
        }
        const corvane::VariantRef details(reply ? g_variant_get_child_value(reply.get(), 0)
                                                : nullptr);
        static_cast<WaybarFeed*>(self)->show(
            lineFor(static_cast<WaybarFeed*>(self)->item_, details.get(), name));
    }

    void show(const std::string& line) {
        asking_ = false;
        if (line != last_) {
            last_ = line;
            std::cout << line << "\n";
            // Waybar reads line by line; a reader that left ends the feed.
            if (!corvane::cli::outputReached(std::cout)) {
                outputFailed_ = true;
                g_main_loop_quit(loop_);
            }
        }
        if (once_)
            g_main_loop_quit(loop_);
    }

    GDBusConnection* bus_;
    std::string item_;
    bool once_;
    GMainLoop* loop_;
    corvane::CancelOnExit cancel_;
    guint timer_ = 0;
    bool asking_ = false;
    bool outputFailed_ = false;
    std::string last_;
};

using MainLoop = std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)>;

gboolean quitLoop(gpointer loop) {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
}

} // namespace

void addWaybarCommand(CLI::App& app, WaybarOptions& o) {
    o.command = app.add_subcommand(
        "waybar", "Print an item's value as Waybar's JSON lines for a custom module, as it "
                  "changes");
    o.command
        ->add_option("ITEM", o.item,
                     "cpu, memory, disks, network, sensors, battery, time, weather or combined")
        ->required()
        ->check(CLI::IsMember({"cpu", "memory", "disks", "network", "sensors", "battery", "time",
                               "weather", "combined"}));
    o.command->add_flag("--once", o.once, "Print one line and exit");
}

int runWaybar(const WaybarOptions& o) {
    corvane::GErrorHolder error;
    const auto bus = corvane::GObjectRef<GDBusConnection>::adopt(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, error.out()));
    if (!bus) {
        std::cerr << "corvanebar waybar: no session bus: " << error.message() << "\n";
        return corvane::cli::kFailed;
    }
    const MainLoop loop(g_main_loop_new(nullptr, FALSE), g_main_loop_unref);
    const guint sigint = g_unix_signal_add(SIGINT, quitLoop, loop.get());
    const guint sigterm = g_unix_signal_add(SIGTERM, quitLoop, loop.get());
    WaybarFeed feed(bus.get(), o, loop.get());
    feed.start();
    g_main_loop_run(loop.get());
    g_source_remove(sigint);
    g_source_remove(sigterm);
    return feed.outputFailed() ? corvane::cli::kFailed : 0;
}
