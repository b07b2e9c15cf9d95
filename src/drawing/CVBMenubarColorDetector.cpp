#include "drawing/CVBMenubarColorDetector.h"

#include "preferences/CVBPreferences.h"

namespace corvane {

CVBMenubarColorDetector& CVBMenubarColorDetector::sharedDetector() {
    static CVBMenubarColorDetector detector;
    return detector;
}

void CVBMenubarColorDetector::fetchColor(CVBPreferences& preferences) {
    preferences.updateMenubarThemeIfNeeded();
}

} // namespace corvane
