#include "window/SourceListView.h"

#include "window/AdwRows.h"

namespace corvane {

std::string themedIconForSourceItem(const std::string& icon) {
    static const std::map<std::string, std::string> kIcons = {
        {"general", "preferences-system-symbolic"},
        {"notifications", "preferences-system-notifications-symbolic"},
        {"weather", "weather-few-clouds-symbolic"},
        {"weather-moon", "weather-clear-night-symbolic"},
        {"cpu", "computer-symbolic"},
        {"memory", "media-flash-symbolic"},
        {"disks", "drive-harddisk-symbolic"},
        {"network", "network-transmit-receive-symbolic"},
        {"sensors", "dialog-warning-symbolic"},
        {"battery", "battery-full-symbolic"},
        {"time", "preferences-system-time-symbolic"},
        {"combined", "view-grid-symbolic"},
    };
    const std::string prefix = "prefs-sourcelist-icon-";
    const auto found = kIcons.find(icon.rfind(prefix, 0) == 0 ? icon.substr(prefix.size()) : icon);
    return found == kIcons.end() ? "image-missing-symbolic" : found->second;
}

namespace {

// The list box's own Tab goes on to the next row, which selects it and so changes the page:
// the page's controls could never be reached. Here Tab moves within the focused row and then
// leaves the list.
gboolean focusSidebar(GtkWidget* widget, GtkDirectionType direction) {
    GtkWidget* inside = gtk_widget_get_focus_child(widget);
    if (inside && (direction == GTK_DIR_TAB_FORWARD || direction == GTK_DIR_TAB_BACKWARD))
        return gtk_widget_child_focus(inside, direction);
    auto* listBox = static_cast<GtkWidgetClass*>(g_type_class_peek(GTK_TYPE_LIST_BOX));
    return listBox->focus(widget, direction);
}

// Gtk::Image's constructor from a string reads a file; these are names in the icon theme.
Gtk::Image* themedImage(const std::string& name) {
    auto* image = Gtk::make_managed<Gtk::Image>();
    image->set_from_icon_name(name);
    return image;
}

} // namespace

SidebarList::SidebarList()
    : Glib::ObjectBase("CorvaneSidebarList")
    , Glib::ExtraClassInit(&SidebarList::classInit) {}

void SidebarList::classInit(void* klass, void*) {
    static_cast<GtkWidgetClass*>(klass)->focus = &focusSidebar;
}

SourceListView::SourceListView(Select select)
    : select_(std::move(select)) {
    list_.add_css_class("navigation-sidebar");
    list_.set_selection_mode(Gtk::SelectionMode::SINGLE);
    setAccessibleLabel(list_, "Sections");
    list_.signal_row_selected().connect([this](Gtk::ListBoxRow* row) {
        if (showing_ || !row)
            return;
        if (const auto found = items_.find(row); found != items_.end())
            select_(*found->second);
    });
}

void SourceListView::addItem(SourceListItem& item) {
    SourceList::addItem(item);
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 10);
    Row row;
    box->set_margin(6);
    row.icon = themedImage(themedIconForSourceItem(item.icon));
    box->append(*row.icon);
    auto* label = Gtk::make_managed<Gtk::Label>(item.label.text);
    label->set_hexpand(true);
    label->set_xalign(item.label.alignment == 1 ? 1.0f : 0.0f);
    box->append(*label);
    row.combined = themedImage("view-grid-symbolic");
    row.combined->set_tooltip_text("Shown inside Combined");
    box->append(*row.combined);
    row.toggle = Gtk::make_managed<Gtk::Switch>();
    row.toggle->set_valign(Gtk::Align::CENTER);
    setAccessibleLabel(*row.toggle, item.toggle.title);
    row.toggle->set_tooltip_text(item.toggle.title);
    row.toggle->property_active().signal_changed().connect([this, &item, toggle = row.toggle] {
        if (showing_ || toggle->get_active() == item.toggle.on)
            return;
        item.toggle.click();
        show(item); // a switch that could not be stored flips back
    });
    box->append(*row.toggle);
    row.row = Gtk::make_managed<Gtk::ListBoxRow>();
    row.row->set_child(*box);
    setAccessibleLabel(*row.row, item.label.text);
    list_.append(*row.row);
    rows_[&item] = row;
    items_[row.row] = &item;
    item.changed = [this, &item] { show(item); };
    show(item);
}

void SourceListView::show(SourceListItem& item) {
    const auto found = rows_.find(&item);
    if (found == rows_.end())
        return;
    const Row& row = found->second;
    showing_ = true;
    row.icon->set_from_icon_name(themedIconForSourceItem(item.icon));
    row.toggle->set_active(item.toggle.on);
    row.toggle->set_visible(!item.toggle.hidden);
    row.combined->set_visible(!item.combinedIcon.hidden);
    if (item.selected && list_.get_selected_row() != row.row)
        list_.select_row(*row.row);
    showing_ = false;
}

void SourceListView::makeFirstResponder(SourceListItem* item) {
    SectionWindow::makeFirstResponder(item);
    if (Gtk::ListBoxRow* row = item ? rowOf(*item) : nullptr)
        row->grab_focus();
}

Gtk::ListBoxRow* SourceListView::rowOf(const SourceListItem& item) const {
    const auto found = rows_.find(&item);
    return found == rows_.end() ? nullptr : found->second.row;
}

Gtk::Switch* SourceListView::switchOf(const SourceListItem& item) const {
    const auto found = rows_.find(&item);
    return found == rows_.end() ? nullptr : found->second.toggle;
}

} // namespace corvane
