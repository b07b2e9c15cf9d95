#include "window/LayoutEditor.h"

#include "drawing/DrawingContext.h"
#include "drawing/ItemRenderer.h"
#include "drawing/Surface.h"
#include "foundation/Log.h"
#include "foundation/MainQueue.h"
#include "preferences/CVBPreferences.h"
#include "shell/ApplicationText.h"
#include "text/CVBTranslations.h"

#include <algorithm>
#include <cairo.h>

namespace corvane {

namespace {

constexpr const char* kActivePrefix = "active:";
constexpr const char* kAvailablePrefix = "available:";
constexpr int kRowHeight = 40;
constexpr int kTilePadding = 4;
constexpr unsigned kRedrawSeconds = 2;

std::string text(CVBPreferences& preferences, const std::string& key) {
    return HLVLocalizedString(applicationText(preferences), key, std::nullopt, "layout");
}

// The element's name, and its width where the user sets one, in the window's language.
std::string description(CVBPreferences& preferences, const ExtraLayoutItem& item) {
    return LayoutEditorModel::itemDescription(item, text(preferences, "%@ points"));
}

void setAccessibleName(Gtk::Widget& widget, const std::string& name) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                   name.c_str(), -1);
}

std::optional<std::int64_t> numberAfter(const std::string& text, const char* prefix) {
    const std::string_view head(prefix);
    if (text.compare(0, head.size(), head) != 0)
        return std::nullopt;
    const std::string digits = text.substr(head.size());
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos ||
        digits.size() > 9)
        return std::nullopt;
    return std::stoll(digits);
}

} // namespace

std::string LayoutEditor::dragText(Row row, std::int64_t value) {
    return (row == Row::Active ? kActivePrefix : kAvailablePrefix) + std::to_string(value);
}

LayoutEditor::LayoutEditor(LayoutEditorModel& model)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 6)
    , model_(model) {
    CVBPreferences& preferences = model_.preferences();
    // The tiles draw from the collectors the page's preview reads each second. One reading
    // here gives the per-core elements their cores; more would shorten the interval the
    // preview measures rates over.
    if (MainQueue* queue = preferences.environment().queue; queue && model_.editable()) {
        const EngineContext engine{*queue};
        item_ = makeSectionItem(model_.layout().section, engine,
                                DrawingContext::forHost(preferences, artwork_));
        if (item_)
            item_->sample();
    }
    activeArea_ = &addRow(text(preferences, "Shown in the panel"), active_);
    availableArea_ = &addRow(text(preferences, "Available"), available_);
    activeDrop_ = makeDropTarget(Row::Active, *activeArea_);
    availableDrop_ = makeDropTarget(Row::Available, *availableArea_);
    auto* hint =
        Gtk::make_managed<Gtk::Label>(text(preferences, "Drag elements between the rows, or use "
                                                        "their menus."));
    hint->set_xalign(0);
    hint->set_wrap(true);
    hint->add_css_class("dim-label");
    append(*hint);

    model_.setChangeHandler([this] { rebuildSoon(); });
    rebuild();
    signal_map().connect([this] {
        redraw_ = Glib::signal_timeout().connect_seconds(
            [this] {
                for (auto* preview : previews_)
                    preview->queue_draw();
                return true;
            },
            kRedrawSeconds);
    });
    signal_unmap().connect([this] { redraw_.disconnect(); });
}

LayoutEditor::~LayoutEditor() {
    model_.setChangeHandler({});
    pendingRebuild_.disconnect();
    redraw_.disconnect();
}

Gtk::ScrolledWindow& LayoutEditor::addRow(const std::string& title, Gtk::Box& row) {
    auto* heading = Gtk::make_managed<Gtk::Label>(title);
    heading->set_xalign(0);
    heading->add_css_class("heading");
    append(*heading);
    auto* area = Gtk::make_managed<Gtk::ScrolledWindow>();
    area->set_policy(Gtk::PolicyType::AUTOMATIC, Gtk::PolicyType::NEVER);
    area->set_min_content_height(kRowHeight + 2 * kTilePadding);
    area->add_css_class("card");
    row.set_margin(kTilePadding);
    area->set_child(row);
    setAccessibleName(*area, title);
    append(*area);
    return *area;
}

void LayoutEditor::rebuildSoon() {
    // Not at once: the change may come from a drop whose drag still refers to its tile.
    if (!pendingRebuild_.connected())
        pendingRebuild_ = Glib::signal_idle().connect([this] {
            rebuild();
            return false;
        });
}

