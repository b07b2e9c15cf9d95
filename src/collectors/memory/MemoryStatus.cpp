#include "collectors/memory/MemoryStatus.h"

#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

double finite(double v) {
    return std::isfinite(v) ? v : 0.0;
}

std::string gib(double kib) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f GiB", kib / (1024.0 * 1024.0));
    return text;
}

} // namespace

Value MemoryStatus::dictionary() const {
    const double* v = memory_.sampleAtIndex(0, 0).values;
    return Value::dict({{"total", v[0]},
                        {"free", v[1]},
                        {"wired", v[10]},
                        {"active", v[11]},
                        {"inactive", v[12]},
                        {"compressed", v[13]},
                        {"fileCache", v[15]},
                        {"application", v[16]},
                        {"swapUsed", v[7]},
                        {"swapTotal", v[8]},
                        {"used", finite(v[9])},
                        {"usedWithoutInactive", finite(v[18])},
                        {"pressureLevel", v[17]}});
}

std::string MemoryStatus::text() const {
    const Value m = dictionary();
    // Used as `free` counts it: what neither lies free nor is cache the kernel can drop.
    const double used =
        m["wired"].doubleValue() + m["active"].doubleValue() + m["compressed"].doubleValue();
    std::string out = "Memory    " + gib(used) + " used of " + gib(m["total"].doubleValue());
    char shares[96];
    std::snprintf(shares, sizeof shares, "  (%.1f%%, %.1f%% without inactive)\n",
                  m["used"].doubleValue(), m["usedWithoutInactive"].doubleValue());
    out += shares;
    out += "  wired " + gib(m["wired"].doubleValue()) + "  active " +
           gib(m["active"].doubleValue()) + "  inactive " + gib(m["inactive"].doubleValue()) +
           "  compressed " + gib(m["compressed"].doubleValue()) + "\n";
    out += "  file cache " + gib(m["fileCache"].doubleValue()) + "  applications " +
           gib(m["application"].doubleValue()) + "  swap " +
           gib(m["swapUsed"].doubleValue() / 1024) + " of " +
           gib(m["swapTotal"].doubleValue() / 1024);
    char level[32];
    std::snprintf(level, sizeof level, "  pressure %lld\n",
                  static_cast<long long>(m["pressureLevel"].integerValue()));
    return out + level;
}

} // namespace corvane
