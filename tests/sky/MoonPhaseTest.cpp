#include "sky/MoonPhase.h"

#include "SkyTestSupport.h"
#include "UsnoMoonTables.h"

#include <gtest/gtest.h>
#include <string>

namespace corvane {
namespace {

using usno::label;

double usnoTime(const usno::PhaseTime& p) {
    return skytest::utc(2020, p.month, p.day, p.hour, p.minute);
}

TEST(MoonPhase, NextPhasesListTheNavalObservatoryPhasesOf2020) {
    const std::vector<PhaseRecord> phases =
        nextPhases(static_cast<int>(std::size(usno::kPhases2020)), Date{skytest::utc(2020, 1, 1)});
    ASSERT_EQ(phases.size(), std::size(usno::kPhases2020));
    skytest::WorstError worst("nextPhases vs USNO 2020 phases", "min");
    for (std::size_t i = 0; i < phases.size(); ++i) {
        const usno::PhaseTime& p = usno::kPhases2020[i];
        EXPECT_EQ(phases[i].phase, 2 * p.quarter) << label(p);
        EXPECT_NEAR(phases[i].age, p.quarter / 4.0 * 29.53, 1e-9) << label(p);
        worst.add((phases[i].time - usnoTime(p)) / 60.0, label(p));
    }
    EXPECT_LT(worst.worst(), 3.0);
}

TEST(MoonPhase, NextPhasesDoNotSkipAPhaseDueWithinHours) {
    for (const usno::PhaseTime& p : usno::kPhases2020) {
        for (double hoursBefore : {1.0, 6.0, 14.0}) {
            const std::vector<PhaseRecord> next =
                nextPhases(1, Date{usnoTime(p) - hoursBefore * 3600.0});
            ASSERT_EQ(next.size(), 1u);
            EXPECT_EQ(next[0].phase, 2 * p.quarter) << label(p) << " -" << hoursBefore << "h";
            EXPECT_NEAR(next[0].time, usnoTime(p), 300.0) << label(p) << " -" << hoursBefore << "h";
        }
    }
}

TEST(MoonPhase, PhasesBetweenDatesStopAtTheFirstAtOrAfterTheEnd) {
    const std::vector<PhaseRecord> phases =
        phasesBetweenDates(Date{skytest::utc(2020, 3, 1)}, Date{skytest::utc(2020, 4, 1)});
    // 2 Mar first quarter, 9 Mar full, 16 Mar last quarter, 24 Mar new, 1 Apr first quarter.
    ASSERT_EQ(phases.size(), 5u);
    EXPECT_EQ(phases.front().phase, 2);
    EXPECT_EQ(phases[3].phase, 0);
    EXPECT_NEAR(phases[3].time, skytest::utc(2020, 3, 24, 9, 28), 300.0);
    EXPECT_EQ(phases.back().phase, 2);
    EXPECT_GE(phases.back().time, skytest::utc(2020, 4, 1));
}

TEST(MoonPhase, CurrentPhaseNamesThePrincipalPhaseJustAfterItAndTheBetweenPhasesOtherwise) {
    skytest::WorstError illumination("currentPhase illumination at USNO 2020 phases", "");
    for (const usno::PhaseTime& p : usno::kPhases2020) {
        const double at = usnoTime(p);
        EXPECT_EQ(currentPhase(Date{at + 30.0 * 60.0}).phase, 2 * p.quarter) << label(p);
        // Three days on, the moon is in the crescent or gibbous that follows.
        EXPECT_EQ(currentPhase(Date{at + 3.0 * 86400.0}).phase, 2 * p.quarter + 1) << label(p);
        const CurrentPhase now = currentPhase(Date{at});
        const double expected = p.quarter % 2 == 1 ? 0.5 : (p.quarter == 2 ? 1.0 : 0.0);
        illumination.add(now.illumination - expected, label(p));
    }
    EXPECT_LT(illumination.worst(), 0.02);
}

} // namespace
} // namespace corvane
