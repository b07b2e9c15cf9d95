#include "hardware/SMCSensorItem.h"

#include <cmath>

namespace corvane {

void SMCSensorItem::loadAlternateKey() {
    std::string text;
    for (unsigned char c : key)
        text.insert(0, std::to_string(static_cast<int>(c)));
    alternateKey = std::move(text);
}

void SMCSensorItem::loadMinimumValue(const SensorValueReader& read) {
    low = read(key.substr(0, 2) + "Mn");
}

void SMCSensorItem::loadMaximumValue(const SensorValueReader& read) {
    const double maximum = read(key.substr(0, 2) + "Mx");
    if (maximum > 0.0 && maximum > high)
        high = maximum;
}

// Some models' "Tp" keys read falsely low while the sensor named in "bk" is hot: the reading
// is then not believed and the present value stays.
bool SMCSensorItem::vouchedAgainst(std::string_view sensorKey, double v, bool temperatureBug,
                                   const SensorValueReader& read) const {
    return temperatureBug && v < 10.0 && sensorKey.starts_with("Tp") && !config.bk.empty() &&
           read(config.bk) > 150.0;
}

double SMCSensorItem::updateValue(const SensorValueReader& read, bool temperatureBug) {
    if (subType == 1)
        return value;
    double result = 0.0;
    if (config.multiply) {
        const auto& keys = *config.multiply;
        if (config.watts && keys.size() == 2)
            result = std::fabs(read(keys[0]) * read(keys[1]));
    } else if (config.average) {
        double sum = 0.0;
        int count = 0;
        for (const auto& averaged : *config.average) {
            double v = read(averaged);
            if (vouchedAgainst(averaged, v, temperatureBug, read))
                v = value;
            if (type == 0 ? (v > 0.0 && v < 150.0) : v > 0.0) {
                sum += v;
                ++count;
            }
        }
        result = count ? sum / count : 0.0;
    } else {
        result = read(key);
        if (type == 0 && result > 150.0)
            result = value;
        if (vouchedAgainst(key, result, temperatureBug, read))
            result = value;
    }
    value = result;
    return result;
}

} // namespace corvane
