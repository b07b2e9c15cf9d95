#pragma once

#include "drawing/Artwork.h"
#include "drawing/Image.h"
#include "shell/LayoutEditorModel.h"
#include "shell/SectionItems.h"

#include <gtkmm.h>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// The layout editor of a section's panel item: the elements it shows and those available, each
// a tile with its own picture, drawn by the section's view alone (or its title where the view
// draws nothing here), dragged within and between the rows. Dropping a shown element anywhere
// but on its row takes it out. Every tile takes the keyboard focus, and activating one opens a
// menu of what can be done with it, so no mouse is needed.
class LayoutEditor : public Gtk::Box {
public:
    enum class Row { Active, Available };

    // The text a tile's drag carries: "active:INDEX" or "available:CODE".
    static std::string dragText(Row row, std::int64_t value);

    // The model must outlive the editor.
    explicit LayoutEditor(LayoutEditorModel& model);
    ~LayoutEditor() override;

    // What a drop of a drag's text on a row does, `x` counted from the row's left edge; false
    // when the text means nothing there.
    bool drop(Row row, const std::string& text, double x);
    Gtk::DropTarget& dropTarget(Row row) {
        return *(row == Row::Active ? activeDrop_ : availableDrop_);
    }
    // The tiles of a row, in order.
    std::vector<Gtk::Widget*> tiles(Row row) const;

private:
    Gtk::ScrolledWindow& addRow(const std::string& title, Gtk::Box& row);
    void rebuild();
    void rebuildSoon();
    Gtk::Widget& makeTile(const ExtraLayoutItem& item, Row row, std::size_t index);
    Gtk::Widget& makeFace(const ExtraLayoutItem& item);
    void addDragSource(Gtk::Widget& tile, Row row, std::size_t index, std::int64_t code);
    Glib::RefPtr<Gtk::DropTarget> makeDropTarget(Row row, Gtk::Widget& area);
    Gtk::Popover& makeMenu(Row row, std::size_t index, const ExtraLayoutItem& item);
    // The slot among the active tiles before which `x` lies.
    std::size_t slotAt(double x) const;
    // The element alone, as the panel draws it; nothing when the view draws nothing for it.
    std::optional<Image> picture(const ExtraLayoutItem& item, double scale);
    // Runs a change and keeps the focus on the tile the keyboard user was on.
    void act(const LayoutEditorModel::Result& result, Row row, std::size_t focus);

    LayoutEditorModel& model_;
    CVBCache artwork_;
    std::optional<SectionItem> item_;
    Gtk::Box active_{Gtk::Orientation::HORIZONTAL, 6};
    Gtk::Box available_{Gtk::Orientation::HORIZONTAL, 6};
    Gtk::ScrolledWindow* activeArea_ = nullptr;
    Gtk::ScrolledWindow* availableArea_ = nullptr;
    Glib::RefPtr<Gtk::DropTarget> activeDrop_;
    Glib::RefPtr<Gtk::DropTarget> availableDrop_;
    std::vector<Gtk::DrawingArea*> previews_;
    sigc::connection pendingRebuild_;
    sigc::connection redraw_;
    std::optional<std::pair<Row, std::size_t>> focusAfterRebuild_;
};

} // namespace corvane
