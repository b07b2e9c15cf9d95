#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

struct TextContext;

// One element a user places in a panel item: the mode code it stands for, its title and how
// it behaves when dragged between the rows.
class ExtraLayoutItem {
public:
    // An element whose section has not given it a mode code yet; it is never offered.
    static constexpr std::int64_t kNoCode = -1;

    ExtraLayoutItem() = default;
    // `initWithFrame:key:`: sets the code and its text.
    ExtraLayoutItem(std::int64_t key, std::string className, std::string title);

    bool hasCode() const { return key != kNoCode; }
    // The stored mode-list entry: the code under `codeField`, then the settings.
    Value entry(std::string_view codeField) const;
    // The width a spacer adds, 0 for other elements.
    std::int64_t width() const { return settings["width"].integerValue(); }

    std::int64_t key = kNoCode;
    std::string itemKey; // the code as text
    std::string uuid;    // entries that carry one keep it; empty otherwise
    std::string className;
    std::string title;
    Value settings = Value::dict(); // what the stored entry holds besides the code
    std::size_t defaultIndex = 0;   // its place in the available row
    bool resizable = false;
    std::int64_t minimumWidth = 0;
    std::int64_t maximumWidth = 0;
    bool copyOnMove = false;
    bool movable = true;
    bool hidden = false;
};

// The elements of one section's panel item, in the order of its available row.
struct SectionLayout {
    std::string section;      // the name the commands take: "cpu"
    std::string title;        // the section's name in the window, translated
    std::string drawingClass; // "CPUDrawing"
    std::string modeKey;      // "CPU_MenubarMode"
    std::string codeField;    // the entry's field that holds the code: "key", or "mode"
    // Whether this version draws the section's item; the elements of one that it does not are
    // listed but cannot be placed.
    bool drawnHere = false;
    std::vector<std::int64_t> allowedMultiples; // codes that may stand more than once
    std::vector<ExtraLayoutItem> items;

    const ExtraLayoutItem* itemWithKey(std::int64_t key) const;
    bool allowsMultiple(std::int64_t key) const;
    // A copy stays in the available row when the element is placed.
    bool copies(const ExtraLayoutItem& item) const {
        return item.copyOnMove || allowsMultiple(item.key);
    }
};

// The elements of every section, as each section's `setupLayoutItems` builds them.
class LayoutCatalogue {
public:
    static constexpr std::int64_t kItemLabel = 100;
    static constexpr std::int64_t kMenubarSpacerItem = 101;
    static constexpr std::int64_t kSpacerWidth = 4;
    static constexpr std::int64_t kMinimumSpacerWidth = 1;
    static constexpr std::int64_t kMaximumSpacerWidth = 40;

    // "cpu", "memory", "disks", "network", "sensors", "battery", "weather".
    static std::vector<std::string> sectionNames();
    // Nothing for a name that is not one of them. Titles are in the language of `text`.
    static std::optional<SectionLayout> setupLayoutItems(std::string_view section,
                                                         const TextContext& text);
};

} // namespace corvane
