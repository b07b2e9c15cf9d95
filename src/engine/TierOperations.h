#pragma once

#include "engine/SampleRecords.h"
#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <span>

// The rules that collectors and items share for writing and reading a ring.
namespace corvane::tier {

// The identifier a new sample gets: the last of the "addSampleIDKeys" names present wins; 0 or
// absent means the newest identifier plus one. Nothing when the sample must be refused: below 1,
// or not newer than the newest sample.
std::optional<std::uint64_t> identifierForSample(const Value& config, const Value& sample,
                                                 std::uint64_t newestID);

// How a sample's "empty" becomes the slot flag: a collector takes any integer, an item only an
// exact 1.
enum class EmptyRule { Integer, ExactlyOne };

// Writes one slot from a sample dictionary through "addSampleMap"; slots at or above the value
// count are skipped. Allocates nothing.
void writeSlot(const Value& config, const Value& sample, statsample& slot, std::int64_t valueCount,
               std::uint64_t sampleID, EmptyRule rule);

// Sums of every value over the slots of `ring` that fall in the period (start, limit], walking
// from slot 0 and stopping at the first sample at or before `start`. With `bounded` false every
// non-empty slot counts. Returns how many samples were added.
std::int64_t accumulate(const sampleindexconfig& ring, std::int64_t valueCount, double start,
                        double limit, bool bounded, double* sums);

// The averages dictionary: "empty", "time" and one entry per "sampleKeys" name in range.
Value averagesDictionary(const Value& config, const double* sums, std::int64_t count,
                         std::int64_t valueCount, double time);

// How a period's average is taken and stamped: a collector counts only samples of a period
// that has begun (a start of 0 means no clock yet) and stamps the average with the time it is
// made; an item counts every sample of its history tier and stamps the period's start.
enum class PeriodRule { Collector, Item };

// The averages of the tier's current period over the samples of its history tier.
Value averagesForPeriod(std::span<const sampleindexconfig> tiers, int tierIndex,
                        const Value& config, std::int64_t valueCount, PeriodRule rule, double now);

enum class Threshold { Below, AtOrAbove };

// Whether the sum of the listed slots kept to the threshold for the last `forTime` seconds.
bool indexesKeptThreshold(const sampleindexconfig& ring, std::int64_t valueCount,
                          std::span<const int> indexes, double value, double forTime, double now,
                          Threshold threshold);

// The record with this identifier, or nothing.
std::optional<statsample> findIdentifier(const sampleindexconfig& ring, std::uint64_t id);

// Largest identifier a double may carry into an unsigned 64-bit slot.
inline constexpr double kLargestIdentifier = 9.0e18;

} // namespace corvane::tier
