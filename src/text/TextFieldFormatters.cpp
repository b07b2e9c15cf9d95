#include "text/TextFieldFormatters.h"

#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

#include <algorithm>
#include <cstdlib>

namespace corvane {

namespace {

// A stored number as the field shows it; a real that is no reading shows as a dash.
std::string numberText(const Value& value) {
    return value.isReal() && !isShowable(value.doubleValue()) ? kNoValueText : value.stringValue();
}

} // namespace

std::string DataFormatter::stringForObjectValue(const Value& value) const {
    return numberText(value) +
           HLVLocalizedString(text_, dataFormat == 1 ? "GB" : "MB", {}, "common");
}

std::string PercentageFormatter::stringForObjectValue(const Value& value) const {
    if (value.isReal() && !isShowable(value.doubleValue()))
        return std::string(kNoValueText) + "%";
    return std::to_string(value.integerValue()) + "%";
}

std::string TemperatureFormatter::stringForObjectValue(const Value& value) const {
    static constexpr const char* kLetters[] = {"C", "F", "K"};
    const auto mode = text_.integer("Sensors_TemperatureMode");
    return numberText(value) + "°" + kLetters[mode >= 0 && mode <= 2 ? mode : 0];
}

std::string DurationFormatter::stringForObjectValue(const Value& value) const {
    return value.stringValue();
}

Value DurationFormatter::getObjectValue(std::string_view text) const {
    const std::string s(text);
    const long seconds = std::clamp(std::strtol(s.c_str(), nullptr, 10), 1L, 600L);
    return Value(std::to_string(seconds));
}

} // namespace corvane
