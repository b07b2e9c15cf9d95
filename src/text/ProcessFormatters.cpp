#include "text/ProcessFormatters.h"

#include "preferences/CVBPreferences.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <algorithm>
#include <cstdint>

namespace corvane {

namespace {

AttributedText styled(const TextContext& text, const std::string& number,
                      const std::string& unitKey) {
    AttributedText out;
    out.alignment = valueTextAlignmentForLanguage(text);
    out.rightToLeft = isRTLLanguage(text);
    const Color color = valueTextColor(text);
    out.text = number;
    if (!unitKey.empty())
        out.text += " ";
    out.runs.push_back({0, out.text.size(), 12, true, color});
    if (!unitKey.empty()) {
        const std::string unit = HLVLocalizedString(text, unitKey, {}, "common");
        out.runs.push_back({out.text.size(), unit.size(), 10, true, color});
        out.text += unit;
    }
    return out;
}

// Theme 3 is the dark dropdown; 1 is its earlier number, which settings from an older
// version may still hold.
bool isDropdownDark(const TextContext& text) {
    const std::int64_t theme = dropdownTheme(text.preferences);
    return theme == 1 || theme == 3;
}

} // namespace

int valueTextAlignmentForLanguage(const TextContext& text) {
    return isRTLLanguage(text) ? kAlignmentLeft : kAlignmentRight;
}

Color valueTextColor(const TextContext& text) {
    return isDropdownDark(text) ? Color::white() : Color::gray(0.22);
}

AttributedText formattedProcessBandwidth(const TextContext& text, bool switchUnits, double v) {
    if (v == 0 || !isShowable(v))
        return styled(text, kNoValueText, {});
    const int format = effectiveDataFormat(text, switchUnits);
    const char* const* units = unitWords(format);
    if (isBits(format))
        v *= 8;
    if (v <= 1024000)
        return styled(text, text.formatters.stringFromDouble0(v / 1024), units[1]);
    if (v <= 1048576000)
        return styled(text, text.formatters.stringFromDouble1(v / 1048576), units[2]);
    return styled(text, text.formatters.stringFromDouble2(v / 1073741824), units[3]);
}

AttributedText formattedProcessActivity(const TextContext& text, double v) {
    if (v == 0 || !isShowable(v))
        return styled(text, kNoValueText, {});
    const double w = std::max(v / 1024, 1.0);
    if (w <= 1000)
        return styled(text, text.formatters.stringFromDouble0(w), "KB/s");
    if (w <= 1024000)
        return styled(text, text.formatters.stringFromDouble1(w / 1024), "MB/s");
    if (w <= 1048576000)
        return styled(text, text.formatters.stringFromDouble1(w / 1048576), "GB/s");
    return styled(text, text.formatters.stringFromDouble1(w / 1073741824), "TB/s");
}

} // namespace corvane
