#include "text/SensorFormatters.h"

#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <cstdio>

namespace corvane {

namespace {

std::string unit(const TextContext& text, const char* key) {
    return HLVLocalizedString(text, key, {}, "common");
}

std::string withUnit(const TextContext& text, const std::string& number, const char* key) {
    return number + " " + unit(text, key);
}

bool isTemperature(int type) {
    return type == 0 || type == 1;
}

// `test` decides the frequency level; `shown` is the number printed.
std::string sensorText(const TextContext& text, int type, double test, double shown) {
    if (!isTemperature(type) && !isShowable(shown))
        return kNoValueText;
    switch (type) {
    case 0:
    case 1:
        return formattedTemperature(text, shown);
    case 2:
        return printfNumber("%.0f", shown);
    case 3:
        return withUnit(text, text.formatters.stringFromDouble2(shown), "V");
    case 4:
        return withUnit(text, text.formatters.stringFromDouble2(shown), "A");
    case 5:
        return withUnit(text, text.formatters.stringFromDouble2(shown), "W");
    case 7:
        return printfNumber("%.0f", shown) + " " + unit(text, "lx");
    case 8:
        if (test >= 1000)
            return withUnit(text, text.formatters.stringFromDouble2(shown / 1000), "GHz");
        return printfNumber("%.0f", shown) + " " + unit(text, "MHz");
    case 9:
        return printfNumber("%.0fx", shown);
    default:
        return text.formatters.stringFromDouble2(shown);
    }
}

} // namespace

int decimalLevelForSensor(const SensorItem* item) {
    if (!item)
        return 0;
    switch (item->type()) {
    case 3:
    case 4:
    case 5:
        return 1;
    case 8:
        return 2;
    default:
        return 0;
    }
}

std::string formattedSensor(const TextContext& text, const SensorItem* item) {
    if (!item)
        return "-";
    return sensorText(text, item->type(), item->value(), item->value());
}

std::string formattedSensor2(const TextContext& text, const SensorItem* item, double value) {
    if (!item)
        return "-";
    if (item->type() == 0 || item->type() == 1)
        return temperatureValue(text, false, value) + temperatureUnit(text);
    return sensorText(text, item->type(), item->value(), value);
}

std::string formattedMenubarSensor(const TextContext& text, const SensorItem* item,
                                   const Value& record, bool switchUnits) {
    if (!item)
        return "-";
    const int type = item->type();
    const double value = item->value();
    if (!isTemperature(type) && !isShowable(value))
        return kNoValueText;

    int decimals = decimalLevelForSensor(item);
    if (const Value* asked = record.find("decimals"))
        decimals = static_cast<int>(asked->integerValue());
    text.formatters.setFractionDigits(0, 0);
    if (decimals == 2)
        text.formatters.setFractionDigits(2, 2);
    else if (decimals == 1)
        text.formatters.setFractionDigits(1, 1);

    std::string unitText;
    switch (type) {
    case 0:
    case 1:
        unitText =
            text.integer("Sensors_TemperatureMode") == 2 ? unit(text, " K") : degreesSymbol();
        break;
    case 2:
        unitText = unit(text, "rpm");
        break;
    case 3:
        unitText = unit(text, "V");
        break;
    case 4:
        unitText = unit(text, "A");
        break;
    case 5:
        unitText = unit(text, "W");
        break;
    case 7:
        unitText = unit(text, "lx");
        break;
    case 8:
        unitText = unit(text, value >= 1000 ? "G" : "M");
        break;
    default:
        break;
    }
    // Fans show their unit only when asked; the others unless told not to.
    const Value* suffix = record.find("suffix");
    const bool showUnit =
        type == 2 ? (suffix && suffix->boolValue()) : !(suffix && !suffix->boolValue());
    if (!showUnit)
        unitText.clear();

    switch (type) {
    case 0:
    case 1:
        return temperatureValue(text, switchUnits, value) + unitText;
    case 2:
        return printfNumber("%.0f", value) + unitText;
    case 3:
    case 4:
    case 5:
    case 7:
        return text.formatters.stringFromDouble(value) + unitText;
    case 8:
        if (value >= 1000)
            return text.formatters.stringFromDouble(value / 1000) + unitText;
        return printfNumber("%.0f", value) + unitText;
    default:
        return text.formatters.stringFromDouble2(value);
    }
}

} // namespace corvane
