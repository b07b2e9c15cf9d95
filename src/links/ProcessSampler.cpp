#include "links/ProcessSampler.h"

#include <algorithm>
#include <charconv>
#include <unistd.h>
#include <vector>

namespace corvane {

namespace {

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<long> pidOf(std::string_view name) {
    const auto value = number(name);
    return value && *value > 0 ? std::optional<long>(static_cast<long>(*value)) : std::nullopt;
}

// "read_bytes: N" and "write_bytes: N" of /proc/<pid>/io: what reached the disks.
std::optional<std::uint64_t> ioField(std::string_view text, std::string_view field) {
    const auto at = text.find(field);
    if (at == std::string_view::npos)
        return std::nullopt;
    auto rest = text.substr(at + field.size());
    rest = rest.substr(0, rest.find('\n'));
    return number(rest.substr(std::min(rest.find_first_not_of(' '), rest.size())));
}

double rate(std::optional<std::uint64_t> now, std::optional<std::uint64_t> before, double elapsed) {
    return now && before && *now >= *before && elapsed > 0
               ? static_cast<double>(*now - *before) / elapsed
               : 0.0;
}

Value combinedByName(const Value& rows) {
    Value combined = Value::array();
    std::unordered_map<std::string, std::size_t> at;
    for (const auto& row : rows.arrayItems()) {
        const auto [it, added] = at.emplace(row["name"].stringValue(), combined.size());
        if (added) {
            combined.append(row);
            continue;
        }
        Value& into = combined.mutableArray()[it->second];
        for (const char* field : {"cpu", "memory", "read", "written"})
            if (row.contains(field))
                into.set(field, Value(into[field].doubleValue() + row[field].doubleValue()));
        into.set("pid", Value(std::min(into["pid"].integerValue(), row["pid"].integerValue())));
    }
    return combined;
}

} // namespace

ProcessSampler::ProcessSampler(SysRoot root, const DesktopEntries& entries, long ticksPerSecond,
                               long pageSize)
    : root_(std::move(root))
    , entries_(entries)
    , ticksPerSecond_(
          static_cast<double>(ticksPerSecond > 0 ? ticksPerSecond : ::sysconf(_SC_CLK_TCK)))
    , pageSize_(static_cast<double>(pageSize > 0 ? pageSize : ::sysconf(_SC_PAGESIZE))) {}

Value ProcessSampler::row(long pid, const ProcessStat& stat, double elapsed) {
    auto& known = known_[pid];
    const bool same = known.info.isDictionary() && known.startTicks == stat.startTicks;
    const std::string folder = "/proc/" + std::to_string(pid);
    const auto io = root_.readFile(folder + "/io", 4096);
    const auto read = io ? ioField(*io, "read_bytes:") : std::nullopt;
    const auto written = io ? ioField(*io, "write_bytes:") : std::nullopt;

    Value row = same ? known.info : processInfo(root_, entries_, pid);
    if (!same && row.empty()) // gone between the listing and now
        row =
            Value::dict({{"pid", Value(static_cast<long long>(pid))}, {"name", Value(stat.name)}});
    const bool measured = same && elapsed > 0 && stat.ticks >= known.ticks;
    row.set("cpu", Value(measured ? 100.0 * static_cast<double>(stat.ticks - known.ticks) /
                                        (ticksPerSecond_ * elapsed)
                                  : 0.0));
    row.set("memory", Value(static_cast<double>(stat.residentPages) * pageSize_));
    if (io) {
        row.set("read", Value(same ? rate(read, known.read, elapsed) : 0.0));
        row.set("written", Value(same ? rate(written, known.written, elapsed) : 0.0));
    }
    if (!same) {
        Value info = row;
        for (const char* field : {"cpu", "memory", "read", "written"})
            info.erase(field);
        known.info = std::move(info);
    }
    known.startTicks = stat.startTicks;
    known.ticks = stat.ticks;
    known.read = read;
    known.written = written;
    return row;
}

Value ProcessSampler::sample(double now, bool combine) {
    const double elapsed = last_ ? now - *last_ : 0.0;
    last_ = now;
    Value rows = Value::array();
    std::unordered_map<long, Known> seen;
    for (const auto& name : root_.list("/proc")) {
        const auto pid = pidOf(name);
        if (!pid)
            continue;
        const auto line = root_.readFile("/proc/" + name + "/stat", 4096);
        const auto stat = line ? parseProcessStat(*line) : std::nullopt;
        if (!stat)
            continue;
        rows.append(row(*pid, *stat, elapsed));
        seen.emplace(*pid, std::move(known_[*pid]));
    }
    known_ = std::move(seen); // forget the processes that ended
    if (combine)
        rows = combinedByName(rows);
    auto& items = rows.mutableArray();
    std::stable_sort(items.begin(), items.end(), [](const Value& a, const Value& b) {
        const double x = a["cpu"].doubleValue(), y = b["cpu"].doubleValue();
        return x != y ? x > y : a["pid"].integerValue() < b["pid"].integerValue();
    });
    return rows;
}

} // namespace corvane
