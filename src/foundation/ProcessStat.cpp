#include "foundation/ProcessStat.h"

#include "foundation/TextParsing.h"

#include <vector>

namespace corvane {

std::optional<ProcessStat> parseProcessStat(std::string_view line) {
    const auto open = line.find('(');
    const auto close = line.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return std::nullopt;
    // fields[0] is the state, field 3 of the line: utime and stime are 14 and 15, starttime
    // 22 and rss 24.
    const std::vector<std::string_view> fields = splitWhitespace(line.substr(close + 1));
    constexpr std::size_t kUser = 11, kSystem = 12, kStart = 19, kResident = 21;
    if (fields.size() <= kResident)
        return std::nullopt;
    const auto user = parseUnsigned(fields[kUser]), system = parseUnsigned(fields[kSystem]);
    const auto start = parseUnsigned(fields[kStart]);
    const auto resident = parseUnsigned(fields[kResident]);
    if (!user || !system || !start || !resident)
        return std::nullopt;
    return ProcessStat{std::string(line.substr(open + 1, close - open - 1)), *user + *system,
                       *start, *resident};
}

} // namespace corvane
