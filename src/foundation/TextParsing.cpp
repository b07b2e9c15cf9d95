#include "foundation/TextParsing.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace corvane {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view skipSpace(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && isSpace(text[i]))
        ++i;
    return text.substr(i);
}

} // namespace

std::string_view trimmed(std::string_view text) {
    text = skipSpace(text);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

std::optional<std::uint64_t> parseUnsigned(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    std::uint64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

std::optional<double> parseDouble(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty() ||
        !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::int64_t leadingInteger(std::string_view text) {
    text = skipSpace(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    // Accumulate as a negative number: its range holds INT64_MIN.
    std::int64_t value = 0;
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    for (char c : text) {
        if (!isDigit(c))
            break;
        const int digit = c - '0';
        if (value < (kMin + digit) / 10) {
            return negative ? kMin : std::numeric_limits<std::int64_t>::max();
        }
        value = value * 10 - digit;
    }
    if (negative)
        return value;
    return value == kMin ? std::numeric_limits<std::int64_t>::max() : -value;
}

double leadingDouble(std::string_view text) {
    text = skipSpace(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    // from_chars would also take "inf" and "nan"; only decimal numbers count here.
    if (text.empty() || !(isDigit(text.front()) || text.front() == '.'))
        return 0.0;
    double value = 0.0;
    const auto error =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::general)
            .ec;
    if (error == std::errc::result_out_of_range) {
        // Tell overflow from underflow by the exponent's sign.
        const bool tiny =
            text.find("e-") != std::string_view::npos || text.find("E-") != std::string_view::npos;
        value = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    } else if (error != std::errc{}) {
        value = 0.0;
    }
    return negative ? -value : value;
}

bool leadingBool(std::string_view text) {
    text = skipSpace(text);
    if (!text.empty() && (text.front() == '+' || text.front() == '-'))
        text.remove_prefix(1);
    while (!text.empty() && text.front() == '0')
        text.remove_prefix(1);
    if (text.empty())
        return false;
    const char c = text.front();
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

std::string hexEncoded(std::span<const std::uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const auto b : bytes) {
        hex.push_back(kDigits[b >> 4]);
        hex.push_back(kDigits[b & 0xf]);
    }
    return hex;
}

std::string shortestDoubleText(double value) {
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value < 0 ? "-inf" : "inf";
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (error != std::errc{})
        return "0";
    return std::string(buffer, end);
}

std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const auto newline = text.find('\n');
        lines.push_back(text.substr(0, newline));
        if (newline == std::string_view::npos)
            break;
        text.remove_prefix(newline + 1);
    }
    return lines;
}

std::vector<std::string_view> splitWhitespace(std::string_view text) {
    std::vector<std::string_view> words;
    std::size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && isSpace(text[i]))
            ++i;
        const std::size_t start = i;
        while (i < text.size() && !isSpace(text[i]))
            ++i;
        if (i > start)
            words.push_back(text.substr(start, i - start));
    }
    return words;
}

} // namespace corvane
