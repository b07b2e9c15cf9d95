#include "collectors/cpu/CPUStatCollectorLinux.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <memory>

namespace corvane {

namespace {

std::unique_ptr<CPUStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<CPUStatCollectorLinux> instance;
    return instance;
}

bool isCpuLine(std::string_view line) {
    return line.size() > 3 && line.substr(0, 3) == "cpu" && line[3] >= '0' && line[3] <= '9';
}

} // namespace

CPUStatCollectorLinux::CPUStatCollectorLinux(const EngineContext& context, SysRoot root)
    : CPUStatCollector(context)
    , root_(std::move(root))
    , stat_(root_, "/proc/stat")
    , loadavg_(root_, "/proc/loadavg") {}

CPUStatCollectorLinux& CPUStatCollectorLinux::sharedCPUCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance) {
        instance = std::make_unique<CPUStatCollectorLinux>(context, SysRoot::fromEnvironment());
        instance->setup();
    }
    return *instance;
}

void CPUStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

// The kernel counts ten states; the collector takes four, so that user + system + nice is the
// busy time that top shows (everything but idle and iowait):
//   user   = user            (guest time is already part of user)
//   system = system + irq + softirq + steal
//   idle   = idle + iowait   (waiting for a disk is not work of the processor)
//   nice   = nice            (guest_nice is already part of nice)
std::optional<CPUStatCollector::Ticks>
CPUStatCollectorLinux::ticksFromStatLine(std::string_view line) {
    const auto fields = splitWhitespace(line);
    if (fields.size() < 5 || !isCpuLine(fields[0]))
        return std::nullopt;
    std::array<std::uint64_t, 8> state{};
    for (std::size_t i = 0; i < state.size() && i + 1 < fields.size(); ++i) {
        auto value = parseUnsigned(fields[i + 1]);
        if (!value)
            return std::nullopt;
        state[i] = *value;
    }
    enum { User, Nice, System, Idle, IoWait, Irq, SoftIrq, Steal };
    return Ticks{state[User], state[System] + state[Irq] + state[SoftIrq] + state[Steal],
                 state[Idle] + state[IoWait], state[Nice]};
}

std::vector<int> CPUStatCollectorLinux::parseCpuList(std::string_view text) {
    std::vector<int> cpus;
    text = trimmed(text);
    while (!text.empty()) {
        const auto comma = text.find(',');
        const std::string_view range = text.substr(0, comma);
        const auto dash = range.find('-');
        const auto first = parseInteger(range.substr(0, dash));
        const auto last =
            dash == std::string_view::npos ? first : parseInteger(range.substr(dash + 1));
        if (first && last && *first >= 0 && *last >= *first && *last < 65536) {
            for (auto cpu = *first; cpu <= *last; ++cpu)
                cpus.push_back(static_cast<int>(cpu));
        }
        if (comma == std::string_view::npos)
            break;
        text.remove_prefix(comma + 1);
    }
    return cpus;
}

std::vector<int> CPUStatCollectorLinux::onlineCpus() const {
    if (auto online = root_.readAttribute("/sys/devices/system/cpu/online"))
        return parseCpuList(*online);
    return {};
}

std::optional<CPUStatCollectorLinux::Core> CPUStatCollectorLinux::coreOf(int cpu) const {
    const std::string topology = "/sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/topology/";
    const auto core = root_.readInteger(topology + "core_id");
    if (!core)
        return std::nullopt;
    const auto package = root_.readInteger(topology + "physical_package_id");
    return Core{static_cast<int>(package.value_or(0)), static_cast<int>(*core)};
}

std::map<CPUStatCollectorLinux::Core, std::vector<int>> CPUStatCollectorLinux::onlineCores() const {
    std::map<Core, std::vector<int>> cores;
    for (int cpu : onlineCpus()) {
        if (auto core = coreOf(cpu))
            cores[*core].push_back(cpu);
    }
    return cores;
}

