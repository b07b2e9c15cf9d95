#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace corvane {

// A picture as Cairo draws it: 32-bit ARGB words, alpha premultiplied, in the machine's byte
// order, rows top to bottom without padding. The size always matches the pixels: a picture
// handed in with too few or too many is logged and kept empty.
class PanelPicture {
public:
    PanelPicture() = default;
    PanelPicture(int width, int height, std::vector<std::uint32_t> pixels);
    // Copies rows from a drawing surface whose rows are `stride` bytes apart.
    static PanelPicture fromRows(const unsigned char* data, int width, int height, int stride);

    int width() const { return width_; }
    int height() const { return height_; }
    const std::vector<std::uint32_t>& pixels() const { return pixels_; }
    bool empty() const { return pixels_.empty(); }

    friend bool operator==(const PanelPicture&, const PanelPicture&) = default;

private:
    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint32_t> pixels_;
};

// The actions a dropdown row can ask of the status program.
inline constexpr const char* kOpenSettingsAction = "open-settings";
inline constexpr const char* kQuitAction = "quit";

// One row of an item's dropdown.
struct DropdownRow {
    enum class Kind { Text, Header, Separator, Picture, Action };

    Kind kind = Kind::Text;
    std::string text;
    std::string action;   // Action rows: what Activate hands back, e.g. "open-settings"
    PanelPicture picture; // Picture rows: a graph, premultiplied like the panel pictures
    bool enabled = true;  // Action rows only; value rows are never clickable

    static DropdownRow textRow(std::string text) { return {Kind::Text, std::move(text), {}, {}}; }
    static DropdownRow header(std::string text) { return {Kind::Header, std::move(text), {}, {}}; }
    static DropdownRow separator() { return {Kind::Separator, {}, {}, {}}; }
    static DropdownRow pictureRow(PanelPicture picture, std::string text = {}) {
        return {Kind::Picture, std::move(text), {}, std::move(picture)};
    }
    static DropdownRow actionRow(std::string text, std::string action, bool enabled = true) {
        return {Kind::Action, std::move(text), std::move(action), {}, enabled};
    }

    friend bool operator==(const DropdownRow&, const DropdownRow&) = default;
};

// What drops down under an item, top to bottom.
struct DropdownModel {
    std::vector<DropdownRow> rows;

    friend bool operator==(const DropdownModel&, const DropdownModel&) = default;
};

// What a front end shows of one panel item. The pictures keep their width while the values
// change, so the panel does not jump.
struct PanelItem {
    std::string id;                    // the section's name: "cpu", "memory", "battery"...
    std::string title;                 // "CPU"
    std::string accessibleDescription; // read out by screen readers
    std::string label;                 // the value as text, for panels that show text
    std::string labelGuide;            // the widest text the label takes, so its width holds
    std::string tooltip;
    int percentage = -1;    // the main figure, 0 to 100, for bars that draw a gauge; -1: none
    PanelPicture picture;   // as drawn for the panel at scale 1
    PanelPicture picture2x; // at scale 2; may be empty
    PanelPicture compact;   // a square version for panels that square every icon; may be empty
    PanelPicture compact2x;
    DropdownModel dropdown;

    friend bool operator==(const PanelItem&, const PanelItem&) = default;
};

enum class PictureShape { Wide, Compact };

// The picture to publish for a shape and scale: the 2x one from scale 1.5 up, and the wide
// one where no compact one was drawn (and the other way round).
const PanelPicture& pictureFor(const PanelItem& item, PictureShape shape, double scale);

// Not actions of rows: what a front end reports of a dropdown, so that its rows, and the
// process list behind them, are kept live only while someone looks at them. "Shown" comes each
// time a front end is about to show the rows or asks for them, "opened" when a menu opened that
// stays until "closed".
inline constexpr const char* kDropdownShownAction = "dropdown-shown";
inline constexpr const char* kDropdownOpenedAction = "dropdown-opened";
inline constexpr const char* kDropdownClosedAction = "dropdown-closed";

// Called with the item's id and the action of the row, or "open-settings" for a click on an
// item where the panel cannot drop a menu down, or one of the dropdown reports above.
using PanelActionHandler = std::function<void(const std::string& item, const std::string& action)>;

// Something that shows the panel items: the items in panel order, handed over every cycle.
// Items are known by id; an id missing from the list is taken off the panel.
class PanelFrontEnd {
public:
    virtual ~PanelFrontEnd() = default;
    virtual void show(const std::vector<PanelItem>& items) = 0;
};

// A row as the front ends read it: its type ("text", "header", "separator", "picture",
// "action"), its text, and an action's name and state or a picture's size.
Value describedRow(const DropdownRow& row);

} // namespace corvane
