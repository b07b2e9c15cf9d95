#pragma once

#include "foundation/Value.h"

#include <functional>
#include <memory>
#include <string>

namespace corvane {

class Menu;

// One entry of a menu as the window shows it: a title with an optional tick, or a separator.
// The window only wraps it; what choosing it does lives in `action`.
class MenuItem {
public:
    using Action = std::function<void(MenuItem&)>;

    explicit MenuItem(std::string title, Action action = {}, std::string keyEquivalent = {});
    ~MenuItem();
    MenuItem(const MenuItem&) = delete;
    MenuItem& operator=(const MenuItem&) = delete;

    static std::unique_ptr<MenuItem> separatorItem();

    bool isSeparator() const { return separator_; }
    // What the user chose it for: runs the action unless the item is disabled or a separator.
    // Answers whether anything ran.
    bool perform();

    Menu* submenu() const { return submenu_.get(); }
    void setSubmenu(std::unique_ptr<Menu> submenu);

    std::string title;
    // The untranslated title, which stays when `title` is translated; names the item in
    // commands and tests.
    std::string identifier;
    std::string keyEquivalent;
    bool state = false;     // the tick
    bool checkable = false; // shows a tick box at all
    bool enabled = true;
    Value representedObject;
    Action action;

private:
    bool separator_ = false;
    std::unique_ptr<Menu> submenu_;
};

} // namespace corvane
