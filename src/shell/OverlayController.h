#pragma once

#include "shell/SectionPage.h"

namespace corvane {

// The sheet that covers the window for the dropdown order and hotkey editors and the installer.
// Without a window nothing is shown.
class OverlayController {
public:
    virtual ~OverlayController() = default;
    virtual void showWithView(SectionPage& view) { shown_ = &view; }
    virtual void removeOverlay() { shown_ = nullptr; }
    virtual void close() { removeOverlay(); }
    SectionPage* shownView() const { return shown_; }

private:
    SectionPage* shown_ = nullptr;
};

} // namespace corvane
