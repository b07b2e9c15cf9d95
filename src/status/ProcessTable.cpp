#include "status/ProcessTable.h"

#include "foundation/ProcessStat.h"

#include <algorithm>
#include <charconv>
#include <unistd.h>

namespace corvane {

namespace {

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool isPid(std::string_view name) {
    return !name.empty() &&
           std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The kernel keeps 15 bytes of a name; the command line has the rest. Only a name cut there is
// worth the second read, and only a command whose first word starts with it replaces it
// (a program may have renamed itself).
std::string fullName(const SysRoot& root, const std::string& pid, std::string name) {
    constexpr std::size_t kKernelNameLength = 15;
    if (name.size() != kKernelNameLength)
        return name;
    const auto command = root.readFile("/proc/" + pid + "/cmdline", 4096);
    if (!command)
        return name;
    std::string_view first(command->c_str()); // up to the first NUL
    if (const auto slash = first.rfind('/'); slash != std::string_view::npos)
        first.remove_prefix(slash + 1);
    return first.starts_with(name) ? std::string(first) : name;
}

// Processes of one name as one row, as the "Combine Processes" choice asks.
std::vector<ProcessUsage> combinedByName(const std::vector<ProcessUsage>& all) {
    std::vector<ProcessUsage> combined;
    std::unordered_map<std::string, std::size_t> at;
    for (const auto& process : all) {
        const auto [it, added] = at.emplace(process.name, combined.size());
        if (added) {
            combined.push_back(process);
            continue;
        }
        auto& row = combined[it->second];
        row.cpuPercent += process.cpuPercent;
        row.residentKilobytes += process.residentKilobytes;
        row.pid = std::min(row.pid, process.pid);
    }
    return combined;
}

template <class Better>
std::vector<ProcessUsage> top(std::vector<ProcessUsage> all, std::size_t count, Better better) {
    const auto cut = std::min(count, all.size());
    std::partial_sort(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(cut), all.end(),
                      [&](const ProcessUsage& a, const ProcessUsage& b) {
                          const double x = better(a), y = better(b);
                          return x != y ? x > y : a.pid < b.pid;
                      });
    all.resize(cut);
    return all;
}

} // namespace

ProcessTable::ProcessTable(SysRoot root, long ticksPerSecond, long pageSize)
    : root_(std::move(root))
    , ticksPerSecond_(
          static_cast<double>(ticksPerSecond > 0 ? ticksPerSecond : ::sysconf(_SC_CLK_TCK)))
    , pageKilobytes_(static_cast<double>(pageSize > 0 ? pageSize : ::sysconf(_SC_PAGESIZE)) /
                     1024.0) {
    if (ticksPerSecond_ <= 0)
        ticksPerSecond_ = 100;
}

void ProcessTable::scan(double now) {
    const double elapsed = scannedAt_ ? now - *scannedAt_ : 0.0;
    std::unordered_map<int, std::uint64_t> ticks;
    std::unordered_map<int, std::string> names;
    std::vector<ProcessUsage> processes;
    for (const auto& entry : root_.list("/proc")) {
        if (!isPid(entry))
            continue;
        const auto text = root_.readFile("/proc/" + entry + "/stat", 4096);
        // A process that ended between the listing and the read is simply gone.
        const auto line = text ? parseProcessStat(*text) : std::nullopt;
        if (!line)
            continue;
        const int pid = static_cast<int>(number(entry).value_or(0));
        // A process keeps its name: the command line is read once, not every scan.
        const auto known = lastNames_.find(pid);
        std::string name = known != lastNames_.end() && known->second.starts_with(line->name)
                               ? known->second
                               : fullName(root_, entry, line->name);
        names.emplace(pid, name);
        ProcessUsage usage{pid, std::move(name), 0.0,
                           static_cast<double>(line->residentPages) * pageKilobytes_};
        const auto before = lastTicks_.find(pid);
        // Ticks that went backwards belong to a new process under an old pid.
        if (before != lastTicks_.end() && elapsed > 0 && line->ticks >= before->second)
            usage.cpuPercent = static_cast<double>(line->ticks - before->second) / ticksPerSecond_ /
                               elapsed * 100.0;
        ticks.emplace(pid, line->ticks);
        processes.push_back(std::move(usage));
    }
    measured_ = elapsed > 0;
    lastTicks_ = std::move(ticks);
    lastNames_ = std::move(names);
    processes_ = std::move(processes);
    scannedAt_ = now;
}

void ProcessTable::forget() {
    scannedAt_.reset();
    measured_ = false;
    lastTicks_.clear();
    processes_.clear();
}

std::vector<ProcessUsage> ProcessTable::topByCPU(std::size_t count, bool combine) const {
    return top(combine ? combinedByName(processes_) : processes_, count,
               [](const ProcessUsage& p) { return p.cpuPercent; });
}

std::vector<ProcessUsage> ProcessTable::topByMemory(std::size_t count, bool combine) const {
    return top(combine ? combinedByName(processes_) : processes_, count,
               [](const ProcessUsage& p) { return p.residentKilobytes; });
}

} // namespace corvane
