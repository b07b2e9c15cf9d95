#pragma once

#include "shell/HotkeyShortcut.h"
#include "shell/SectionButton.h"
#include "shell/SectionPage.h"

#include <optional>
#include <string>

namespace corvane {

// The editor of the shortcut that opens a section's dropdown, shown over the window. The
// recorder widget puts what the user pressed into `shortcut`; none means no hotkey.
class DropdownHotkeyController {
public:
    static DropdownHotkeyController& sharedHotkeyController();
    static void cleanup();

    SectionPage view{"DropdownHotkey"};
    std::string sectionName;
    std::optional<HotkeyShortcut> shortcut;
    SectionButton saveButton;
    SectionButton cancelButton;
};

} // namespace corvane
