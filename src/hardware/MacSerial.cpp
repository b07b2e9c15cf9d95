#include "hardware/MacSerial.h"

#include "foundation/TextParsing.h"

namespace corvane {

namespace {

// Half-years from 2010: C first half of 2010, D its second half, and so on.
constexpr std::string_view kHalfYears = "CDFGHJKLMNPQRSTVXY";
// Weeks within a half-year: 1 to 9, then letters from 10.
constexpr std::string_view kWeeks = "123456789CDFGHJKLMNPQRTVWXY";

} // namespace

std::optional<ManufactureDate> decodeSerial(std::string_view serial) {
    if (serial.size() < 11 || serial.find("System") != std::string_view::npos)
        return std::nullopt;
    if (serial.size() == 11) {
        ManufactureDate date;
        date.year = static_cast<int>(leadingInteger(serial.substr(2, 1)));
        const auto week = serial[3] == '0' ? serial.substr(4, 1) : serial.substr(3, 2);
        date.week = static_cast<int>(leadingInteger(week));
        return date;
    }
    const auto half = kHalfYears.find(serial[3]);
    const auto week = kWeeks.find(serial[4]);
    if (half == std::string_view::npos || week == std::string_view::npos)
        return std::nullopt;
    const bool secondHalf = half % 2 == 1;
    return ManufactureDate{static_cast<int>(week) + 1 + (secondHalf ? 27 : 0),
                           10 + static_cast<int>(half / 2)};
}

std::string variation(std::string_view serial) {
    if (serial.size() < 5)
        return {};
    return std::string(serial.substr(serial.size() - (serial.size() == 11 ? 3 : 4)));
}

} // namespace corvane
