#include "window/MenuBridge.h"

#include "shell/Menu.h"

namespace corvane {

MenuBridge::MenuBridge(Gtk::Application& application, Menu& bar)
    : application_(application)
    , menu_(Gio::Menu::create()) {
    for (const auto& top : bar.items()) {
        // The window lists itself; a menu of one window says nothing on this desktop.
        if (!top->submenu() || top->identifier == "Window" || top->title == "Window")
            continue;
        menu_->append_submenu(top->title, build(*top->submenu()));
    }
    refresh();
}

Glib::RefPtr<Gio::Menu> MenuBridge::build(Menu& from) {
    auto menu = Gio::Menu::create();
    auto section = Gio::Menu::create();
    for (const auto& item : from.items()) {
        if (item->isSeparator()) {
            if (section->get_n_items() > 0)
                menu->append_section(section);
            section = Gio::Menu::create();
            continue;
        }
        if (item->submenu())
            section->append_submenu(item->title, build(*item->submenu()));
        else
            section->append(item->title, "app." + addAction(*item));
    }
    if (section->get_n_items() > 0)
        menu->append_section(section);
    return menu;
}

std::string MenuBridge::addAction(MenuItem& item) {
    const std::string name = "menu-" + std::to_string(actions_.size());
    Glib::RefPtr<Gio::SimpleAction> action;
    auto chosen = [this, &item] {
        item.perform();
        refresh(); // a toggle ticks itself; a language choice ticks another item
    };
    if (item.checkable)
        action = Gio::SimpleAction::create_bool(name, item.state);
    else
        action = Gio::SimpleAction::create(name);
    action->signal_activate().connect([chosen](const Glib::VariantBase&) { chosen(); });
    action->set_enabled(item.enabled);
    application_.add_action(action);
    if (!item.keyEquivalent.empty())
        application_.set_accel_for_action("app." + name, "<Control>" + item.keyEquivalent);
    actions_.emplace_back(&item, action);
    return name;
}

void MenuBridge::refresh() {
    for (auto& [item, action] : actions_) {
        if (item->checkable)
            action->set_state(Glib::Variant<bool>::create(item->state));
        action->set_enabled(item->enabled);
    }
}

} // namespace corvane
