#pragma once

namespace corvane {

// Asks the desktop whether its panel is dark. Views never ask it: they draw with the look of
// the context their host hands them.
class CVBMenubarColorDetector {
public:
    static CVBMenubarColorDetector& sharedDetector();

    // Asks the desktop again; on a change the preferences post "CorvaneBarMenubarThemeChanged".
    void fetchColor();
};

} // namespace corvane
