// The settings window on a real X server: one application for the whole program, the tests
// running inside its main loop as a user's clicks and key presses would. It starts its own X
// server; CTest gives it a bus with dbus-run-session. Its settings are in a directory of its own.
#include "drawing/Image.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/GLibHandles.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceDomain.h"
#include "shell/SectionCommands.h"
#include "shell/SectionController.h"
#include "shell/SectionManager.h"
#include "support/MainContext.h"
#include "support/TemporaryDirectory.h"
#include "support/XvfbServer.h"
#include "window/MainWindow.h"
#include "window/PreviewArea.h"
#include "window/WindowApplication.h"
#include "window/WindowPage.h"

#include <adwaita.h>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <memory>
#include <set>
#include <vector>

namespace corvane::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The application the tests drive, and the page it showed first.
struct Session {
    WindowApplication* application = nullptr;
    std::string firstPage;
};

Session& session() {
    static Session instance;
    return instance;
}

std::string pageShown() {
    MainWindow* window = session().application->mainWindow();
    WindowPage* page = window ? window->currentPage() : nullptr;
    return page ? page->name() : std::string();
}

// Shows a section's page and waits until it is on screen and drawn.
void showSection(const std::string& name, const std::string& page) {
    session().application->showSection(name);
    ASSERT_TRUE(runMainContextUntil([&] { return pageShown() == page; })) << name;
    Gtk::Widget& widget = session().application->mainWindow()->currentPage()->widget();
    ASSERT_TRUE(runMainContextUntil([&] { return widget.get_mapped() && widget.get_width() > 0; }))
        << name;
    runMainContextFor(0.05); // the first frame of the page
}

// Every widget under `root`, `root` first.
std::vector<Gtk::Widget*> widgetsUnder(Gtk::Widget& root) {
    std::vector<Gtk::Widget*> all{&root};
    for (std::size_t i = 0; i < all.size(); ++i)
        for (Gtk::Widget* child = all[i]->get_first_child(); child;
             child = child->get_next_sibling())
            all.push_back(child);
    return all;
}

// What Tab can stop at: shown, enabled, focusable, in a part of the tree that takes focus.
bool takesFocus(Gtk::Widget& widget) {
    if (!widget.get_mapped() || !widget.get_focusable() || !widget.is_sensitive())
        return false;
    for (Gtk::Widget* w = &widget; w; w = w->get_parent())
        if (!w->get_can_focus())
            return false;
    return true;
}

// The controls under `root`: what takes the focus and holds nothing else that does (a row
// holding a switch is not one, the switch is).
std::vector<Gtk::Widget*> controlsUnder(Gtk::Widget& root) {
    std::vector<Gtk::Widget*> focusable;
    for (Gtk::Widget* widget : widgetsUnder(root)) {
        if (takesFocus(*widget))
            focusable.push_back(widget);
    }
    std::vector<Gtk::Widget*> controls;
    for (Gtk::Widget* widget : focusable) {
        if (std::none_of(focusable.begin(), focusable.end(),
                         [&](Gtk::Widget* other) { return other->is_ancestor(*widget); }))
            controls.push_back(widget);
    }
    return controls;
}

// What a screen reader says for the widget: a label, a labelling widget, or a button's text.
bool hasAccessibleName(Gtk::Widget& widget) {
    auto* accessible = GTK_ACCESSIBLE(widget.gobj());
    if (gtk_test_accessible_has_property(accessible, GTK_ACCESSIBLE_PROPERTY_LABEL) ||
        gtk_test_accessible_has_relation(accessible, GTK_ACCESSIBLE_RELATION_LABELLED_BY))
        return true;
    auto* button = dynamic_cast<Gtk::Button*>(&widget);
    return button && !button->get_label().empty();
}

// The widgets whose inner button takes the focus for them, and whose name is that button's.
bool isCompositeControl(Gtk::Widget& widget) {
    return dynamic_cast<Gtk::DropDown*>(&widget) || dynamic_cast<Gtk::ColorButton*>(&widget) ||
           dynamic_cast<Gtk::MenuButton*>(&widget);
}