void LayoutEditor::rebuild() {
    pendingRebuild_.disconnect();
    previews_.clear();
    for (Gtk::Box* row : {&active_, &available_}) {
        while (Gtk::Widget* child = row->get_first_child())
            row->remove(*child);
    }
    const auto& shown = model_.active().layoutItems();
    for (std::size_t i = 0; i < shown.size(); ++i)
        active_.append(makeTile(shown[i], Row::Active, i));
    const auto& offered = model_.available().layoutItems();
    for (std::size_t i = 0; i < offered.size(); ++i)
        available_.append(makeTile(offered[i], Row::Available, i));
    if (focusAfterRebuild_) {
        const auto [row, index] = *focusAfterRebuild_;
        focusAfterRebuild_.reset();
        const auto row_tiles = tiles(row);
        if (!row_tiles.empty())
            row_tiles[std::min(index, row_tiles.size() - 1)]->grab_focus();
    }
}

std::vector<Gtk::Widget*> LayoutEditor::tiles(Row row) const {
    std::vector<Gtk::Widget*> found;
    const Gtk::Box& box = row == Row::Active ? active_ : available_;
    for (auto* child = const_cast<Gtk::Box&>(box).get_first_child(); child;
         child = child->get_next_sibling())
        found.push_back(child);
    return found;
}

Gtk::Widget& LayoutEditor::makeTile(const ExtraLayoutItem& item, Row row, std::size_t index) {
    auto* tile = Gtk::make_managed<Gtk::MenuButton>();
    tile->set_child(makeFace(item));
    tile->set_popover(makeMenu(row, index, item));
    tile->set_tooltip_text(item.title);
    const std::string where = row == Row::Active ? "%@, in the panel" : "%@, available";
    setAccessibleName(*tile, formattedString(text(model_.preferences(), where),
                                             description(model_.preferences(), item)));
    if (model_.editable())
        addDragSource(*tile, row, index, item.key);
    return *tile;
}

Gtk::Widget& LayoutEditor::makeFace(const ExtraLayoutItem& item) {
    const auto first = picture(item, 1.0);
    if (!first)
        return *Gtk::make_managed<Gtk::Label>(description(model_.preferences(), item));
    auto* area = Gtk::make_managed<Gtk::DrawingArea>();
    area->set_content_width(static_cast<int>(first->size().width));
    area->set_content_height(static_cast<int>(Surface::kStripHeight));
    area->set_draw_func([this, area, item](const Cairo::RefPtr<Cairo::Context>& cairo, int, int) {
        const double scale = area->get_scale_factor();
        const auto image = picture(item, scale);
        if (!image)
            return;
        cairo_t* c = cairo->cobj();
        cairo_scale(c, 1.0 / scale, 1.0 / scale);
        cairo_set_source_surface(c, image->cairoSurface(), 0, 0);
        cairo_paint(c);
        // Values change the width of texts; the tile follows on the next layout.
        if (const int width = static_cast<int>(image->size().width);
            area->get_content_width() != width)
            area->set_content_width(width);
    });
    previews_.push_back(area);
    return *area;
}

std::optional<Image> LayoutEditor::picture(const ExtraLayoutItem& item, double scale) {
    if (!item_)
        return std::nullopt;
    auto drawing =
        DrawingContext::forHost(model_.preferences(), artwork_).withDark(false).withScale(scale);
    drawing.previewModes = Value::array({item.entry(model_.layout().codeField)});
    Image image = ItemRenderer::render(*item_->view, drawing, ItemRenderer::Background::Light);
    // A spacer, or a graphics element on a machine without graphics: nothing to show.
    if (image.size().width <= 1)
        return std::nullopt;
    return image;
}

void LayoutEditor::addDragSource(Gtk::Widget& tile, Row row, std::size_t index, std::int64_t code) {
    auto source = Gtk::DragSource::create();
    source->set_actions(Gdk::DragAction::MOVE);
    // Before the button sees the press, so that a drag does not also open the menu.
    source->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    const std::string carried =
        dragText(row, row == Row::Active ? static_cast<std::int64_t>(index) : code);
    source->signal_prepare().connect(
        [carried](double, double) {
            Glib::Value<Glib::ustring> value;
            value.init(value.value_type());
            value.set(carried);
            return Gdk::ContentProvider::create(value);
        },
        false);
    // The tile as the drag's picture; the controller lives as long as the tile.
    source->signal_drag_begin().connect(
        [raw = source.get(), &tile](const Glib::RefPtr<Gdk::Drag>&) {
            raw->set_icon(Gtk::WidgetPaintable::create(tile), 0, 0);
        });
    if (row == Row::Active) {
        // Let go where nothing takes it: the element leaves the row.
        source->signal_drag_cancel().connect(
            [this, index](const Glib::RefPtr<Gdk::Drag>&, Gdk::DragCancelReason reason) {
                if (reason != Gdk::DragCancelReason::NO_TARGET)
                    return false;
                act(model_.remove(index), Row::Available, 0);
                return true;
            },
            false);
    }
    tile.add_controller(source);
}

