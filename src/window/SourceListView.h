#pragma once

#include "shell/SectionWindow.h"
#include "shell/SourceList.h"

#include <functional>
#include <glibmm/extraclassinit.h>
#include <gtkmm.h>
#include <map>

namespace corvane {

// A list that is one stop for Tab: the selected row and its switch, then on. The arrows move
// between the rows, and so between the pages, as the selection follows them.
class SidebarList final : public Glib::ExtraClassInit, public Gtk::ListBox {
public:
    SidebarList();

private:
    static void classInit(void* klass, void* data);
};

// The source list as a sidebar: one row per section with its icon, name, the sign that it
// lives inside Combined, and the switch of its panel item. It is also the window's focus
// owner, as the registry sees it.
class SourceListView final : public SourceList, public SectionWindow {
public:
    using Select = std::function<void(SourceListItem&)>;

    explicit SourceListView(Select select);

    Gtk::ListBox& widget() { return list_; }
    void addItem(SourceListItem& item) override;
    void makeFirstResponder(SourceListItem* item) override;
    // The row of an item, for tests that click it.
    Gtk::ListBoxRow* rowOf(const SourceListItem& item) const;
    Gtk::Switch* switchOf(const SourceListItem& item) const;

private:
    struct Row {
        Gtk::ListBoxRow* row = nullptr;
        Gtk::Image* icon = nullptr;
        Gtk::Switch* toggle = nullptr;
        Gtk::Image* combined = nullptr;
    };
    void show(SourceListItem& item);

    Select select_;
    SidebarList list_;
    std::map<const SourceListItem*, Row> rows_;
    std::map<const Gtk::ListBoxRow*, SourceListItem*> items_;
    bool showing_ = false;
};

// The themed icon of a section's entry ("prefs-sourcelist-icon-cpu" and the like).
std::string themedIconForSourceItem(const std::string& icon);

} // namespace corvane
