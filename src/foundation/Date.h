#pragma once

#include <compare>

namespace corvane {

// A moment in time as seconds since 1970-01-01 00:00:00 UTC, the common clock of all layers.
// Property lists count from 2001; the conversion lives with the property-list code.
struct Date {
    double secondsSince1970 = 0.0;

    static constexpr double kSecondsFrom1970To2001 = 978307200.0;

    constexpr double secondsSince2001() const { return secondsSince1970 - kSecondsFrom1970To2001; }
    static constexpr Date fromSecondsSince2001(double s) {
        return Date{s + kSecondsFrom1970To2001};
    }

    friend constexpr auto operator<=>(const Date&, const Date&) = default;
};

} // namespace corvane
