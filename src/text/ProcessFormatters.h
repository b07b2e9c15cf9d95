#pragma once

#include "foundation/Color.h"
#include "text/CVBTranslations.h"
#include "text/TextContext.h"

#include <cstddef>
#include <string>
#include <vector>

namespace corvane {

// A span of the text with its font and colour.
struct TextRun {
    std::size_t start = 0;
    std::size_t length = 0;
    double fontSize = 12;
    bool mediumWeight = true;
    Color color;
};

struct AttributedText {
    std::string text;
    std::vector<TextRun> runs;
    // kAlignmentRight in left-to-right layouts, kAlignmentLeft otherwise: figures sit at the
    // trailing edge of their column.
    int alignment = kAlignmentRight;
    // Lay the text out from the right, as the chosen language reads.
    bool rightToLeft = false;
};

// Process list figures: the number at size 12, the unit at size 10, both in the value colour;
// 0 reads "-".
AttributedText formattedProcessBandwidth(const TextContext& text, bool switchUnits,
                                         double bytesPerSecond);
AttributedText formattedProcessActivity(const TextContext& text, double bytesPerSecond);
int valueTextAlignmentForLanguage(const TextContext& text);
// Light figures on the dark dropdown themes, the settings' dark text grey on the others.
Color valueTextColor(const TextContext& text);

} // namespace corvane
