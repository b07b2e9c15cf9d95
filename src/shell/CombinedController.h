#pragma once

#include "shell/SectionController.h"

#include <vector>

namespace corvane {

// One panel item that holds the elements of several sections.
class CombinedController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Combined"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarCombined";
    }
    std::string stateNotificationKey() const override { return "combined"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Combined_Hotkey"; }
    bool toggle(const SectionSwitch& sender) override;

    // The section keys the Combined item holds: the "key" of every mode of its panel and
    // dropdown lists, each once, in order of first use.
    static std::vector<std::int64_t> combinedItemKeys();
};

} // namespace corvane
