#pragma once

#include <array>
#include <cstdint>

namespace corvane {

// Every ring holds this many samples, whatever its interval.
inline constexpr std::int64_t kMaximumSamples = 602;
// The widest sample of any collector; peak arrays are sized for it.
inline constexpr std::int64_t kMaximumSampleValues = 19;

// Tiers a process allocates: the settings application keeps only the live tier, the status-item
// process all of them.
inline constexpr int kSettingsTierCount = 1;
inline constexpr int kLoggingTierCount = 9;
inline constexpr int kMaximumTierCount = 9;
// The long-term log: periods of 300 seconds written to their own database, never kept in a ring.
inline constexpr int kLongTermTier = 8;
inline constexpr double kLongTermAlignment = 300.0;

struct SampleTierRow {
    double interval;           // seconds between samples
    std::int64_t historyIndex; // the tier averaged to make one sample of this one
};

inline constexpr std::array<SampleTierRow, kMaximumTierCount> kSampleTierTable{{
    {1.0, 0},     // 10 minutes
    {6.0, 0},     // 1 hour
    {144.0, 1},   // 24 hours
    {1008.0, 1},  // 7 days
    {4320.0, 2},  // 30 days
    {12960.0, 2}, // 90 days
    {25920.0, 2}, // 180 days
    {52560.0, 2}, // 1 year
    {300.0, 0},   // long-term log
}};

// Whether a tier of this index keeps a ring at all.
constexpr bool tierHasRing(int tier) {
    return tier >= 0 && tier < kLongTermTier;
}

} // namespace corvane
