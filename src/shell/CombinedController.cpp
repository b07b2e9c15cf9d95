#include "shell/CombinedController.h"

#include "preferences/CVBPreferences.h"
#include "shell/SectionManager.h"

#include <algorithm>

namespace corvane {

bool CombinedController::toggle(const SectionSwitch& sender) {
    const bool stored = SectionController::toggle(sender);
    // The items it took or gave back change their switches too.
    manager().refreshAllSections();
    return stored;
}

std::vector<std::int64_t> CombinedController::combinedItemKeys() {
    std::vector<std::int64_t> keys;
    auto& preferences = CVBPreferences::sharedPreferences();
    for (const char* modesKey : {"CombinedMenubarDisplayMode", "CombinedDropdownDisplayMode"}) {
        for (const Value& mode : preferences.menubarModesForKey(modesKey).arrayItems()) {
            const Value* key = mode.find("key");
            if (!key)
                continue;
            const std::int64_t number = key->integerValue();
            if (std::find(keys.begin(), keys.end(), number) == keys.end())
                keys.push_back(number);
        }
    }
    return keys;
}

} // namespace corvane