Glib::RefPtr<Gtk::DropTarget> LayoutEditor::makeDropTarget(Row row, Gtk::Widget& area) {
    auto target =
        Gtk::DropTarget::create(Glib::Value<Glib::ustring>::value_type(), Gdk::DragAction::MOVE);
    target->signal_drop().connect(
        [this, row, &area](const Glib::ValueBase& value, double x, double y) {
            if (G_VALUE_HOLDS_STRING(value.gobj()) == FALSE)
                return false;
            const char* carried = g_value_get_string(value.gobj());
            double rowX = x;
            double rowY = y;
            Gtk::Box& box = row == Row::Active ? active_ : available_;
            area.translate_coordinates(box, x, y, rowX, rowY);
            return drop(row, carried ? carried : "", rowX);
        },
        false);
    area.add_controller(target);
    return target;
}

bool LayoutEditor::drop(Row row, const std::string& carried, double x) {
    if (!model_.editable())
        return false;
    if (row == Row::Available) {
        const auto index = numberAfter(carried, kActivePrefix);
        if (!index)
            return false; // from the available row to itself: nothing moves
        act(model_.remove(static_cast<std::size_t>(*index)), Row::Available, 0);
        return true;
    }
    const std::size_t slot = slotAt(x);
    if (const auto code = numberAfter(carried, kAvailablePrefix)) {
        act(model_.add(*code, slot), Row::Active, slot);
        return true;
    }
    if (const auto from = numberAfter(carried, kActivePrefix)) {
        const auto index = static_cast<std::size_t>(*from);
        // The slot counts the dragged tile itself; once it is taken out, those after it move up.
        const std::size_t to =
            std::min(slot > index ? slot - 1 : slot,
                     model_.active().size() == 0 ? 0 : model_.active().size() - 1);
        act(model_.move(index, to), Row::Active, to);
        return true;
    }
    return false;
}

std::size_t LayoutEditor::slotAt(double x) const {
    std::size_t slot = 0;
    for (Gtk::Widget* tile : tiles(Row::Active)) {
        const auto box = tile->get_allocation();
        if (x < box.get_x() + box.get_width() / 2.0)
            break;
        ++slot;
    }
    return slot;
}

Gtk::Popover& LayoutEditor::makeMenu(Row row, std::size_t index, const ExtraLayoutItem& item) {
    auto* menu = Gtk::make_managed<Gtk::Popover>();
    auto* list = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 2);
    menu->set_child(*list);
    CVBPreferences& preferences = model_.preferences();
    const auto add = [&](const std::string& title, bool enabled, auto change) {
        auto* button = Gtk::make_managed<Gtk::Button>(text(preferences, title));
        button->add_css_class("flat");
        button->set_sensitive(enabled && model_.editable());
        button->signal_clicked().connect([menu, change] {
            menu->popdown();
            change();
        });
        list->append(*button);
    };
    if (row == Row::Available) {
        const std::int64_t code = item.key;
        add("Add", true,
            [this, code] { act(model_.add(code), Row::Active, model_.active().size()); });
        return *menu;
    }
    const std::size_t last = model_.active().size() - 1;
    add("Remove", true, [this, index] { act(model_.remove(index), Row::Active, index); });
    add("Move Left", index > 0,
        [this, index] { act(model_.move(index, index - 1), Row::Active, index - 1); });
    add("Move Right", index < last,
        [this, index] { act(model_.move(index, index + 1), Row::Active, index + 1); });
    if (item.resizable) {
        const std::int64_t width = item.width();
        add("Wider", width < item.maximumWidth, [this, index, width] {
            act(model_.setSpacerWidth(index, width + 1), Row::Active, index);
        });
        add("Narrower", width > item.minimumWidth, [this, index, width] {
            act(model_.setSpacerWidth(index, width - 1), Row::Active, index);
        });
    }
    return *menu;
}

void LayoutEditor::act(const LayoutEditorModel::Result& result, Row row, std::size_t focus) {
    // The model logged a refusal or a failed write and shows what is stored; the rows follow
    // its change either way.
    if (result.outcome == LayoutEditorModel::Outcome::Refused)
        CVBLog("layout editor: %s", result.reason.c_str());
    else if (pendingRebuild_.connected())
        focusAfterRebuild_ = std::make_pair(row, focus);
}

} // namespace corvane
