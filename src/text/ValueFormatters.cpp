#include "text/ValueFormatters.h"

#include "preferences/CVBPreferences.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

#include <cstdio>

namespace corvane {

namespace {

std::string printf1(const char* format, double v) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, v);
    return buffer;
}

std::string unit(const char* key) {
    return HLVLocalizedString(key, {}, "common");
}

std::string valueAndUnit(const std::string& value, const std::string& unitText) {
    return value + " " + unitText;
}

CVBFormatters& shared() {
    return CVBFormatters::sharedFormatter();
}

// Level 0 none, 1 one letter, 2 two letters after the first level, else the localised word.
std::string menubarUnit(const char* english, int level) {
    switch (CVBIntegerForKey("Network_MenubarUnitLevel")) {
    case 0:
        return {};
    case 1:
        return std::string(english, 1);
    case 2:
        return std::string(english, level == 0 ? 1 : 2);
    default:
        return unit(english);
    }
}

void decimalLevel(std::string_view key) {
    switch (CVBIntegerForKey(key)) {
    case 0:
        shared().setFractionDigits(0, 0);
        break;
    case 1:
        shared().setFractionDigits(1, 1);
        break;
    default:
        shared().setFractionDigits(2, 2);
    }
}

bool belowZero(double celsius) {
    return static_cast<float>(celsius) < 0.0f;
}

std::string temperatureNumber(std::int64_t mode, double celsius) {
    if (!isShowable(celsius) || belowZero(celsius))
        return kNoValueText;
    if (mode == 2)
        return printf1("%.0f", celsius + 273.15);
    const float t = static_cast<float>(celsius);
    if (mode == 1) {
        const float twice = 2.0f * t;
        return printf1("%.0f", static_cast<double>(twice / -10.0f + twice + 32.0f));
    }
    return printf1("%.0f", static_cast<double>(t));
}

} // namespace

int effectiveDataFormat(bool switchUnits) {
    auto format = CVBIntegerForKey("Network_DataFormat");
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

void bandwidhFormatterKB() {
    decimalLevel("Network_DecimalLevelKB");
}
void bandwidhFormatterMB() {
    decimalLevel("Network_DecimalLevelMB");
}

std::string formattedBandwidth(bool switchUnits, double v) {
    if (!isShowable(v))
        return kNoValueText;
    const int format = effectiveDataFormat(switchUnits);
    if (isBits(format))
        v *= 8;
    const char* const* words = unitWords(format);
    if ((format == 0 || format == 2) && v <= 1024)
        return printf1("%.0f", v) + " " + unit(words[0]);
    if (format != 4 && format != 5 && v <= 1048576)
        return valueAndUnit(shared().stringFromDouble2(v / 1024), unit(words[1]));
    if (v <= 1073741824)
        return valueAndUnit(shared().stringFromDouble2(v / 1048576), unit(words[2]));
    return valueAndUnit(shared().stringFromDouble2(v / 1073741824), unit(words[3]));
}

std::string formattedBandwidthFormatter(bool switchUnits, double v) {
    if (!isShowable(v))
        return kNoValueText;
    const int format = effectiveDataFormat(switchUnits);
    if (isBits(format))
        v *= 8;
    const char* const* words = unitWords(format);
    // Thresholds below the divisors keep the number under four digits before the point.
    if ((format == 0 || format == 2) && v <= 1000)
        return printf1("%.0f", v) + " " + menubarUnit(words[0], 0);
    if (format != 4 && format != 5 && v <= 1024000) {
        bandwidhFormatterKB();
        return valueAndUnit(shared().stringFromDouble(v / 1024), menubarUnit(words[1], 1));
    }
    bandwidhFormatterMB();
    if (v <= 1048576000)
        return valueAndUnit(shared().stringFromDouble(v / 1048576), menubarUnit(words[2], 2));
    return valueAndUnit(shared().stringFromDouble(v / 1073741824), menubarUnit(words[3], 3));
}

std::string formattedDiskActivity(double v) {
    if (!isShowable(v))
        return kNoValueText;
    if (v <= 1024000)
        return printf1("%.0f", v / 1024) + " " + unit("KB/s");
    if (v <= 1048576000) {
        const double m = v / 1048576;
        if (m >= 100)
            return printf1("%.0f", m) + " " + unit("MB/s");
        return valueAndUnit(shared().stringFromDouble1(m), unit("MB/s"));
    }
    return valueAndUnit(shared().stringFromDouble1(v / 1073741824), unit("GB/s"));
}

std::string formattedSpace(double v) {
    if (!isShowable(v))
        return kNoValueText;
    const double k = v / 1000;
    if (k <= 1000)
        return printf1("%.0f", k) + " " + unit("KB");
    if (k <= 1e6)
        return valueAndUnit(shared().stringFromDouble1(k / 1000), unit("MB"));
    if (k <= 1e9)
        return valueAndUnit(shared().stringFromDouble1(k / 1e6), unit("GB"));
    if (k <= 1e12)
        return valueAndUnit(shared().stringFromDouble2(k / 1e9), unit("TB"));
    return valueAndUnit(shared().stringFromDouble2(k / 1e12), unit("PB"));
}

std::string formattedMemory(double v) {
    if (!isShowable(v))
        return kNoValueText;
    if (v < 1000)
        return printf1("%.0f", v) + " " + unit("KB");
    if (v < 1048576)
        return printf1("%.0f", v / 1024) + " " + unit("MB");
    // The collector's figure is whole kilobytes (a 64-bit count, so the cast is safe); the
    // gigabyte division is single precision.
    const auto whole = static_cast<float>(static_cast<std::int64_t>(v));
    return valueAndUnit(shared().stringFromDouble2(static_cast<double>(whole / 1048576.0f)),
                        unit("GB"));
}

std::string formattedFrequency(double v) {
    if (!isShowable(v))
        return kNoValueText;
    if (v >= 1000)
        return valueAndUnit(shared().stringFromDouble2(v / 1000), unit("GHz"));
    return printf1("%.0f", v) + " " + unit("MHz");
}

std::string formattedPercentage(int decimals, double value) {
    if (!isShowable(value))
        return kNoValueText;
    std::string number = decimals == 1   ? shared().stringFromDouble1(value)
                         : decimals == 2 ? shared().stringFromDouble2(value)
                                         : shared().stringFromDouble0(value);
    return number + "%";
}

std::string formattedWeatherPercentage(int decimals, double value) {
    return formattedPercentage(decimals, value);
}

std::string formattedNumber(double value) {
    if (!isShowable(value))
        return kNoValueText;
    return shared().formattedNumber(value);
}

std::string formattedMilliAmps(double value) {
    if (!isShowable(value))
        return kNoValueText;
    return printf1("%.0f", value) + " " + unit("mA");
}
std::string formattedMilliAmpHours(double value) {
    if (!isShowable(value))
        return kNoValueText;
    return printf1("%.0f", value) + " " + unit("mAh");
}

std::string formattedTemperature(double celsius) {
    const auto mode = CVBIntegerForKey("Sensors_TemperatureMode");
    return temperatureNumber(mode, celsius) + temperatureUnit();
}

std::string temperatureValue(bool switchUnits, double celsius) {
    auto mode = CVBIntegerForKey("Sensors_TemperatureMode");
    if (switchUnits && mode != 2)
        mode = mode == 1 ? 0 : 1;
    return temperatureNumber(mode, celsius);
}

std::string temperatureUnit() {
    if (CVBIntegerForKey("Sensors_TemperatureMode") == 2)
        return unit(" K");
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
