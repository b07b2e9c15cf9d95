#pragma once

#include <gtkmm.h>
#include <string>

namespace corvane {

// The libadwaita groups and rows the pages are built of, made through its C API and held by
// gtkmm wrappers that their parents own.
namespace adw {

// Sets up libadwaita's style once per process; `scheme` "light", "dark" or empty to follow
// the desktop.
void initialize(const std::string& scheme);
bool prefersDark();

Gtk::Widget& group(const std::string& title, const std::string& description = {});
void addToGroup(Gtk::Widget& group, Gtk::Widget& child);

// A row with a title, an optional subtitle and the control at its end, which the row's click
// activates and whose accessible name is the title.
Gtk::Widget& actionRow(const std::string& title, Gtk::Widget* suffix,
                       const std::string& subtitle = {});

// A page with a large icon, a title and a text under it, centred: for what has nothing to set.
Gtk::Widget& statusPage(const std::string& iconName, const std::string& title,
                        const std::string& description);

} // namespace adw

// The name a screen reader says for the widget.
void setAccessibleLabel(Gtk::Widget& widget, const std::string& label);

} // namespace corvane
