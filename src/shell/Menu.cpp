#include "shell/Menu.h"

#include <algorithm>

namespace corvane {

Menu::Menu(std::string menuTitle)
    : title(std::move(menuTitle)) {}

Menu::~Menu() = default;

MenuItem& Menu::addItem(std::unique_ptr<MenuItem> item) {
    return insertItem(std::move(item), items_.size());
}

MenuItem& Menu::addItem(std::string itemTitle, MenuItem::Action action) {
    return addItem(std::make_unique<MenuItem>(std::move(itemTitle), std::move(action)));
}

MenuItem& Menu::addSeparator() {
    return addItem(MenuItem::separatorItem());
}

MenuItem& Menu::insertItem(std::unique_ptr<MenuItem> item, std::size_t index) {
    const auto at = items_.begin() + static_cast<std::ptrdiff_t>(std::min(index, items_.size()));
    return **items_.insert(at, std::move(item));
}

void Menu::removeAllItems() {
    items_.clear();
}

MenuItem* Menu::findItem(std::string_view wanted) const {
    for (const auto& item : items_) {
        if (!item->isSeparator() && (item->title == wanted || item->identifier == wanted))
            return item.get();
        if (item->submenu())
            if (MenuItem* found = item->submenu()->findItem(wanted))
                return found;
    }
    return nullptr;
}

void Menu::forEachItem(const std::function<void(MenuItem&)>& visit) const {
    for (const auto& item : items_) {
        visit(*item);
        if (item->submenu())
            item->submenu()->forEachItem(visit);
    }
}

} // namespace corvane