bool isNamed(Gtk::Widget& control) {
    if (hasAccessibleName(control))
        return true;
    Gtk::Widget* parent = control.get_parent();
    return parent && isCompositeControl(*parent) && hasAccessibleName(*parent);
}

bool accessibleLabelIs(Gtk::Widget& widget, const std::string& label) {
    char* problem = gtk_test_accessible_check_property(
        GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, label.c_str());
    g_free(problem);
    return problem == nullptr;
}

// The widgets that have the focus as Tab, then Shift+Tab, is pressed again and again.
std::set<Gtk::Widget*> focusedByTab(Gtk::Window& window, std::size_t stops) {
    std::set<Gtk::Widget*> focused;
    for (const auto direction : {GTK_DIR_TAB_FORWARD, GTK_DIR_TAB_BACKWARD}) {
        for (std::size_t press = 0; press < stops; ++press) {
            g_signal_emit_by_name(window.gobj(), "move-focus", direction);
            if (Gtk::Widget* widget = window.get_focus())
                focused.insert(widget);
        }
    }
    return focused;
}

// The environment of the commands the tests start: this one's, without the sanitizer options
// that only the window's own leak check needs.
GStrv commandEnvironment() {
    return g_environ_unsetenv(g_get_environ(), "ASAN_OPTIONS");
}

// Starts `corvanebar ARGS...`; `exited` is set to the time it ends.
::testing::AssertionResult startCommand(std::vector<const char*> arguments,
                                        std::optional<Clock::time_point>& exited) {
    arguments.insert(arguments.begin(), CVB_CORVANEBAR_PROGRAM);
    arguments.push_back(nullptr);
    GStrv environment = commandEnvironment();
    GPid child = 0;
    GError* error = nullptr;
    const bool started = g_spawn_async(
        nullptr, const_cast<gchar**>(arguments.data()), environment,
        static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDOUT_TO_DEV_NULL), nullptr,
        nullptr, &child, &error);
    g_strfreev(environment);
    if (!started) {
        const std::string why = error->message;
        g_error_free(error);
        return ::testing::AssertionFailure() << why;
    }
    g_child_watch_add(
        child,
        [](GPid pid, gint, gpointer data) {
            *static_cast<std::optional<Clock::time_point>*>(data) = Clock::now();
            g_spawn_close_pid(pid);
        },
        &exited);
    return ::testing::AssertionSuccess();
}

// Runs `corvanebar ARGS...` to its end, the window going on meanwhile.
::testing::AssertionResult runCommand(std::vector<const char*> arguments) {
    std::optional<Clock::time_point> exited;
    if (auto started = startCommand(std::move(arguments), exited); !started)
        return started;
    if (!runMainContextUntil([&] { return exited.has_value(); }, 30))
        return ::testing::AssertionFailure() << "the command did not end";
    return ::testing::AssertionSuccess();
}

// The widget as it is on screen: premultiplied ARGB rows, as Cairo keeps its pictures.
std::vector<guchar> pixelsOf(Gtk::Widget& widget) {
    const int width = widget.get_width();
    const int height = widget.get_height();
    GdkPaintable* paintable = gtk_widget_paintable_new(widget.gobj());
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    std::vector<guchar> pixels(static_cast<std::size_t>(4 * width * height));
    if (node) {
        const graphene_rect_t viewport =
            GRAPHENE_RECT_INIT(0, 0, static_cast<float>(width), static_cast<float>(height));
        GdkTexture* texture = gsk_renderer_render_texture(
            gtk_native_get_renderer(widget.get_native()->gobj()), node, &viewport);
        gdk_texture_download(texture, pixels.data(), static_cast<gsize>(4 * width));
        g_object_unref(texture);
        gsk_render_node_unref(node);
    }
    g_object_unref(paintable);
    return pixels;
}

class WindowDisplayTest : public ::testing::Test {
protected:
    MainWindow& window() { return *session().application->mainWindow(); }
    WindowPage& page() { return *window().currentPage(); }
};

