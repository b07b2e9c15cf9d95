#pragma once

#include "foundation/Color.h"

#include <optional>
#include <string>

namespace corvane {

enum class TextAlignment { Left = 0, Centre = 1, Right = 2 };

// How a run of text is drawn in the panel.
struct TextAttributes {
    static constexpr const char* kSystemFont = "DejaVu Sans";
    static constexpr const char* kCondensedFont = "DejaVu Sans Condensed";

    std::string family = kSystemFont;
    double size = 13;
    int weight = 400; // 400 regular, 500 medium, 700 bold
    Color color = Color::black();
    std::optional<Color> shadow; // drawn one point below the text
    TextAlignment alignment = TextAlignment::Left;
    // Digits of equal width, so that changing numbers do not make the item jitter.
    bool tabularDigits = true;
    // The condensed face: narrower, with the regular face's vertical metrics.
    bool condensed = false;
    double letterSpacing = 0; // points between letters

    // Panel text comes in sizes 8 to 16; any other stored size means 13.
    static double panelSize(double stored) { return stored >= 8 && stored <= 16 ? stored : 13; }
};

} // namespace corvane
