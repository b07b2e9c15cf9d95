#pragma once

#include "foundation/Date.h"

#include <string>
#include <vector>

// Naming the phase of a moment and listing the principal phases to come.

namespace corvane {

// 0 New Moon, 1 Waxing Crescent, 2 First Quarter, 3 Waxing Gibbous, 4 Full Moon,
// 5 Waning Gibbous, 6 Last Quarter, 7 Waning Crescent.
struct CurrentPhase {
    int phase = 0;
    double age = 0.0;          // days
    double illumination = 0.0; // 0..1
};

// One principal phase: the "time", "age" and "phase" of a phase record.
struct PhaseRecord {
    double time = 0.0; // Unix seconds
    double age = 0.0;  // days
    int phase = 0;     // 0, 2, 4 or 6
};

CurrentPhase currentPhase(Date date);
// Number for a phase fraction, by the thresholds of the name table: the narrow windows just after
// each principal phase read as that phase, the gaps after them fall to the preceding name.
int phaseNumberForFraction(double fraction);
// The next count principal phases after date.
std::vector<PhaseRecord> nextPhases(int count, Date date);
// Principal phases after from, up to the first at or after to (which is included).
std::vector<PhaseRecord> phasesBetweenDates(Date from, Date to);
// English name of a phase number, the key of the "time" string table; empty for other numbers.
std::string nameForPhase(int phase);

} // namespace corvane
