#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// Parsing of numbers and flags in text from outside: files under /proc and /sys, property
// lists, text typed by the user. Nothing here throws or depends on the C locale.

std::string_view trimmed(std::string_view text);

// The whole trimmed text as a number, or nothing ("12" yes, "12 kB" no, "" no).
std::optional<std::int64_t> parseInteger(std::string_view text);
std::optional<std::uint64_t> parseUnsigned(std::string_view text);
std::optional<double> parseDouble(std::string_view text);

// The number at the start of the text after white space, as much as reads, else 0.
// Integers saturate on overflow; doubles overflow to an infinity of their sign.
std::int64_t leadingInteger(std::string_view text);
double leadingDouble(std::string_view text);
// True when the text starts, after white space, a sign and zeros, with Y, y, T, t or 1-9.
bool leadingBool(std::string_view text);

// Lower-case hexadecimal digits, two a byte.
std::string hexEncoded(std::span<const std::uint8_t> bytes);

// The shortest text that reads back as the same double.
std::string shortestDoubleText(double value);

std::vector<std::string_view> splitLines(std::string_view text);
std::vector<std::string_view> splitWhitespace(std::string_view text);

} // namespace corvane
