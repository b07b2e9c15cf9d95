#include "shell/DropdownOrderView.h"

#include <algorithm>

namespace corvane {

namespace {

std::vector<std::string> splitKeys(std::string_view text) {
    std::vector<std::string> keys;
    while (!text.empty()) {
        const auto comma = text.find(',');
        const auto key = text.substr(0, comma);
        if (!key.empty())
            keys.emplace_back(key);
        if (comma == std::string_view::npos)
            break;
        text.remove_prefix(comma + 1);
    }
    return keys;
}

template <class Keep>
std::string joinedKeys(const std::vector<DropdownOrderItem>& items, Keep keep) {
    std::string text;
    for (const auto& item : items) {
        if (!keep(item))
            continue;
        if (!text.empty())
            text += ',';
        text += item.key;
    }
    return text;
}

} // namespace

std::string DropdownOrderView::preferenceValue() const {
    return joinedKeys(items, [](const DropdownOrderItem&) { return true; });
}

std::string DropdownOrderView::preferenceValueDefault() const {
    return joinedKeys(unsorted, [](const DropdownOrderItem&) { return true; });
}

std::string DropdownOrderView::preferenceValueDisabled() const {
    return joinedKeys(items, [](const DropdownOrderItem& item) { return item.disabled; });
}

void DropdownOrderView::sortItems(std::string_view order, std::string_view disabled) {
    const auto ordered = splitKeys(order);
    const auto off = splitKeys(disabled);
    const auto rank = [&](const DropdownOrderItem& item) {
        const auto found = std::find(ordered.begin(), ordered.end(), item.key);
        return static_cast<std::size_t>(found - ordered.begin());
    };
    std::stable_sort(items.begin(), items.end(),
                     [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
    for (auto& item : items)
        item.disabled = std::find(off.begin(), off.end(), item.key) != off.end();
}

void DropdownOrderView::layoutItems() {
    int row = 0;
    for (auto& item : items)
        item.row = row++;
}

} // namespace corvane
