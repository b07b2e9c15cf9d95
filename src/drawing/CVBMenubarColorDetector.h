#pragma once

#include "foundation/Color.h"

namespace corvane {

// Whether the panel is dark, and the colour of text and outlines on it. The desktop's look
// comes from the preferences, which follow the desktop portal.
class CVBMenubarColorDetector {
public:
    static CVBMenubarColorDetector& sharedDetector();

    bool isMenubarDark() const;
    // White on a dark panel, else black.
    Color color() const;
    Color tintColor() const { return color(); }
    // Asks the desktop again; on a change the preferences post "CorvaneBarMenubarThemeChanged".
    void fetchColor();
};

} // namespace corvane
