// Costs of the moon work behind the time dropdown: the sky data of one moment, one day's rise
// and set search, and the VSOP87 earth that the limb angle needs.
#include "sky/MoonRiseSet.h"
#include "sky/MoonSkyData.h"
#include "sky/SiderealTime.h"
#include "sky/Vsop87Earth.h"

#include <benchmark/benchmark.h>

namespace {

constexpr double kJulianDay = 2458493.5; // 2019 January 10, 0h UT
constexpr double kLongitude = -81.0;
constexpr double kLatitude = 29.0;

void BM_FetchMoonSkyData(benchmark::State& state) {
    double jd = kJulianDay;
    for (auto _ : state) {
        const double lst = corvane::localSiderealTimeForJulianDayLongitude(jd, kLongitude);
        benchmark::DoNotOptimize(corvane::fetchMoonSkyData(jd, lst, kLongitude, kLatitude));
        jd += 1e-6;
    }
}
BENCHMARK(BM_FetchMoonSkyData);

void BM_MoonRiseSetOneDay(benchmark::State& state) {
    const double mjd = kJulianDay - 2400000.5;
    const double dayStart = (kJulianDay - 2440587.5) * 86400.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(corvane::moonRiseSet(mjd, 0.0, dayStart, kLongitude, kLatitude));
    }
}
BENCHMARK(BM_MoonRiseSetOneDay);

void BM_Vsop87EarthPosition(benchmark::State& state) {
    double jd = kJulianDay;
    for (auto _ : state) {
        corvane::EARTH_EarthCompute(jd);
        benchmark::DoNotOptimize(corvane::EARTH_earthL());
        jd += 1e-6;
    }
}
BENCHMARK(BM_Vsop87EarthPosition);

} // namespace
BENCHMARK_MAIN();
