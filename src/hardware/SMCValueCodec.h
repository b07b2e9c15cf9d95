#pragma once

#include "hardware/SMCTypes.h"

namespace corvane {

// The float a key's bytes stand for, by their data type; -1.0 for an unknown or empty type.
// `fauxMac` is the catalogue's flag for hardware that only imitates a controller: its
// fixed-point keys of two bytes have no sentinels, and its signed keys are sign-magnitude.
float convertData(const SMCResultData& data, bool fauxMac);

// The data type as the controller names it, padded with blanks to four characters.
SMCResultData makeResultData(std::string_view type, std::initializer_list<std::uint8_t> bytes,
                             std::uint32_t size = 0);

} // namespace corvane
