#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/MainQueue.h"
#include "foundation/NotificationCenter.h"
#include "shell/ApplicationActivator.h"
#include "shell/FanEditor.h"
#include "shell/OptionsPopupController.h"
#include "shell/OverlayController.h"
#include "shell/SectionPageFactory.h"

#include <functional>
#include <memory>

namespace corvane {

// What the sections need of the application around them. SectionManager fills whatever is
// left empty: the default centres, the system clock, and do-nothing window parts.
struct SectionServices {
    NotificationCenter* center = nullptr; // in-process ("ImportedPreferences", refreshes)
    DistributedNotificationCenter* distributedCenter = nullptr;
    const Clock* clock = nullptr;
    std::shared_ptr<OverlayController> overlay;
    std::shared_ptr<OptionsPopupController> optionsPopup;
    std::shared_ptr<ApplicationActivator> activator;
    std::shared_ptr<FanEditor> fanEditor;
    std::shared_ptr<SectionPageFactory> pages;
    // Asks the desktop again how dark the panel is, before a page draws its previews.
    std::function<void()> fetchMenubarColor;
};

} // namespace corvane
