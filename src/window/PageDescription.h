#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

// One settings row of a page: what it edits and how. Pages are tables of these, so a section's
// page is a list of keys and titles rather than widget code.
struct ControlDescription {
    enum class Kind {
        Switch,  // on or off, stored as 1 or 0
        Choice,  // one of `choices`, stored as its index
        Number,  // one of `choices`, each title a number, stored as that number
        Color,   // a colour well; a second one for the "-Dark" key where that has a default
        Opacity, // a slider from clear to opaque
        Member,  // whether the mode list under `key` holds {"key": member}
    };
    Kind kind = Kind::Switch;
    std::string key;
    std::string title;
    std::vector<std::string> choices;
    std::int64_t member = 0;
};

struct GroupDescription {
    std::string title;
    std::vector<ControlDescription> rows;
};

// A section's page. `item` names the panel item the page previews ("cpu"), empty for none;
// `layoutEditor` says whether the page arranges that item's elements.
struct PageDescription {
    std::string xibName;
    std::string item;
    bool layoutEditor = false;
    bool dropdownEditors = false;
    // A page still to come: says what it will hold and offers no control.
    bool placeholder = false;
    std::string summary;
    std::vector<GroupDescription> groups;
};

// The page of the section with that page file ("CPU", "Memory", ...); every section has one.
PageDescription pageDescriptionFor(const std::string& xibName);

// Every key a page has a control for, in page order, light and dark colour keys both.
std::vector<std::string> controlledKeys(const PageDescription& page, const Value& defaults);

// The keys of a section that its page leaves to another editor: the element rows, the
// dropdown order and hotkey editors, the source list's switches.
std::vector<std::string> keysEditedElsewhere(const std::string& xibName);

} // namespace corvane
