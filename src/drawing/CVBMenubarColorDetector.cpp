#include "drawing/CVBMenubarColorDetector.h"

#include "preferences/CVBPreferences.h"

namespace corvane {

CVBMenubarColorDetector& CVBMenubarColorDetector::sharedDetector() {
    static CVBMenubarColorDetector detector;
    return detector;
}

void CVBMenubarColorDetector::fetchColor() {
    if (CVBPreferences::hasSharedPreferences())
        CVBPreferences::sharedPreferences().updateMenubarThemeIfNeeded();
}

} // namespace corvane
