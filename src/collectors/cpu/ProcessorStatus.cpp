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

Value shares(const statsample& s) {
    const double user = shown(s.values[0]);
    const double system = shown(s.values[1]);
    const double nice = shown(s.values[2]);
    return Value::dict(
        {{"user", user}, {"system", system}, {"nice", nice}, {"total", user + system + nice}});
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
    std::snprintf(text, sizeof text, "%.2f %.2f %.2f", shown(s.values[0]), shown(s.values[1]),
                  shown(s.values[2]));
    return text;
}

} // namespace

Value ProcessorStatus::dictionary() const {
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
    const statsample load = load_.sampleAtIndex(0, 0);
    return Value::dict({{"cpu", cpu},
                        {"cores", cores},
                        {"physicalCores", physical},
                        {"load", Value::dict({{"one", shown(load.values[0])},
                                              {"five", shown(load.values[1])},
                                              {"fifteen", shown(load.values[2])}})},
                        {"tasks", static_cast<int>(cpu_.taskCount())},
                        {"threads", static_cast<int>(cpu_.threadCount())}});
}

std::string ProcessorStatus::text() const {
    const Value status = dictionary();
    std::string out = "CPU       " + percentages(status["cpu"]) + "\n";
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
    char tail[96];
    std::snprintf(tail, sizeof tail, "Load      %s   tasks %lld  threads %lld\n",
                  averages(load_.sampleAtIndex(0, 0)).c_str(),
                  static_cast<long long>(status["tasks"].integerValue()),
                  static_cast<long long>(status["threads"].integerValue()));
    return out + tail;
}

std::string ProcessorStatus::line() const {
    const statsample machine = cpu_.sampleAtIndex(0, 0);
    const auto seconds = static_cast<std::time_t>(machine.time);
    std::tm tm{};
    localtime_r(&seconds, &tm);
    char clock[16];
    std::strftime(clock, sizeof clock, "%H:%M:%S", &tm);
    const Value cpu = shares(machine);
    char text[160];
    std::snprintf(
        text, sizeof text, "%s  CPU %5.1f%% (user %5.1f, system %5.1f, nice %5.1f)  load %s", clock,
        cpu["total"].doubleValue(), cpu["user"].doubleValue(), cpu["system"].doubleValue(),
        cpu["nice"].doubleValue(), averages(load_.sampleAtIndex(0, 0)).c_str());
    return text;
}

} // namespace corvane
