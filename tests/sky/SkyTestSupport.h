#pragma once

#include <cmath>
#include <ctime>
#include <gtest/gtest.h>
#include <iostream>
#include <string>

namespace corvane::skytest {

// Unix seconds of a UTC calendar time, by the C library rather than the code under test.
inline double utc(int year, int month, int day, int hour = 0, int minute = 0, double second = 0.0) {
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    return static_cast<double>(timegm(&parts)) + second;
}

// Modified Julian Day of Unix seconds and back, by the published epoch.
constexpr double kMjdOfUnixEpoch = 40587.0;
inline double mjdOf(double unixSeconds) {
    return kMjdOfUnixEpoch + unixSeconds / 86400.0;
}
inline double unixOfMjd(double mjd) {
    return (mjd - kMjdOfUnixEpoch) * 86400.0;
}

inline double arcseconds(double degrees) {
    return degrees * 3600.0;
}

// Difference of two angles in degrees, folded into -180..180.
inline double angleDifference(double a, double b) {
    double d = std::fmod(a - b, 360.0);
    if (d > 180.0) {
        d -= 360.0;
    } else if (d < -180.0) {
        d += 360.0;
    }
    return d;
}

// Largest absolute error of a group of reference comparisons, printed with the test output and
// recorded as a test property so that it lands in the XML report too.
class WorstError {
public:
    WorstError(std::string group, std::string unit)
        : group_(std::move(group))
        , unit_(std::move(unit)) {}
    WorstError(const WorstError&) = delete;
    WorstError& operator=(const WorstError&) = delete;

    void add(double error, const std::string& where) {
        ++count_;
        if (std::fabs(error) >= std::fabs(worst_)) {
            worst_ = error;
            where_ = where;
        }
    }

    double worst() const { return std::fabs(worst_); }

    ~WorstError() {
        std::cout << "[ worst    ] " << group_ << ": " << std::fabs(worst_) << " " << unit_
                  << " at " << where_ << " (" << count_ << " values)" << std::endl;
        std::string key;
        for (char c : group_) {
            key += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        }
        ::testing::Test::RecordProperty("worst_" + key,
                                        std::to_string(std::fabs(worst_)) + " " + unit_);
    }

private:
    std::string group_;
    std::string unit_;
    double worst_ = 0.0;
    std::string where_ = "-";
    int count_ = 0;
};

} // namespace corvane::skytest
