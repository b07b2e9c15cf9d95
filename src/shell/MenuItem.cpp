#include "shell/MenuItem.h"

#include "shell/Menu.h"

namespace corvane {

MenuItem::MenuItem(std::string itemTitle, Action itemAction, std::string itemKeyEquivalent)
    : title(std::move(itemTitle))
    , identifier(title)
    , keyEquivalent(std::move(itemKeyEquivalent))
    , action(std::move(itemAction)) {}

MenuItem::~MenuItem() = default;

std::unique_ptr<MenuItem> MenuItem::separatorItem() {
    auto item = std::make_unique<MenuItem>(std::string());
    item->separator_ = true;
    item->enabled = false;
    return item;
}

bool MenuItem::perform() {
    if (separator_ || !enabled || !action)
        return false;
    action(*this);
    return true;
}

void MenuItem::setSubmenu(std::unique_ptr<Menu> submenu) {
    submenu_ = std::move(submenu);
}

} // namespace corvane
