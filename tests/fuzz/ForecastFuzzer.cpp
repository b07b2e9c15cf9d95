// The reader of forecast answers, which come from a service outside this machine. Beyond not
// crashing, an accepted answer gives a record whose numbers are all real readings in range:
// the views show them as they stand.
#include "collectors/weather/ForecastRecord.h"
#include "foundation/Json.h"
#include "foundation/Log.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace corvane;

namespace {

void requireWithin(const Value& value, double lowest, double highest) {
    if (value.isNull())
        return;
    const double number = value.doubleValue();
    if (!std::isfinite(number) || number < lowest || number > highest)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Every refusal logs a line, which would be most of the time spent.
    static LogCapture quiet([](std::string_view) {}, LogEcho::Silenced);
    const std::string_view answer(reinterpret_cast<const char*>(data), size);
    const ForecastPlace place{"-7", "Here", 52.5, 13.4};
    const auto record = forecastRecordFromAnswer(answer, place, 1'795'511'700);
    if (!record)
        return 0;
    const Value& now = (*record)["currently"];
    if (!now["time"].isNumber())
        std::abort();
    for (const char* key : {"temperature", "apparent", "dew"})
        requireWithin(now[key], -100, 70);
    requireWithin(now["humidity"], 0, 100);
    if ((*record)["hourly"].size() > std::size_t(forecast::kHoursKept))
        std::abort();
    for (const Value& day : (*record)["forecast"].arrayItems()) {
        if (!(day["end"].doubleValue() > day["start"].doubleValue()))
            std::abort();
        requireWithin(day["temperature-high"], -100, 70);
        requireWithin(day["precipitation"]["probability"], 0, 100);
    }
    // What is kept across restarts reads back as it was written.
    if (!(parseJson(toJson(*record)) == *record))
        std::abort();
    return 0;
}
