#include "clock/CityIdentifier.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace corvane {

namespace {

// FNV-1a: small, fixed and the same on every machine, unlike std::hash.
std::uint64_t fnv1a(std::string_view text, std::uint64_t hash) {
    for (const unsigned char c : text) {
        hash ^= c;
        hash *= 1099511628211ull;
    }
    return hash;
}

} // namespace

std::string cityIdentifier(std::string_view name, std::string_view state,
                           std::string_view countryCode, double latitude, double longitude) {
    char position[64];
    // Rounded, and -0.00 written as 0.00, so that noise in the last digits changes nothing.
    const auto hundredths = [](double degrees) {
        const double r = std::round(degrees * 100) / 100;
        return r == 0 ? 0.0 : r;
    };
    std::snprintf(position, sizeof position, "%.2f,%.2f", hundredths(latitude),
                  hundredths(longitude));
    std::uint64_t hash = 14695981039346656037ull;
    for (const std::string_view part : {name, state, countryCode, std::string_view(position)}) {
        hash = fnv1a(part, hash);
        hash = fnv1a(std::string_view("\x1f", 1), hash); // keeps ("ab", "c") apart from ("a", "bc")
    }
    // 53 bits: the number survives a trip through JSON and double-based readers intact.
    return std::to_string(hash & ((1ull << 53) - 1));
}

} // namespace corvane
