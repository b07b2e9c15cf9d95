#include "collectors/cpu/ProcessorStatus.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace corvane {

namespace {

// Core samples may hold values that are not numbers; they read as 0.
double shown(double value) {
    return std::isfinite(value) ? value : 0.0;
}

double total(const statsample& s) {
    return shown(s.values[CPUStatCollectorItem::User]) +
           shown(s.values[CPUStatCollectorItem::System]) +
           shown(s.values[CPUStatCollectorItem::Nice]);
}

Value shares(const statsample& s) {
    return Value::dict({{"user", shown(s.values[CPUStatCollectorItem::User])},
                        {"system", shown(s.values[CPUStatCollectorItem::System])},
                        {"nice", shown(s.values[CPUStatCollectorItem::Nice])},
                        {"total", total(s)}});
}

std::string percentages(const Value& v) {
    char text[96];
    std::snprintf(text, sizeof text, "user %5.1f%%  system %5.1f%%  nice %5.1f%%  total %5.1f%%",
                  v["user"].doubleValue(), v["system"].doubleValue(), v["nice"].doubleValue(),
                  v["total"].doubleValue());
    return text;
}

std::string averages(const statsample& s) {
    char text[64];
    std::snprintf(text, sizeof text, "%.2f %.2f %.2f",
                  shown(s.values[LoadStatCollector::OneMinute]),
                  shown(s.values[LoadStatCollector::FiveMinutes]),
                  shown(s.values[LoadStatCollector::FifteenMinutes]));
    return text;
}

// A sample taken that holds a measurement: an unreadable source leaves its sample empty.
bool measured(const statsample& s) {
    return s.time > 0 && s.empty == 0;
}

// The processes and threads, each where it was counted: a running machine has at least one.
std::string processCounts(const CPUStatCollector& cpu) {
    std::string text;
    if (cpu.taskCount() > 0)
        text += "   tasks " + std::to_string(cpu.taskCount());
    if (cpu.threadCount() > 0)
        text += (text.empty() ? "   threads " : "  threads ") + std::to_string(cpu.threadCount());
    return text;
}

} // namespace

bool ProcessorStatus::hasProcessorLoad() const {
    if (!measured(cpu_.sampleAtIndex(0, 0)))
        return false;
    // Counters that never moved were never read: a running processor has ticked since boot.
    for (const auto& core : cpu_.logicalCores()) {
        for (auto ticks : core->newestTicks()) {
            if (ticks > 0)
                return true;
        }
    }
    return false;
}

bool ProcessorStatus::hasLoadAverages() const {
    return measured(load_.sampleAtIndex(0, 0));
}

std::optional<double> ProcessorStatus::totalPercent() const {
    if (!hasProcessorLoad())
        return std::nullopt;
    return total(cpu_.sampleAtIndex(0, 0));
}

Value ProcessorStatus::dictionary() const {
    Value status = Value::dict();
    if (hasProcessorLoad()) {
        const statsample machine = cpu_.sampleAtIndex(0, 0);
        Value cpu = shares(machine);
        cpu.set("time", machine.time);
        Value cores = Value::array();
        for (const auto& core : cpu_.logicalCores()) {
            Value entry = shares(core->sampleAtIndex(0, 0));
            entry.set("core", core->key());
            cores.append(std::move(entry));
        }
        Value physical = Value::array();
        for (const auto& core : cpu_.physicalCores())
            physical.append(shares(core->sampleAtIndex(0, 0)));
        status.set("cpu", cpu);
        status.set("cores", cores);
        status.set("physicalCores", physical);
    }
    if (hasLoadAverages()) {
        const statsample load = load_.sampleAtIndex(0, 0);
        status.set(
            "load",
            Value::dict({{"one", shown(load.values[LoadStatCollector::OneMinute])},
                         {"five", shown(load.values[LoadStatCollector::FiveMinutes])},
                         {"fifteen", shown(load.values[LoadStatCollector::FifteenMinutes])}}));
    }
    if (cpu_.threadCount() > 0)
        status.set("threads", static_cast<int>(cpu_.threadCount()));
    if (cpu_.taskCount() > 0)
        status.set("tasks", static_cast<int>(cpu_.taskCount()));
    return status;
}

std::string ProcessorStatus::text() const {
    const Value status = dictionary();
    std::string out;
    if (!status.contains("cpu"))
        out = "CPU       unavailable: no processor counters could be read\n";
    else
        out = "CPU       " + percentages(status["cpu"]) + "\n";
    for (const auto& core : status["cores"].arrayItems()) {
        char label[32];
        std::snprintf(label, sizeof label, "  %-7s ", core["core"].string().c_str());
        out += label + percentages(core) + "\n";
    }
    int index = 0;
    for (const auto& core : status["physicalCores"].arrayItems()) {
        char label[32];
        std::snprintf(label, sizeof label, "  core %-2d ", index++);
        out += label + percentages(core) + "\n";
    }
    const std::string loads =
        status.contains("load") ? averages(load_.sampleAtIndex(0, 0)) : "unavailable";
    return out + "Load      " + loads + processCounts(cpu_) + "\n";
}

std::string ProcessorStatus::line() const {
    const statsample machine = cpu_.sampleAtIndex(0, 0);
    // A beat may fire a moment before its whole second; the nearest second is the one it is for.
    const auto seconds = static_cast<std::time_t>(std::lround(machine.time));
    std::tm tm{};
    localtime_r(&seconds, &tm);
    char clock[16];
    std::strftime(clock, sizeof clock, "%H:%M:%S", &tm);
    const std::string loads =
        hasLoadAverages() ? averages(load_.sampleAtIndex(0, 0)) : "unavailable";
    if (!hasProcessorLoad())
        return std::string(clock) + "  CPU unavailable  load " + loads;
    const Value cpu = shares(machine);
    char text[160];
    std::snprintf(text, sizeof text,
                  "%s  CPU %5.1f%% (user %5.1f, system %5.1f, nice %5.1f)  load %s", clock,
                  cpu["total"].doubleValue(), cpu["user"].doubleValue(),
                  cpu["system"].doubleValue(), cpu["nice"].doubleValue(), loads.c_str());
    return text;
}

} // namespace corvane
