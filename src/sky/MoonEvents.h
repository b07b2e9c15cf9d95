#pragma once

#include "foundation/Date.h"

#include <optional>
#include <vector>

// The moon's events of a day for the time dropdown: each rise-to-set pass with the sky data at
// rise, meridian and set, and optionally a track in five-minute steps.

namespace corvane {

// Sky data at one moment of a pass.
struct MoonMoment {
    double time = 0.0;     // Unix seconds
    double rotation = 0.0; // limb angle, degrees
    double azimuth = 0.0;  // degrees
    double altitude = 0.0; // degrees (kept for the meridian)
    double distance = 0.0; // km
    int phase = 0;
    double age = 0.0;
    double illumination = 0.0;
};

// One pass: "rise-time" and "set-time" (Unix seconds or sentinels; riseTime absent when no rise
// was found before a set), with the "rise-...", "set-..." and "meridian-..." data where the
// times are valid.
struct MoonPass {
    std::optional<double> riseTime;
    double setTime = 0.0;
    std::optional<MoonMoment> rise;
    std::optional<MoonMoment> set;
    std::optional<MoonMoment> meridian;
};

// One five-minute step of the track.
struct MoonStep {
    double start = 0.0;
    double end = 0.0;
    int phase = 0;
    double age = 0.0;
    double illumination = 0.0;
    double altitude = 0.0;
    double azimuth = 0.0;
    double distance = 0.0;
};

struct MoonEventsRecord {
    double start = 0.0;
    double end = 0.0;
    std::vector<MoonPass> events;
    std::vector<MoonStep> steps; // filled on request
};

// date is the start of the day to describe (its local midnight in the zone).
MoonEventsRecord moonEvents(Date date, int zoneSeconds, bool wantSteps, double longitude,
                            double latitude);
// The same for the days from from to to.
MoonEventsRecord moonEventsBetweenDates(Date from, Date to, int zoneSeconds, bool wantSteps,
                                        double longitude, double latitude);
// 288 steps of five minutes from date.
std::vector<MoonStep> moonLocationsForDay(Date date, double longitude, double latitude);

} // namespace corvane
