#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corvane {

// A span of the text with its font; the drawing layer paints every run in the value colour.
struct TextRun {
    std::size_t start = 0;
    std::size_t length = 0;
    double fontSize = 12;
    bool mediumWeight = true;
};

struct AttributedText {
    std::string text;
    std::vector<TextRun> runs;
    int alignment = 1; // 1 left-to-right layouts, 0 otherwise
};

// Process list figures: the number at size 12, the unit at size 10; 0 reads "-".
AttributedText formattedProcessBandwidth(bool switchUnits, double bytesPerSecond);
AttributedText formattedProcessActivity(double bytesPerSecond);
int valueTextAlignmentForLanguage();

} // namespace corvane