TEST_F(WindowDisplayTest, OpensAtTheAskedSection) {
    EXPECT_EQ(session().firstPage, "CPU");
    EXPECT_TRUE(window().is_visible());
}

// Each section's entry shows an icon of the desktop's theme, not the sign of a missing one.
TEST_F(WindowDisplayTest, SourceListIconsAreInTheTheme) {
    auto theme = Gtk::IconTheme::get_for_display(window().get_display());
    int icons = 0;
    for (Gtk::Widget* widget : widgetsUnder(window().sourceList().widget())) {
        auto* image = dynamic_cast<Gtk::Image*>(widget);
        if (!image || !image->get_visible())
            continue;
        ++icons;
        ASSERT_EQ(image->get_storage_type(), Gtk::Image::Type::ICON_NAME);
        const std::string name = image->get_icon_name();
        EXPECT_TRUE(theme->has_icon(name) && name.rfind("image-missing", 0) != 0) << name;
    }
    EXPECT_GE(icons, static_cast<int>(SectionManager::sharedSectionManager().sections().size()));
}

// `corvanebar open` posts on the bus; the window answers by showing that page.
TEST_F(WindowDisplayTest, OpenCommandSwitchesThePage) {
    showSection("cpu", "CPU");
    std::optional<Clock::time_point> exited;
    ASSERT_TRUE(startCommand({"open", "memory"}, exited));
    ASSERT_TRUE(runMainContextUntil([&] { return exited.has_value(); }, 30));
    ASSERT_TRUE(runMainContextUntil([] { return pageShown() == "Memory"; }, 1));
    EXPECT_LE(Clock::now() - *exited, milliseconds(200));
}

// Another process on the bus, counting the posts of one notification.
class BusListener {
public:
    explicit BusListener(const std::string& notification) {
        connection_ = privateSessionConnection();
        center_ = std::make_unique<DistributedNotificationCenter>(connection_.get());
        observation_ = center_->addObserver(notification, [this](const Notification&) { ++heard; });
    }
    int heard = 0;

private:
    GObjectRef<GDBusConnection> connection_;
    std::unique_ptr<DistributedNotificationCenter> center_;
    Observation observation_;
};

Value storedValue(const char* key) {
    const auto file = PreferenceDomain::named(kExtrasDomain)->file();
    return PreferenceDomain(kExtrasDomain, file).copyValue(key);
}

template <typename Control>
Control* namedUnder(Gtk::Widget& root, const std::string& label) {
    for (Gtk::Widget* widget : widgetsUnder(root))
        if (auto* control = dynamic_cast<Control*>(widget);
            control && accessibleLabelIs(*control, label))
            return control;
    return nullptr;
}

// The widget of the page's row for `key`, found by the name a screen reader says.
template <typename Control>
Control* controlForKey(WindowPage& page, const char* key) {
    const BoundRow* row = page.controls().rowForKey(key);
    return row ? namedUnder<Control>(page.widget(), row->description.title) : nullptr;
}

// The user's click is stored in the settings file, and every process hears of it.
TEST_F(WindowDisplayTest, AToggledSwitchWritesItsKeyAndTellsTheBus) {
    showSection("cpu", "CPU");
    const char* key = "CPU_MenubarGraphBreakdowns";
    auto* toggle = controlForKey<Gtk::Switch>(page(), key);
    ASSERT_NE(toggle, nullptr);
    BusListener bus("CorvaneBarCPUPreferencesChanged");

    const bool before = toggle->get_active();
    toggle->activate();
    // The switch moves at the end of its animation.
    EXPECT_TRUE(runMainContextUntil([&] { return toggle->get_active() != before; }));
    EXPECT_EQ(storedValue(key).boolValue(), !before);
    EXPECT_TRUE(runMainContextUntil([&] { return bus.heard == 1; }));
}

