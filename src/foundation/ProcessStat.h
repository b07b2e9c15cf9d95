#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// The fields of a /proc/<pid>/stat line that the process lists use.
struct ProcessStat {
    std::string name;
    std::uint64_t ticks = 0;      // user and system time, in clock ticks
    std::uint64_t startTicks = 0; // when the process started, in clock ticks since boot
    std::uint64_t residentPages = 0;
};

// "pid (name) state ppid ..." as the kernel writes it; the name may hold blanks and
// parentheses, so it runs to the last ")". Nothing for a line cut short or not numbers where
// numbers belong.
std::optional<ProcessStat> parseProcessStat(std::string_view line);

} // namespace corvane
