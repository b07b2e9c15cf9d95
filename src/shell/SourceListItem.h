#pragma once

#include <functional>
#include <string>

namespace corvane {

// The on/off switch of a section's panel item. `action` runs when the user flips it, after
// `on` took the new state; setting `on` from code runs nothing.
struct SectionSwitch {
    bool on = false;
    bool hidden = false;
    std::string title;
    std::function<void(const SectionSwitch&)> action;

    // What a click does: flips the state, then tells the owner.
    void click() {
        on = !on;
        if (action)
            action(*this);
    }
};

struct SourceListLabel {
    std::string text;
    int alignment = 0; // kAlignmentLeft or kAlignmentRight
};

struct SourceListIcon {
    bool hidden = true;
};

// A section's entry in the source list, as the window draws it. The window wraps it and redraws
// when `needsDisplay` is raised (or `changed` is called).
struct SourceListItem {
    struct Origin {
        double x = 0;
        double y = 0; // from the top of the list
    };

    SectionSwitch toggle;
    SourceListLabel label;
    SourceListIcon combinedIcon; // shown while the section lives inside Combined
    std::string icon;
    std::string selectedIcon;
    bool selected = false;
    Origin origin;
    int redrawCount = 0;
    std::function<void()> changed;

    void setNeedsDisplay() {
        ++redrawCount;
        if (changed)
            changed();
    }
};

} // namespace corvane
