#include "hardware/SMCValueCodec.h"

#include <algorithm>
#include <cstring>

namespace corvane {

namespace {

// The exponent of a fixed-point type named by its last hex digit ("sp78" divides by 2^8);
// only the named types have one, any other of the family divides by 1.
int fixedPointShift(std::string_view type) {
    static constexpr std::string_view kSigned[] = {"spe1", "spd2", "spc3", "spb4", "spa5",
                                                   "sp96", "sp87", "sp78", "sp69", "sp5a",
                                                   "sp4b", "sp3c", "sp2d", "sp1e", "sp0f"};
    static constexpr std::string_view kUnsigned[] = {"fpf1", "fpe2", "fpd3", "fpc4", "fpb5",
                                                     "fpa6", "fp97", "fp88", "fp79", "fp6a",
                                                     "fp5b", "fp4c", "fp3d", "fp2e", "fp1f"};
    const auto& names = type[0] == 's' ? kSigned : kUnsigned;
    const auto* found = std::find(std::begin(names), std::end(names), type);
    return found == std::end(names) ? 0 : static_cast<int>(found - std::begin(names)) + 1;
}

// The controller marks a missing reading with 128..132 in the top byte and 0 below it.
bool isSentinel(const SMCResultData& data) {
    return data.bytes[1] == 0 && data.bytes[0] >= 128 && data.bytes[0] <= 132;
}

std::uint32_t bigEndian(const SMCResultData& data, int width) {
    std::uint32_t value = 0;
    for (int i = 0; i < width; ++i)
        value = (value << 8) | data.bytes[static_cast<std::size_t>(i)];
    return value;
}

// Signed keys are read from the unsigned width on purpose; imitating hardware stores sign and
// magnitude, which is negated and cut back to the width so that the result stays unsigned too.
float signedValue(const SMCResultData& data, int width, bool fauxMac) {
    std::uint32_t value = bigEndian(data, width);
    const std::uint32_t top = std::uint32_t{1} << (width * 8 - 1);
    if (fauxMac && (value & top)) {
        const std::uint32_t mask = width == 4 ? 0xFFFFFFFFu : (top << 1) - 1;
        value = (0u - (value & ~top)) & mask;
    }
    return static_cast<float>(value);
}

float fixedPoint(const SMCResultData& data, std::string_view type, bool fauxMac) {
    const bool isSigned = type[0] == 's';
    const auto raw = static_cast<std::uint16_t>(bigEndian(data, 2));
    const float numerator =
        isSigned ? static_cast<float>(static_cast<std::int16_t>(raw)) : static_cast<float>(raw);
    const float result = numerator / static_cast<float>(1u << fixedPointShift(type));
    const bool exempt = fauxMac && isSigned && data.dataSize == 2;
    if (!exempt && isSentinel(data))
        return -128.0f + static_cast<float>(data.bytes[0] - 128);
    return result;
}

} // namespace

float convertData(const SMCResultData& data, bool fauxMac) {
    const std::string_view type(data.dataType.data(), strnlen(data.dataType.data(), 4));
    if (type.starts_with("sp") || type.starts_with("fp"))
        return fixedPoint(data, type, fauxMac);
    if (type == "flt ") {
        float value;
        std::memcpy(&value, data.bytes.data(), sizeof value);
        return value;
    }
    if (type == "ui32")
        return static_cast<float>(bigEndian(data, 4));
    if (type == "ui16")
        return static_cast<float>(bigEndian(data, 2));
    if (type.starts_with("flag") || type.starts_with("ui8"))
        return static_cast<float>(data.bytes[0]);
    if (type.starts_with("si8"))
        return signedValue(data, 1, fauxMac);
    if (type == "si16")
        return signedValue(data, 2, fauxMac);
    if (type == "si32")
        return signedValue(data, 4, fauxMac);
    return -1.0f;
}

SMCResultData makeResultData(std::string_view type, std::initializer_list<std::uint8_t> bytes,
                             std::uint32_t size) {
    SMCResultData data;
    std::copy_n(type.begin(), std::min<std::size_t>(type.size(), 4), data.dataType.begin());
    std::copy_n(bytes.begin(), std::min<std::size_t>(bytes.size(), 32), data.bytes.begin());
    data.dataSize = size ? size : static_cast<std::uint32_t>(bytes.size());
    return data;
}

} // namespace corvane
