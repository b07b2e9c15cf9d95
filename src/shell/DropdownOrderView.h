#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// One block of a dropdown, such as "processes" or "buttons".
struct DropdownOrderItem {
    std::string key;
    std::string title;
    bool disabled = false;
    int row = 0; // position once laid out
};

// The list in the dropdown order editor. Orders are stored as the blocks' keys joined by ",":
// all blocks in their order, and separately the disabled ones.
class DropdownOrderView {
public:
    std::vector<DropdownOrderItem> items;    // as shown
    std::vector<DropdownOrderItem> unsorted; // the section's own order, none disabled

    std::string preferenceValue() const;
    std::string preferenceValueDefault() const;
    std::string preferenceValueDisabled() const;

    // Puts the items in a stored order; blocks the order does not name keep their own order
    // after the named ones, and keys of blocks that no longer exist are ignored.
    void sortItems(std::string_view order, std::string_view disabled);
    void layoutItems();
};

} // namespace corvane
