// The menu-bar clock is drawn every second: a frame within a minute reuses the minute's
// picture and draws only the seconds (goal: 100 µs); a frame that starts a new minute draws
// everything (goal: 1 ms). Both at scale 2, with two locations, icons and seconds.
#include "TemporaryPreferences.h"
#include "clock/CityStatCollector.h"
#include "drawing/Artwork.h"
#include "drawing/CVBTimeMenuExtraView.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corvane;

Value format() {
    const auto line = [](std::initializer_list<const char*> components) {
        Value list = Value::array();
        for (const char* c : components)
            list.append(c);
        return list;
    };
    return Value::array(
        {Value::dict({{"format", Value::array({line({"___ICON__BLUE___", "EEE", "' '", "d", "'. '",
                                                     "HH", "':'", "mm", "':'", "ss"})})}}),
         Value::dict({{"lines", 2},
                      {"timezone", "Asia/Kathmandu"},
                      {"timezone-2", "America/St_Johns"},
                      {"format", Value::array({line({"HH", "':'", "mm", "' '", "__RELATIVE_DAY__"}),
                                               line({"HH", "':'", "mm", "':'", "ss"})})}})});
}

struct ClockFrames {
    bench::TemporaryPreferences preferences{"clock"};
    CVBCache artwork;
    CVBTimeMenuExtraView view{
        DrawingContext::forHost(CVBPreferences::sharedPreferences(), artwork, 2.0),
        preferences.queue().clock()};
    Image strip{400, Surface::kStripHeight, 2.0};
    Surface surface{strip};
    Value locations = format();

    ClockFrames() {
        view.setClockLocale("de_DE", "Europe/Berlin");
        view.setSurface(&surface);
    }
    ~ClockFrames() { view.setSurface(nullptr); }
};

constexpr double kMinuteStart = 1700000040; // 22:14:00 UTC

void BM_ClockFrameCached(benchmark::State& state) {
    ClockFrames f;
    // Learn the width, then keep the minute's picture.
    f.view.drawTimeAtOffset(0, kMinuteStart, 1, f.locations);
    f.view.drawTimeAtOffset(0, kMinuteStart, 1, f.locations);
    double second = 0;
    for (auto _ : state) {
        second = second >= 58 ? 1 : second + 1;
        benchmark::DoNotOptimize(f.view.drawTimeAtOffset(0, kMinuteStart + second, 1, f.locations));
    }
}
BENCHMARK(BM_ClockFrameCached);

void BM_ClockFrameNewMinute(benchmark::State& state) {
    ClockFrames f;
    double minute = 0;
    for (auto _ : state) {
        minute += 60;
        benchmark::DoNotOptimize(f.view.drawTimeAtOffset(0, kMinuteStart + minute, 1, f.locations));
    }
}
BENCHMARK(BM_ClockFrameNewMinute);

// What the city search of the Time page runs for each word typed: three letters match
// hundreds of rows across the name, state and country queries (goal: median 20 ms).
void BM_CitySearchThreeLetters(benchmark::State& state) {
    const auto path = CityStatCollector::defaultDatabasePath();
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("no cities database");
        return;
    }
    ManualMainQueue queue;
    CityStatCollector cities(queue, path);
    const char* words[] = {"san", "st ", "ber", "new", "kar", "lon"};
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(cities.citiesWithMatch(words[i++ % std::size(words)]));
}
BENCHMARK(BM_CitySearchThreeLetters)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
