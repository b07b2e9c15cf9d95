#pragma once

// Almanac layer for the day-and-night map: sun and moon at apparent places of date with the
// Greenwich hour angles the map needs. It works on one file-wide state, driven for each instant
// in this order: setLightMapTime, TimeMeasures, Nutation, Aries, Sun, Moon. adjustParameters
// follows any change of the map size. Not re-entrant; one thread only.

namespace corvane {

struct AlmanacState {
    // Input, in UTC.
    double year = 0.0;
    double month = 0.0;
    double day = 0.0;
    double hour = 0.0;
    double minute = 0.0;
    double second = 0.0;
    double dayfraction = 0.0;

    // Time. deltaT stays 0: UT stands in for dynamical time.
    double JD = 0.0;
    double deltaT = 0.0;
    double T = 0.0, T2 = 0.0, T3 = 0.0, T4 = 0.0, T5 = 0.0;
    double TE = 0.0, TE2 = 0.0, TE3 = 0.0, TE4 = 0.0, TE5 = 0.0;
    double Tau = 0.0, Tau2 = 0.0, Tau3 = 0.0, Tau4 = 0.0, Tau5 = 0.0;

    // Earth rotation, degrees.
    double delta_psi = 0.0;
    double eps = 0.0;
    double GHAAtrue = 0.0;

    // Sun: degrees, R in astronomical units, SDsun and HPsun in arc-seconds, EOT in minutes.
    double Lsun_true = 0.0;
    double R = 0.0;
    double lambda_ = 0.0;
    double RAsun = 0.0;
    double SHAsun = 0.0;
    double DECsun = 0.0;
    double Dsun = 0.0;
    double GHAsun = 0.0;
    double SDsun = 0.0;
    double HPsun = 0.0;
    double EOT = 0.0;

    // Moon: degrees, dEM in kilometres.
    double lambdaMm = 0.0;
    double betaM = 0.0;
    double dEM = 0.0;
    double lambdaMapp = 0.0;
    double RAmoon = 0.0;
    double SHAmoon = 0.0;
    double DECmoon = 0.0;
    double Dmoon = 0.0;
    double GHAmoon = 0.0;

    // Map geometry in pixels and degrees; the host that draws the map sets the size.
    double mapWidth = 0.0;
    double mapHeight = 0.0;
    double pixelDegW = 0.0;
    double pixelDegH = 0.0;
    double edgeOffset = 0.0;
    double centerDegW = 0.0;
    double centerDegH = 0.0;
};

// The file-wide state, for reading results and for setting the map size.
AlmanacState& almanacState();

void setLightMapTime(int year, int month, int day, int hour, int minute, int second);
// Julian Day and the powers of centuries and millennia. January and February are counted as
// months 13 and 14 of the year before, in place, so setLightMapTime must precede each call.
void TimeMeasures();
// True obliquity from the IAU 1980 series.
void Nutation();
// Greenwich hour angle of the true equinox.
void Aries();
void Sun();
void Moon();

void adjustParameters();
double pixelX(double lambda);
double pixelY(double phi);
double pixelLambda(double x);
double pixelPhi(double y);

// Readers of single fields.
double GHAsun();
double GHAmoon();
double DECsun();
double DECmoon();

} // namespace corvane
