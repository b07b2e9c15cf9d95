#pragma once

#include <memory>
#include <string>

namespace corvane {

// Readings come from 64-bit counters and single-precision sensors: a value that is not finite
// or lies beyond ±2^63 is garbage (an overflowed difference, a division by nothing) and reads
// as kNoValueText, never as "nan", "∞" or a number wider than any item.
bool isShowable(double value);
inline constexpr const char* kNoValueText = "-";

// The decimal formatter of a host (locale grouping). Each setter changes the digits for the
// call that follows it only; callers set, then format, on the drawing thread.
class CVBFormatters {
public:
    // In the formats region the desktop set (LC_NUMERIC).
    CVBFormatters();
    // In an ICU locale ("de_DE").
    explicit CVBFormatters(const std::string& localeId);
    CVBFormatters(const CVBFormatters&) = delete;
    CVBFormatters& operator=(const CVBFormatters&) = delete;

    // The process's own, for the programs' set-up; the text layer is handed one instead.
    static CVBFormatters& sharedFormatter();
    // Drops the shared one so the next call picks up changed locale settings.
    static void cleanup();

    std::string stringFromDouble0(double value);
    std::string stringFromDouble1(double value);
    std::string stringFromDouble2(double value);
    std::string stringFromDouble(double value);
    void setFractionDigits(int minimum, int maximum);
    // "#,##0" in the locale's symbols.
    std::string formattedNumber(double value);

    ~CVBFormatters();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace corvane