// The row of the page titled `title`, or null.
Gtk::Widget* rowTitled(Gtk::Widget& root, const std::string& title) {
    for (Gtk::Widget* widget : widgetsUnder(root))
        if (ADW_IS_PREFERENCES_ROW(widget->gobj()) &&
            title == adw_preferences_row_get_title(ADW_PREFERENCES_ROW(widget->gobj())))
            return widget;
    return nullptr;
}

// World clocks changed by the command line show on the open page, and a name given on the page
// is stored where the command line and the dropdown read it.
TEST_F(WindowDisplayTest, TheTimePageFollowsTheClocksCommandAndRenames) {
    showSection("time", "Time");
    const char* london = "6471135418507388";
    ASSERT_NE(rowTitled(page().widget(), "Paris"), nullptr);
    ASSERT_TRUE(runCommand({"clocks", "rename", london, "Office"}));
    EXPECT_TRUE(runMainContextUntil([&] { return rowTitled(page().widget(), "Office"); }));
    ASSERT_TRUE(runCommand({"clocks", "remove", "3966007305494433"}));
    EXPECT_TRUE(runMainContextUntil([&] { return !rowTitled(page().widget(), "Paris"); }));

    Gtk::Widget* row = rowTitled(page().widget(), "Office");
    ASSERT_NE(row, nullptr);
    auto* name = namedUnder<Gtk::Entry>(*row, "Name shown");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(std::string(name->get_text()), "Office");
    // As a user does: open the popover, type, press Enter.
    auto* rename = namedUnder<Gtk::MenuButton>(*row, "Rename");
    ASSERT_NE(rename, nullptr);
    rename->popup();
    name->set_text("Home");
    g_signal_emit_by_name(name->gobj(), "activate");
    EXPECT_TRUE(runMainContextUntil([&] { return rowTitled(page().widget(), "Home"); }));
    const Value names = storedValue("Time_CityNames");
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0]["identifier"].stringValue(), london);
    EXPECT_EQ(names[0]["name"].stringValue(), "Home");
}

// Turning personal weather stations off elsewhere, as the application menu or the command line
// does, hides their row on the open page; turning them on shows it again.
TEST_F(WindowDisplayTest, TheStationRowFollowsTheStationsSwitch) {
    showSection("weather", "Weather");
    Gtk::Widget* station = rowTitled(page().widget(), "Station ID");
    ASSERT_NE(station, nullptr);
    EXPECT_TRUE(station->get_mapped());
    ASSERT_TRUE(runCommand({"prefs", "set", "Weather_PWSDisabled", "true"}));
    EXPECT_TRUE(runMainContextUntil([&] { return !station->get_mapped(); }));
    ASSERT_TRUE(runCommand({"prefs", "remove", "Weather_PWSDisabled"}));
    EXPECT_TRUE(runMainContextUntil([&] { return station->get_mapped(); }));
}

// A drag moves a slider through many values; only the one it rests on is stored and posted.
TEST_F(WindowDisplayTest, ASliderWritesOnceWhenItRests) {
    showSection("general", "General");
    const char* key = "MenubarGraphOpacity-Modern";
    auto* slider = controlForKey<Gtk::Scale>(page(), key);
    ASSERT_NE(slider, nullptr);
    BusListener bus("CorvaneBarGlobalDisplayChange");
    const Value before = storedValue(key);

    for (const double value : {0.2, 0.3, 0.4, 0.45})
        slider->set_value(value);
    EXPECT_EQ(storedValue(key), before);
    ASSERT_TRUE(runMainContextUntil([&] { return bus.heard > 0; }));
    runMainContextFor(2 * ControlWidget::kSliderSettleMilliseconds / 1000.0);
    EXPECT_EQ(bus.heard, 1);
    EXPECT_DOUBLE_EQ(storedValue(key).doubleValue(), 0.45);
}

