#include "foundation/BinaryPropertyListCheck.h"

#include <cstdint>

namespace corvane {

namespace {

// Big-endian unsigned integer of `width` bytes at `at`, if it lies inside the bytes.
std::optional<std::uint64_t> readUnsigned(std::string_view bytes, std::uint64_t at,
                                          std::uint64_t width) {
    if (width == 0 || width > 8 || at > bytes.size() || bytes.size() - at < width)
        return std::nullopt;
    std::uint64_t value = 0;
    for (std::uint64_t i = 0; i < width; ++i)
        value = (value << 8) | static_cast<std::uint8_t>(bytes[at + i]);
    return value;
}

struct StringObject {
    std::uint64_t start = 0;
    std::uint64_t count = 0;    // characters
    std::uint64_t unitSize = 1; // 1 for ASCII, 2 for UTF-16
};

// The character run of a string object at `offset`, or nothing for other objects.
std::optional<StringObject> stringAt(std::string_view bytes, std::uint64_t offset) {
    if (offset >= bytes.size())
        return std::nullopt;
    const auto marker = static_cast<std::uint8_t>(bytes[offset]);
    const std::uint8_t kind = marker >> 4;
    if (kind != 0x5 && kind != 0x6)
        return std::nullopt;
    StringObject s{offset + 1, marker & 0x0fu, kind == 0x6 ? 2u : 1u};
    if (s.count == 0x0f) { // the length follows as an integer object
        const auto intMarker = readUnsigned(bytes, offset + 1, 1);
        if (!intMarker || (*intMarker >> 4) != 0x1)
            return std::nullopt;
        const std::uint64_t width = std::uint64_t{1} << (*intMarker & 0x0f);
        const auto count = readUnsigned(bytes, offset + 2, width);
        if (!count)
            return std::nullopt;
        s.count = *count;
        s.start = offset + 2 + width;
    }
    return s;
}

bool holdsNul(std::string_view bytes, const StringObject& s) {
    for (std::uint64_t i = 0; i < s.count; ++i) {
        const std::uint64_t at = s.start + i * s.unitSize;
        const auto unit = readUnsigned(bytes, at, s.unitSize);
        if (!unit)
            return false; // runs past the end: libplist refuses it on its own
        if (*unit == 0)
            return true;
    }
    return false;
}

} // namespace

std::optional<std::string> binaryPropertyListProblem(std::string_view bytes) {
    constexpr std::size_t kHeader = 8;
    constexpr std::size_t kTrailer = 32;
    if (bytes.size() < kHeader + kTrailer)
        return std::nullopt;
    const std::uint64_t trailer = bytes.size() - kTrailer;
    const auto offsetSize = readUnsigned(bytes, trailer + 6, 1);
    const auto objectCount = readUnsigned(bytes, trailer + 8, 8);
    const auto tableOffset = readUnsigned(bytes, trailer + 24, 8);
    if (!offsetSize || !objectCount || !tableOffset || *offsetSize == 0 || *offsetSize > 8 ||
        *objectCount > bytes.size())
        return std::nullopt;
    for (std::uint64_t i = 0; i < *objectCount; ++i) {
        const auto offset = readUnsigned(bytes, *tableOffset + i * *offsetSize, *offsetSize);
        if (!offset)
            return std::nullopt;
        if (auto s = stringAt(bytes, *offset); s && holdsNul(bytes, *s))
            return "a string holds a NUL character";
    }
    return std::nullopt;
}

} // namespace corvane
