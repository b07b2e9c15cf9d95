#pragma once

#include "shell/MenuItem.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// A menu of items, kept in order; items may carry submenus.
class Menu {
public:
    explicit Menu(std::string title = {});
    ~Menu();
    Menu(const Menu&) = delete;
    Menu& operator=(const Menu&) = delete;

    std::string title;

    const std::vector<std::unique_ptr<MenuItem>>& items() const { return items_; }
    std::size_t numberOfItems() const { return items_.size(); }
    MenuItem& itemAtIndex(std::size_t index) const { return *items_.at(index); }

    MenuItem& addItem(std::unique_ptr<MenuItem> item);
    MenuItem& addItem(std::string title, MenuItem::Action action = {});
    MenuItem& addSeparator();
    // An index past the end appends.
    MenuItem& insertItem(std::unique_ptr<MenuItem> item, std::size_t index);
    void removeAllItems();

    // The first item, in this menu or its submenus (depth first), whose title or identifier
    // equals `title`; separators never match.
    MenuItem* findItem(std::string_view title) const;
    // Calls `visit` on every item of this menu and its submenus, depth first.
    void forEachItem(const std::function<void(MenuItem&)>& visit) const;

private:
    std::vector<std::unique_ptr<MenuItem>> items_;
};

} // namespace corvane
