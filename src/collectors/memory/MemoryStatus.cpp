#include "collectors/memory/MemoryStatus.h"

#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

std::string gib(double kib) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f GiB", kib / (1024.0 * 1024.0));
    return text;
}

double percentOf(double part, double total) {
    return total > 0 ? part / total * 100.0 : 0.0;
}

} // namespace

bool MemoryStatus::hasReading() const {
    // An unreadable source leaves its sample empty; a machine always has some memory.
    const statsample s = memory_.sampleAtIndex(0, 0);
    return s.time > 0 && s.empty == 0 && s.values[MemoryStatCollector::Total] > 0;
}

namespace {

// The shares are worked out from the sizes beside them, so that the two always agree; the
// collector's own shares divide by the total of the sample before.
double usedOf(const double* v) {
    return v[MemoryStatCollector::Wired] + v[MemoryStatCollector::Active] +
           v[MemoryStatCollector::Compressed];
}

} // namespace

std::optional<double> MemoryStatus::usedPercent() const {
    if (!hasReading())
        return std::nullopt;
    const statsample sample = memory_.sampleAtIndex(0, 0); // the values live in it
    const double* v = sample.values;
    return percentOf(usedOf(v), v[MemoryStatCollector::Total]);
}

Value MemoryStatus::dictionary() const {
    if (!hasReading())
        return Value::dict();
    const statsample sample = memory_.sampleAtIndex(0, 0); // the values live in it
    const double* v = sample.values;
    const double used = usedOf(v);
    Value memory =
        Value::dict({{"total", v[MemoryStatCollector::Total]},
                     {"free", v[MemoryStatCollector::Free]},
                     {"wired", v[MemoryStatCollector::Wired]},
                     {"active", v[MemoryStatCollector::Active]},
                     {"inactive", v[MemoryStatCollector::Inactive]},
                     {"compressed", v[MemoryStatCollector::Compressed]},
                     {"fileCache", v[MemoryStatCollector::FileCache]},
                     {"application", v[MemoryStatCollector::ApplicationMemory]},
                     {"swapUsed", v[MemoryStatCollector::SwapUsed]},
                     {"swapTotal", v[MemoryStatCollector::SwapTotal]},
                     {"usedPercent", percentOf(used, v[MemoryStatCollector::Total])},
                     {"usedWithInactivePercent", percentOf(used + v[MemoryStatCollector::Inactive],
                                                           v[MemoryStatCollector::Total])}});
    // Levels are 1, 2 and 4; 0 is a level never read.
    if (memory_.sourceCapabilities().hasPressureLevel && memory_.pressureLevel() > 0)
        memory.set("pressureLevel", memory_.pressureLevel());
    return memory;
}

std::string MemoryStatus::text() const {
    if (!hasReading())
        return "Memory    unavailable: no memory figures could be read\n";
    const Value m = dictionary();
    // Used as `free` counts it (total less available), then with the caches the kernel could
    // give back, each with its share of the total.
    const double used =
        m["wired"].doubleValue() + m["active"].doubleValue() + m["compressed"].doubleValue();
    char shares[160];
    std::snprintf(shares, sizeof shares,
                  "Memory    %s used of %s (%.1f%%); with inactive caches %s (%.1f%%)\n",
                  gib(used).c_str(), gib(m["total"].doubleValue()).c_str(),
                  m["usedPercent"].doubleValue(), gib(used + m["inactive"].doubleValue()).c_str(),
                  m["usedWithInactivePercent"].doubleValue());
    std::string out = shares;
    out += "  wired " + gib(m["wired"].doubleValue()) + "  active " +
           gib(m["active"].doubleValue()) + "  inactive " + gib(m["inactive"].doubleValue()) +
           "  compressed " + gib(m["compressed"].doubleValue()) + "\n";
    out += "  file cache " + gib(m["fileCache"].doubleValue()) + "  applications " +
           gib(m["application"].doubleValue()) + "  swap " +
           gib(m["swapUsed"].doubleValue() / 1024) + " of " +
           gib(m["swapTotal"].doubleValue() / 1024);
    if (m.contains("pressureLevel"))
        return out + "  pressure " + std::to_string(m["pressureLevel"].integerValue()) + "\n";
    return out + "  pressure unavailable\n";
}

} // namespace corvane
