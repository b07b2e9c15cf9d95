#include "sky/MoonPhase.h"

#include "sky/JulianDate.h"
#include "sky/MoonPhaseModel.h"

#include <array>
#include <cmath>

namespace corvane {

namespace {

// The first principal phase after a phase fraction, as an offset in lunations from the lunation
// that holds the date: 1.0 stands for the new moon that starts the next one.
double nextPrincipalFraction(double fraction) {
    if (fraction < 0.25) {
        return 0.25;
    }
    if (fraction < 0.5) {
        return 0.5;
    }
    if (fraction < 0.75) {
        return 0.75;
    }
    return 1.0;
}

int principalPhaseNumber(double fraction) {
    if (fraction >= 0.75) {
        return 6;
    }
    if (fraction >= 0.5) {
        return 4;
    }
    if (fraction >= 0.25) {
        return 2;
    }
    return 0;
}

// Walks the principal phases from lunation firstK on, starting at the offset start.
template <typename Keep>
void walkPhases(double firstK, double start, double after, Keep keep) {
    for (int i = 0; i < 10000; ++i) {
        const double v = start + i / 4.0;
        const double whole = std::floor(v);
        const double fraction = v - whole;
        const double jd = truephase(firstK + whole, fraction);
        const double time = dateWithJulianDay(jd).secondsSince1970;
        if (time <= after) {
            continue;
        }
        if (!keep(PhaseRecord{time, fraction * 29.53, principalPhaseNumber(fraction)})) {
            return;
        }
    }
}

} // namespace

int phaseNumberForFraction(double fraction) {
    if (fraction >= 0.76) {
        return 7;
    }
    if (fraction >= 0.75 && fraction <= 0.7525) {
        return 6;
    }
    if (fraction >= 0.51) {
        return 5;
    }
    if (fraction >= 0.5 && fraction <= 0.5025) {
        return 4;
    }
    if (fraction >= 0.26) {
        return 3;
    }
    if (fraction >= 0.25 && fraction <= 0.2525) {
        return 2;
    }
    if (fraction >= 0.01) {
        return 1;
    }
    return 0;
}

CurrentPhase currentPhase(Date date) {
    const double jd = julianDay(date);
    const PhaseResult now = phase(jd);
    const double next = nextPrincipalFraction(now.fraction);
    const double principal = next - std::floor(next);
    // lunationstart counts from mean new moons, which stray up to about 14 hours from the true
    // ones; take the occurrence of the principal phase nearest to the date so that a date just
    // after a new moon is not judged against the first quarter of the lunation before.
    double k = lunationstart(jd) + std::floor(next);
    for (const double candidate : {k - 1.0, k + 1.0}) {
        if (std::fabs(truephase(candidate, principal) - jd) <
            std::fabs(truephase(k, principal) - jd)) {
            k = candidate;
        }
    }

    // Once the principal phase has passed, the label snaps to it until the fraction leaves its
    // narrow window, however the mean-orbit fraction lags the true moment.
    const double judged = truephase(k, principal) <= jd ? principal : now.fraction;
    return CurrentPhase{phaseNumberForFraction(judged), now.age, now.illumination};
}

std::vector<PhaseRecord> nextPhases(int count, Date date) {
    std::vector<PhaseRecord> records;
    if (count <= 0) {
        return records;
    }
    const double jd = julianDay(date);
    const double start = nextPrincipalFraction(phase(jd).fraction);
    // Starting a lunation early costs a few skipped records and keeps a new moon that is due
    // within hours when the mean new moon has already passed.
    walkPhases(lunationstart(jd) - 1.0, start, date.secondsSince1970,
               [&](const PhaseRecord& record) {
                   records.push_back(record);
                   return static_cast<int>(records.size()) < count;
               });
    return records;
}

std::vector<PhaseRecord> phasesBetweenDates(Date from, Date to) {
    std::vector<PhaseRecord> records;
    const double jd = julianDay(from);
    const double start = nextPrincipalFraction(phase(jd).fraction);
    walkPhases(lunationstart(jd) - 1.0, start, from.secondsSince1970,
               [&](const PhaseRecord& record) {
                   records.push_back(record);
                   return record.time < to.secondsSince1970;
               });
    return records;
}

std::string nameForPhase(int phase) {
    static const std::array<const char*, 8> names = {
        "New Moon",  "Waxing Crescent", "First Quarter", "Waxing Gibbous",
        "Full Moon", "Waning Gibbous",  "Last Quarter",  "Waning Crescent"};
    if (phase < 0 || phase >= static_cast<int>(names.size())) {
        return {};
    }
    return names[static_cast<std::size_t>(phase)];
}

} // namespace corvane