// The preview is the panel's item: what the window shows on a light panel is, pixel for pixel,
// what `corvanebar render` draws from the same settings and readings.
TEST_F(WindowDisplayTest, CpuPreviewMatchesTheRenderCommand) {
    showSection("cpu", "CPU");
    PreviewArea* preview = page().preview();
    ASSERT_NE(preview, nullptr);
    TemporaryDirectory dir;
    const std::string out = (dir / "cpu.png").string();
    ASSERT_TRUE(runCommand(
        {"render", "cpu", "--background", "--scale", "1", "--seconds", "1", "--out", out.c_str()}));
    const auto rendered = Image::readPng(out);
    ASSERT_TRUE(rendered);

    ASSERT_EQ(preview->get_scale_factor(), 1);
    const int width = preview->get_width();
    const int height = preview->get_height();
    const auto shown = pixelsOf(*preview);
    const int stride = 4 * width;

    // The light picture sits at the left edge, below the padding.
    const int top = PreviewArea::kPadding;
    ASSERT_GE(width, rendered->pixelWidth());
    ASSERT_GE(height, top + rendered->pixelHeight());
    cairo_surface_t* expected = rendered->cairoSurface();
    cairo_surface_flush(expected);
    const unsigned char* pixels = cairo_image_surface_get_data(expected);
    const int expectedStride = cairo_image_surface_get_stride(expected);
    int different = 0;
    for (int y = 0; y < rendered->pixelHeight(); ++y) {
        const auto* want = pixels + y * expectedStride;
        const auto* got = shown.data() + (y + top) * stride;
        different +=
            std::memcmp(want, got, static_cast<std::size_t>(4 * rendered->pixelWidth())) ? 1 : 0;
    }
    EXPECT_EQ(different, 0) << "rows differ of " << rendered->pixelHeight();
}

// Keyboard users reach every control with Tab and Shift+Tab, and a screen reader names each,
// on every page.
TEST_F(WindowDisplayTest, EveryControlIsNamedAndReachableWithTab) {
    for (const auto* section : SectionManager::sharedSectionManager().sections()) {
        const std::string name = SectionCommands::shortName(*section);
        showSection(name, section->xibName());
        // The source list is one stop: its other rows are chosen with the arrows.
        Gtk::ListBox& list = window().sourceList().widget();
        Gtk::ListBoxRow* selected = list.get_selected_row();
        ASSERT_NE(selected, nullptr) << name;
        std::vector<Gtk::Widget*> controls;
        for (Gtk::Widget* control : controlsUnder(window())) {
            if (!control->is_ancestor(list) || control->is_ancestor(*selected))
                controls.push_back(control);
        }
        const auto reached = focusedByTab(window(), 2 * controls.size() + 4);
        for (Gtk::Widget* control : controls) {
            const std::string what = std::string(G_OBJECT_TYPE_NAME(control->gobj())) + " \"" +
                                     control->get_tooltip_text() + "\" on " + name;
            EXPECT_TRUE(reached.count(control)) << what << " cannot be reached with Tab";
            EXPECT_TRUE(isNamed(*control)) << what << " has no accessible name";
        }
    }
}

} // namespace
} // namespace corvane::test

int main(int argc, char** argv) {
    using namespace corvane;
    ::testing::InitGoogleTest(&argc, argv);
    test::XvfbServer server;
    if (server.display().empty()) {
        std::cerr << "window_display_tests: Xvfb did not start\n";
        return 1;
    }
    setenv("DISPLAY", server.display().c_str(), 1);
    // Settings, state and readings of the test's own; the commands it starts inherit them.
    test::TemporaryDirectory home;
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        setenv(name, (home.path() / name).c_str(), 1);
    setenv("CORVANEBAR_SYSROOT", CVB_FIXTURES_DIR "/sysroot/ht-4c8t", 1);
    CVBPreferences::installOnFirstUse(&CVBPreferences::systemEnvironment);

    auto application = WindowApplication::create({"cpu", "light", {}, {}});
    test::session().application = application.get();
    int status = 1;
    application->signal_activate().connect(
        [&] {
            Glib::signal_idle().connect_once([&] {
                test::session().firstPage = test::pageShown();
                status = RUN_ALL_TESTS();
                application->quit();
            });
        },
        true);
    if (application->runOrForward() != 0)
        return 1;
    test::session().application = nullptr;
    CVBPreferences::cleanup();
    return status;
}
