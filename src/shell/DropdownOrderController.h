#pragma once

#include "foundation/Value.h"
#include "shell/DropdownOrderView.h"
#include "shell/SectionButton.h"
#include "shell/SectionPage.h"

#include <functional>
#include <string>
#include <vector>

namespace corvane {

// A settings row shown under the order list; rows bound to a preference show it again after a
// reset.
struct DropdownSettingsRow {
    std::string title;
    std::function<void()> updateValue; // empty for rows without a stored value
};

// The editor of the order of a section's dropdown blocks, shown over the window. The section
// that opens it fills it and owns its buttons' actions.
class DropdownOrderController {
public:
    static DropdownOrderController& sharedOrderController();
    static void cleanup();

    // Empties it for the next section.
    void clear();

    SectionPage view{"DropdownOrder"};
    DropdownOrderView orderview;
    std::string preferencyKey;         // e.g. "CPU_DropdownOrder"
    std::string preferencyKeyDisabled; // e.g. "CPU_DropdownOrderDisabled"
    std::string notificationName;
    Value settingsReset; // {"keys": [...], "notification": name}
    std::vector<DropdownSettingsRow> settingsItems;
    SectionButton resetButton;
    SectionButton saveButton;
    SectionButton cancelButton;
};

} // namespace corvane
