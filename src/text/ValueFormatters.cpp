#include "text/ValueFormatters.h"

#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

#include <cstdio>

namespace corvane {

std::string printfNumber(const char* format, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

namespace {

std::string unit(const TextContext& text, const char* key) {
    return HLVLocalizedString(text, key, {}, "common");
}

std::string valueAndUnit(const std::string& value, const std::string& unitText) {
    return value + " " + unitText;
}

// Level 0 none, 1 one letter, 2 two letters after the first level, else the localised word.
std::string menubarUnit(const TextContext& text, const char* english, int level) {
    switch (text.integer("Network_MenubarUnitLevel")) {
    case 0:
        return {};
    case 1:
        return std::string(english, 1);
    case 2:
        return std::string(english, level == 0 ? 1 : 2);
    default:
        return unit(text, english);
    }
}

void decimalLevel(const TextContext& text, std::string_view key) {
    switch (text.integer(key)) {
    case 0:
        text.formatters.setFractionDigits(0, 0);
        break;
    case 1:
        text.formatters.setFractionDigits(1, 1);
        break;
    default:
        text.formatters.setFractionDigits(2, 2);
    }
}

bool belowZero(double celsius) {
    return static_cast<float>(celsius) < 0.0f;
}

std::string temperatureNumber(std::int64_t mode, double celsius) {
    if (!isShowable(celsius) || belowZero(celsius))
        return kNoValueText;
    if (mode == 2)
        return printfNumber("%.0f", celsius + 273.15);
    const float t = static_cast<float>(celsius);
    if (mode == 1) {
        const float twice = 2.0f * t;
        return printfNumber("%.0f", static_cast<double>(twice / -10.0f + twice + 32.0f));
    }
    return printfNumber("%.0f", static_cast<double>(t));
}

} // namespace

int effectiveDataFormat(const TextContext& text, bool switchUnits) {
    auto format = text.integer("Network_DataFormat");
    if (switchUnits && format >= 0 && format <= 5) {
        static constexpr int kSwitched[] = {2, 3, 0, 1, 5, 4};
        return kSwitched[format];
    }
    return static_cast<int>(format);
}

bool isBits(int format) {
    return format == 2 || format == 3 || format == 5;
}

const char* const* unitWords(int format) {
    static constexpr const char* kBits[] = {"b/s", "Kb/s", "Mb/s", "Gb/s"};
    static constexpr const char* kBytes[] = {"B/s", "KB/s", "MB/s", "GB/s"};
    return isBits(format) ? kBits : kBytes;
}

std::string stringFromValue(const Value& value) {
    std::string text = value.stringValue();
    const auto first = text.find_first_not_of(" \t\n\r");
    if (first == std::string::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\n\r");
    return text.substr(first, last - first + 1);
}

void bandwidhFormatterKB(const TextContext& text) {
    decimalLevel(text, "Network_DecimalLevelKB");
}
void bandwidhFormatterMB(const TextContext& text) {
    decimalLevel(text, "Network_DecimalLevelMB");
}

std::string formattedBandwidth(const TextContext& text, bool switchUnits, double v) {
    if (!isShowable(v))
        return kNoValueText;
    const int format = effectiveDataFormat(text, switchUnits);
    if (isBits(format))
        v *= 8;
    const char* const* words = unitWords(format);
    if ((format == 0 || format == 2) && v <= 1024)
        return printfNumber("%.0f", v) + " " + unit(text, words[0]);
    if (format != 4 && format != 5 && v <= 1048576)
        return valueAndUnit(text.formatters.stringFromDouble2(v / 1024), unit(text, words[1]));
    if (v <= 1073741824)
        return valueAndUnit(text.formatters.stringFromDouble2(v / 1048576), unit(text, words[2]));
    return valueAndUnit(text.formatters.stringFromDouble2(v / 1073741824), unit(text, words[3]));
}

std::string formattedBandwidthFormatter(const TextContext& text, bool switchUnits, double v) {
    if (!isShowable(v))
        return kNoValueText;
    const int format = effectiveDataFormat(text, switchUnits);
    if (isBits(format))
        v *= 8;
    const char* const* words = unitWords(format);
    // Thresholds below the divisors keep the number under four digits before the point.
    if ((format == 0 || format == 2) && v <= 1000)
        return printfNumber("%.0f", v) + " " + menubarUnit(text, words[0], 0);
    if (format != 4 && format != 5 && v <= 1024000) {
        bandwidhFormatterKB(text);
        return valueAndUnit(text.formatters.stringFromDouble(v / 1024),
                            menubarUnit(text, words[1], 1));
    }
    bandwidhFormatterMB(text);
    if (v <= 1048576000)
        return valueAndUnit(text.formatters.stringFromDouble(v / 1048576),
                            menubarUnit(text, words[2], 2));
    return valueAndUnit(text.formatters.stringFromDouble(v / 1073741824),
                        menubarUnit(text, words[3], 3));
}

std::string formattedDiskActivity(const TextContext& text, double v) {
    if (!isShowable(v))
        return kNoValueText;
    if (v <= 1024000)
        return printfNumber("%.0f", v / 1024) + " " + unit(text, "KB/s");
    if (v <= 1048576000) {
        const double m = v / 1048576;
        if (m >= 100)
            return printfNumber("%.0f", m) + " " + unit(text, "MB/s");
        return valueAndUnit(text.formatters.stringFromDouble1(m), unit(text, "MB/s"));
    }
    return valueAndUnit(text.formatters.stringFromDouble1(v / 1073741824), unit(text, "GB/s"));
}

std::string formattedSpace(const TextContext& text, double v) {
    if (!isShowable(v))
        return kNoValueText;
    const double k = v / 1000;
    if (k <= 1000)
        return printfNumber("%.0f", k) + " " + unit(text, "KB");
    if (k <= 1e6)
        return valueAndUnit(text.formatters.stringFromDouble1(k / 1000), unit(text, "MB"));
    if (k <= 1e9)
        return valueAndUnit(text.formatters.stringFromDouble1(k / 1e6), unit(text, "GB"));
    if (k <= 1e12)
        return valueAndUnit(text.formatters.stringFromDouble2(k / 1e9), unit(text, "TB"));
    return valueAndUnit(text.formatters.stringFromDouble2(k / 1e12), unit(text, "PB"));
}

std::string formattedMemory(const TextContext& text, double v) {
    if (!isShowable(v))
        return kNoValueText;
    if (v < 1000)
        return printfNumber("%.0f", v) + " " + unit(text, "KB");
    if (v < 1048576)
        return printfNumber("%.0f", v / 1024) + " " + unit(text, "MB");
    // The collector's figure is whole kilobytes (a 64-bit count, so the cast is safe); the
    // gigabyte division is single precision.
    const auto whole = static_cast<float>(static_cast<std::int64_t>(v));
    return valueAndUnit(text.formatters.stringFromDouble2(static_cast<double>(whole / 1048576.0f)),
                        unit(text, "GB"));
}

std::string formattedFrequency(const TextContext& text, double v) {
    if (!isShowable(v))
        return kNoValueText;
    if (v >= 1000)
        return valueAndUnit(text.formatters.stringFromDouble2(v / 1000), unit(text, "GHz"));
    return printfNumber("%.0f", v) + " " + unit(text, "MHz");
}

std::string formattedPercentage(const TextContext& text, int decimals, double value) {
    if (!isShowable(value))
        return kNoValueText;
    std::string number = decimals == 1   ? text.formatters.stringFromDouble1(value)
                         : decimals == 2 ? text.formatters.stringFromDouble2(value)
                                         : text.formatters.stringFromDouble0(value);
    return number + "%";
}

std::string formattedWeatherPercentage(const TextContext& text, int decimals, double value) {
    return formattedPercentage(text, decimals, value);
}

std::string formattedNumber(const TextContext& text, double value) {
    if (!isShowable(value))
        return kNoValueText;
    return text.formatters.formattedNumber(value);
}

std::string formattedMilliAmps(const TextContext& text, double value) {
    if (!isShowable(value))
        return kNoValueText;
    return printfNumber("%.0f", value) + " " + unit(text, "mA");
}
std::string formattedMilliAmpHours(const TextContext& text, double value) {
    if (!isShowable(value))
        return kNoValueText;
    return printfNumber("%.0f", value) + " " + unit(text, "mAh");
}

std::string formattedTemperature(const TextContext& text, double celsius) {
    const auto mode = text.integer("Sensors_TemperatureMode");
    return temperatureNumber(mode, celsius) + temperatureUnit(text);
}

std::string temperatureValue(const TextContext& text, bool switchUnits, double celsius) {
    auto mode = text.integer("Sensors_TemperatureMode");
    if (switchUnits && mode != 2)
        mode = mode == 1 ? 0 : 1;
    return temperatureNumber(mode, celsius);
}

std::string temperatureUnit(const TextContext& text) {
    if (text.integer("Sensors_TemperatureMode") == 2)
        return unit(text, " K");
    return degreesSymbol();
}

std::string degreesSymbol() {
    return "°";
}

// The divisor is 5/9 as single precision, as the stored figures were made with it.
double celciusToFahrenheit(double x) {
    return x / 0.5555555820465088 + 32;
}
double fahrenheitToCelcius(double x) {
    return (x - 32) * 0.5555555555555556;
}
double celciusToKelvin(double x) {
    return x + 273.15;
}
double kelvinToCelcius(double x) {
    return x - 273.15;
}

} // namespace corvane
