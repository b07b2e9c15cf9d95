#include "window/LayoutEditor.h"

#include "preferences/PreferencesFixture.h"
#include "shell/SectionItems.h"
#include "support/MainContext.h"
#include "support/XvfbServer.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <gtkmm/init.h>

namespace corvane::test {
namespace {

class LayoutEditorTest : public PreferencesFixture {
protected:
    static void SetUpTestSuite() {
        // Quiet and quick, unless the test's runner says otherwise: no accessibility bus, no
        // desktop settings service, no GL (its drivers leave allocations the sanitizer
        // reports; tiles draw with Cairo).
        for (const auto& [name, value] : {std::pair{"GTK_A11Y", "none"},
                                          {"GDK_DEBUG", "gl-disable"},
                                          {"GSK_RENDERER", "cairo"},
                                          {"GSETTINGS_BACKEND", "memory"}})
            setenv(name, value, 0);
        // An X server of the test's own when none is given, stopped when the tests end.
        if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) {
            display_ = new XvfbServer("1024x768x24");
            if (display_->display().empty())
                skipReason_ = "Xvfb did not start";
            else
                setenv("DISPLAY", display_->display().c_str(), 1);
        }
        if (skipReason_.empty() && !gtk_init_check())
            skipReason_ = "GTK cannot open the display";
        if (skipReason_.empty())
            Gtk::init_gtkmm_internals();
    }
    static void TearDownTestSuite() {
        delete display_;
        display_ = nullptr;
    }

    void SetUp() override {
        if (!skipReason_.empty())
            GTEST_SKIP() << skipReason_;
        install();
        model_ = std::make_unique<LayoutEditorModel>("cpu", CVBPreferences::sharedPreferences(),
                                                     distributed_);
        editor_ = std::make_unique<LayoutEditor>(*model_);
        window_ = std::make_unique<Gtk::Window>();
        window_->set_child(*editor_);
        window_->present();
        settle();
    }
    void TearDown() override {
        if (window_)
            window_->destroy();
        window_.reset();
        editor_.reset();
        model_.reset();
        cleanupSectionItems();
        PreferencesFixture::TearDown();
    }

    // Runs the toolkit until it has laid out and drawn what changed; a button pressed from
    // the keyboard shows itself pressed for a quarter of a second before it acts.
    void settle(int rounds = 50) { runMainContextFor(rounds * 0.002); }

    // A drop as the toolkit hands it to the row, with the text a tile's drag carries.
    bool drop(LayoutEditor::Row row, const std::string& carried, double x) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, G_TYPE_STRING);
        g_value_set_string(&value, carried.c_str());
        gboolean taken = FALSE;
        g_signal_emit_by_name(editor_->dropTarget(row).gobj(), "drop", &value, x, 10.0, &taken);
        g_value_unset(&value);
        settle();
        return taken;
    }

    Value stored() { return onDisk("CPU_MenubarMode"); }

    static inline XvfbServer* display_ = nullptr;
    static inline std::string skipReason_;
    DistributedNotificationCenter distributed_{nullptr};
    std::unique_ptr<LayoutEditorModel> model_;
    std::unique_ptr<LayoutEditor> editor_;
    std::unique_ptr<Gtk::Window> window_;
};

TEST_F(LayoutEditorTest, DropsWriteTheModeListAsTheCommandDoes) {
    using Row = LayoutEditor::Row;
    ASSERT_EQ(editor_->tiles(Row::Active).size(), 2u);
    // Each tile draws its element alone; the spacer draws nothing and shows its title.
    const auto available = editor_->tiles(Row::Available);
    const auto face = [](Gtk::Widget* tile) {
        return dynamic_cast<Gtk::MenuButton&>(*tile).get_child();
    };
    auto* history = dynamic_cast<Gtk::DrawingArea*>(face(available.at(0)));
    auto* pie = dynamic_cast<Gtk::DrawingArea*>(face(available.at(3)));
    auto* spacer = dynamic_cast<Gtk::Label*>(face(available.back()));
    ASSERT_TRUE(history && pie && spacer);
    EXPECT_NE(history->get_content_width(), pie->get_content_width());
    EXPECT_EQ(spacer->get_text(), "Spacer, 4 points");

    // The history graph, dropped past the last tile: `corvanebar layout cpu add 0`.
    EXPECT_TRUE(drop(Row::Active, LayoutEditor::dragText(Row::Available, 0), 10000));
    EXPECT_EQ(stored(), modes({100, 6, 0}));
    EXPECT_EQ(editor_->tiles(Row::Active).size(), 3u);

    // Within the row, to the front; then out of it onto the available row.
    EXPECT_TRUE(drop(Row::Active, LayoutEditor::dragText(Row::Active, 2), 0));
    EXPECT_EQ(stored(), modes({0, 100, 6}));
    EXPECT_TRUE(drop(Row::Available, LayoutEditor::dragText(Row::Active, 1), 0));
    EXPECT_EQ(stored(), modes({0, 6}));
    // From the available row to itself, or text of another kind: nothing moves.
    EXPECT_FALSE(drop(Row::Available, LayoutEditor::dragText(Row::Available, 1), 0));
    EXPECT_FALSE(drop(Row::Active, "a file name", 0));
    EXPECT_EQ(stored(), modes({0, 6}));
    EXPECT_EQ(editor_->tiles(Row::Available).size(), 11u);
}

TEST_F(LayoutEditorTest, EachTilesMenuDoesWithoutAMouseWhatADragDoes) {
    using Row = LayoutEditor::Row;
    // The menu of the first shown tile: Remove, Move Left, Move Right.
    auto* tile = dynamic_cast<Gtk::MenuButton*>(editor_->tiles(Row::Active).at(0));
    ASSERT_NE(tile, nullptr);
    auto* list = dynamic_cast<Gtk::Box*>(tile->get_popover()->get_child());
    ASSERT_NE(list, nullptr);
    auto* moveRight =
        dynamic_cast<Gtk::Button*>(list->get_first_child()->get_next_sibling()->get_next_sibling());
    ASSERT_NE(moveRight, nullptr);
    EXPECT_FALSE(list->get_first_child()->get_next_sibling()->get_sensitive()) << "Move Left";
    tile->popup();
    settle();
    moveRight->activate();
    settle(200);
    EXPECT_EQ(stored(), modes({6, 100}));
    // The keyboard stays on the tile it moved.
    Gtk::Widget* focus = window_->get_focus();
    Gtk::Widget* moved = editor_->tiles(Row::Active).at(1);
    ASSERT_NE(focus, nullptr);
    EXPECT_TRUE(focus == moved || focus->is_ancestor(*moved));
}

} // namespace
} // namespace corvane::test
