#pragma once

namespace corvane {

class CVBPreferences;

// Asks the desktop whether its panel is dark. Views never ask it: they draw with the look of
// the context their host hands them.
class CVBMenubarColorDetector {
public:
    static CVBMenubarColorDetector& sharedDetector();

    // Asks the desktop again; on a change the preferences post "CorvaneBarMenubarThemeChanged".
    void fetchColor(CVBPreferences& preferences);
};

} // namespace corvane
