#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

struct ManufactureDate {
    int week = 0;
    int year = 0; // two digits
};

// The week and year a serial number encodes; nothing for a missing serial, one shorter than
// 11 characters, one containing "System" (placeholder firmware) or an unknown code.
std::optional<ManufactureDate> decodeSerial(std::string_view serial);

// The model variant's code: the last four characters, the last three of an 11-character
// serial; "" for a serial shorter than five characters.
std::string variation(std::string_view serial);

} // namespace corvane
