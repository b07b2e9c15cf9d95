#pragma once

#include <gtkmm.h>
#include <utility>
#include <vector>

namespace corvane {

class Menu;
class MenuItem;

// The application's menus model as a GIO menu for the header bar: each item an action of the
// application, ticks as action states, separators as sections, key equivalents as
// accelerators. The model stays the one place that knows what an item does.
class MenuBridge {
public:
    MenuBridge(Gtk::Application& application, Menu& bar);
    Glib::RefPtr<Gio::Menu> menu() const { return menu_; }
    // The ticks of the model, after something other than a menu changed them.
    void refresh();

private:
    Glib::RefPtr<Gio::Menu> build(Menu& from);
    std::string addAction(MenuItem& item);

    Gtk::Application& application_;
    Glib::RefPtr<Gio::Menu> menu_;
    std::vector<std::pair<MenuItem*, Glib::RefPtr<Gio::SimpleAction>>> actions_;
};

} // namespace corvane