std::int64_t CPUStatCollectorLinux::logicalCoreCount() {
    const auto online = onlineCpus();
    return online.empty() ? static_cast<std::int64_t>(processorTicks().size())
                          : static_cast<std::int64_t>(online.size());
}

std::int64_t CPUStatCollectorLinux::physicalCoreCount() {
    const auto cores = onlineCores();
    // Without topology each logical processor counts as a core of its own.
    return cores.empty() ? logicalCoreCount() : static_cast<std::int64_t>(cores.size());
}

std::vector<std::array<std::size_t, 2>> CPUStatCollectorLinux::physicalCorePairs(std::size_t) {
    if (processors_.empty())
        processorTicks();
    std::vector<std::vector<int>> groups;
    for (const auto& [core, cpus] : onlineCores())
        groups.push_back(cpus);
    // Physical cores in the order of their first thread.
    std::sort(groups.begin(), groups.end());
    std::vector<std::array<std::size_t, 2>> pairs;
    auto position = [this](int cpu) {
        return static_cast<std::size_t>(std::find(processors_.begin(), processors_.end(), cpu) -
                                        processors_.begin());
    };
    for (const auto& cpus : groups) {
        if (cpus.size() == 2)
            pairs.push_back({position(cpus[0]), position(cpus[1])});
        else
            pairs.push_back({processors_.size(), processors_.size()}); // reads as 0, 0
    }
    return pairs;
}

std::vector<CPUStatCollector::Ticks> CPUStatCollectorLinux::processorTicks() {
    std::map<int, Ticks> current;
    if (auto stat = stat_.read()) {
        for (auto line : splitLines(*stat)) {
            if (!isCpuLine(line))
                continue;
            auto ticks = ticksFromStatLine(line);
            const auto id = parseInteger(splitWhitespace(line)[0].substr(3));
            if (ticks && id)
                current[static_cast<int>(*id)] = *ticks;
        }
    }
    if (current.empty())
        return {}; // unreadable: no counters, rather than the last ones again
    if (processors_.empty()) {
        // Every present processor has an item, so that one going off line and coming back
        // keeps its place.
        if (auto present = root_.readAttribute("/sys/devices/system/cpu/present"))
            processors_ = parseCpuList(*present);
        for (const auto& [id, ticks] : current) {
            if (std::find(processors_.begin(), processors_.end(), id) == processors_.end())
                processors_.push_back(id);
        }
        std::sort(processors_.begin(), processors_.end());
        lastTicks_.assign(processors_.size(), Ticks{});
        read_.assign(processors_.size(), false);
    }
    // An offline processor is not in /proc/stat: it keeps its last counters, so it shows no
    // load. One read for the first time (off line until now) brings everything it counted
    // since boot: that is its baseline, not one interval's work.
    for (std::size_t i = 0; i < processors_.size(); ++i) {
        auto it = current.find(processors_[i]);
        if (it == current.end())
            continue;
        lastTicks_[i] = it->second;
        if (!read_[i])
            rebaseline(i, it->second);
        read_[i] = true;
    }
    return lastTicks_;
}

CPUStatCollector::ProcessInfo CPUStatCollectorLinux::processInfo() {
    ProcessInfo info;
    if (!countsTasks_)
        return info;
    // The fourth field of loadavg is "running/total" scheduling entities: threads.
    if (auto loadavg = loadavg_.read()) {
        const auto fields = splitWhitespace(*loadavg);
        if (fields.size() >= 4) {
            const auto slash = fields[3].find('/');
            if (slash != std::string_view::npos) {
                if (auto threads = parseInteger(fields[3].substr(slash + 1)))
                    info.threads = static_cast<std::int32_t>(*threads);
            }
        }
    }
    info.tasks = static_cast<std::int32_t>(countNumericEntries(root_, "/proc"));
    return info;
}

} // namespace corvane
