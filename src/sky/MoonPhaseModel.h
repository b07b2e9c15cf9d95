#pragma once

// Mean-orbit model of the lunar phase: the moon's age and lit fraction from a few terms of the
// sun's and moon's orbits (epoch 1980 January 0.0), and times of the principal phases from
// Meeus's lunation series (Astronomical Algorithms, 1st ed., chapter 47).

namespace corvane {

inline constexpr double kSynodicMonth = 29.53058868;

struct PhaseResult {
    double fraction = 0.0;           // 0 new, 0.25 first quarter, 0.5 full, 0.75 last quarter
    double illumination = 0.0;       // lit fraction of the disc, 0..1
    double age = 0.0;                // days since new moon
    double distance = 0.0;           // km
    double angularDiameter = 0.0;    // degrees
    double sunDistance = 0.0;        // km
    double sunAngularDiameter = 0.0; // degrees
};

PhaseResult phase(double jd);
// Mean time of new moon number k (counted from 1900 January) near the date jd.
double meanphase(double jd, double k);
// Time (Julian Ephemeris Day) of the phase f (0, 0.25, 0.5 or 0.75) of lunation k; other
// fractions get no periodic correction.
double truephase(double k, double f);
// Number of the lunation whose mean new moon is the last one at or before jd.
double lunationstart(double jd);
// Eccentric anomaly in radians for a mean anomaly in degrees.
double kepler(double meanAnomaly, double eccentricity);

// Gregorian (Julian before 1582 October 15) calendar year and month of a Julian Day.
void calendarYearMonth(double jd, int& year, int& month);

} // namespace corvane
