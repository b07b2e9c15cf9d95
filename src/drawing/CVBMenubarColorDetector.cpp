#include "drawing/CVBMenubarColorDetector.h"

#include "preferences/CVBPreferences.h"

namespace corvane {

CVBMenubarColorDetector& CVBMenubarColorDetector::sharedDetector() {
    static CVBMenubarColorDetector detector;
    return detector;
}

bool CVBMenubarColorDetector::isMenubarDark() const {
    return CVBPreferences::sharedPreferences().isMenubarDark();
}

void CVBMenubarColorDetector::fetchColor() {
    if (CVBPreferences::hasSharedPreferences())
        CVBPreferences::sharedPreferences().updateMenubarThemeIfNeeded();
}

Color CVBMenubarColorDetector::color() const {
    return isMenubarDark() ? Color::white() : Color::black();
}

} // namespace corvane
