#pragma once

// Moonrise and moonset from the U.S. Naval Observatory, Astronomical Applications Dept.,
// "Rise and Set for the Moon for 2019", Universal Time, times rounded to the minute; upper limb
// on the horizon with 34' of refraction. A sample of days across the year.

#include <string>

namespace corvane::usno {

struct MoonDay {
    int month;
    int day;
    int rise; // hhmm UT, -1 when the moon does not rise that UT day
    int set;  // hhmm UT, -1 when it does not set
};

// Location: W081 00, N29 00.
inline constexpr double kLongitude = -81.0;
inline constexpr double kLatitude = 29.0;

inline constexpr MoonDay kMoon2019W81N29[] = {
    {1, 1, 812, 1934},  {1, 10, 1521, 201}, {2, 10, 1532, 326}, {3, 15, 1751, 707},
    {4, 20, 19, 1155},  {5, 25, 520, 1620}, {6, 8, 1541, 431},  {7, 17, 28, 1108},
    {8, 21, 309, 1605}, {9, 11, 2230, 845}, {10, 5, 1818, 359}, {11, 22, 727, 2002},
    {12, 28, 1418, 4},  {1, 7, 1327, -1},   {2, 6, 1322, -1},   {2, 20, -1, 1252},
};

// Location: 000 00, N80 00. Days deep inside runs of "continuously above horizon" (****) and
// "continuously below horizon" (----).
inline constexpr double kPolarLongitude = 0.0;
inline constexpr double kPolarLatitude = 80.0;
struct PolarDay {
    int month;
    int day;
    bool up;
};
inline constexpr PolarDay kPolar2019[] = {
    {1, 18, true}, {6, 5, true}, {1, 5, false}, {6, 20, false}};

// Phases of the moon for 2020 from the U.S. Naval Observatory, Astronomical Applications Dept.,
// Universal Time rounded to the minute. quarter: 0 new moon, 1 first quarter, 2 full moon,
// 3 last quarter.
struct PhaseTime {
    int quarter;
    int month;
    int day;
    int hour;
    int minute;
};
inline constexpr PhaseTime kPhases2020[] = {
    {1, 1, 3, 4, 45},    {2, 1, 10, 19, 21},  {3, 1, 17, 12, 58}, {0, 1, 24, 21, 42},
    {1, 2, 2, 1, 42},    {2, 2, 9, 7, 33},    {3, 2, 15, 22, 17}, {0, 2, 23, 15, 32},
    {1, 3, 2, 19, 57},   {2, 3, 9, 17, 48},   {3, 3, 16, 9, 34},  {0, 3, 24, 9, 28},
    {1, 4, 1, 10, 21},   {2, 4, 8, 2, 35},    {3, 4, 14, 22, 56}, {0, 4, 23, 2, 26},
    {1, 4, 30, 20, 38},  {2, 5, 7, 10, 45},   {3, 5, 14, 14, 3},  {0, 5, 22, 17, 39},
    {1, 5, 30, 3, 30},   {2, 6, 5, 19, 12},   {3, 6, 13, 6, 24},  {0, 6, 21, 6, 41},
    {1, 6, 28, 8, 16},   {2, 7, 5, 4, 44},    {3, 7, 12, 23, 29}, {0, 7, 20, 17, 33},
    {1, 7, 27, 12, 32},  {2, 8, 3, 15, 59},   {3, 8, 11, 16, 45}, {0, 8, 19, 2, 42},
    {1, 8, 25, 17, 58},  {2, 9, 2, 5, 22},    {3, 9, 10, 9, 26},  {0, 9, 17, 11, 0},
    {1, 9, 24, 1, 55},   {2, 10, 1, 21, 5},   {3, 10, 10, 0, 39}, {0, 10, 16, 19, 31},
    {1, 10, 23, 13, 23}, {2, 10, 31, 14, 49}, {3, 11, 8, 13, 46}, {0, 11, 15, 5, 7},
    {1, 11, 22, 4, 45},  {2, 11, 30, 9, 30},  {3, 12, 8, 0, 36},  {0, 12, 14, 16, 16},
    {1, 12, 21, 23, 41}, {2, 12, 30, 3, 28},
};

// Where a comparison was made, for the failure messages.
inline std::string label(const MoonDay& d) {
    return std::to_string(d.month) + "/" + std::to_string(d.day);
}
inline std::string label(const PhaseTime& p) {
    return std::to_string(p.month) + "/" + std::to_string(p.day) + " q" + std::to_string(p.quarter);
}

} // namespace corvane::usno
