#include "collectors/battery/BatteryStatus.h"

#include <cmath>
#include <cstdio>

namespace corvane {

const char* BatteryStatus::stateName(std::int64_t state) {
    switch (state) {
    case BatteryStatCollectorItem::Charging:
        return "charging";
    case BatteryStatCollectorItem::Discharging:
        return "discharging";
    case BatteryStatCollectorItem::OnMainsNotCharging:
        return "on mains, not charging";
    case BatteryStatCollectorItem::HeldBackByOptimisedCharging:
        return "on mains, held at its charge limit";
    default:
        return "charged";
    }
}

Value BatteryStatus::dictionary() const {
    Value sources = Value::array();
    for (const auto& b : battery_.batteries()) {
        sources.append(Value::dict({{"key", b->key()},
                                    {"name", b->name},
                                    {"type", b->type},
                                    {"percentage", static_cast<double>(b->percentage)},
                                    {"state", b->state},
                                    {"source", b->source},
                                    {"time", b->time()},
                                    {"health", std::isfinite(b->health) ? b->health : 0.0F},
                                    {"cycles", b->cycles},
                                    {"condition", b->condition}}));
    }
    Value all = Value::dict({{"sources", sources}});
    if (auto watts = battery_.adapterWatts())
        all.set("adapterWatts", *watts);
    return all;
}

std::string BatteryStatus::text() const {
    std::string out;
    for (const auto& b : battery_.batteries()) {
        char line[256];
        std::snprintf(line, sizeof line, "Battery   %-20s %3.0f%%  %s", b->name.c_str(),
                      static_cast<double>(b->percentage), stateName(b->state));
        out += line;
        if (b->time() > 0) {
            std::snprintf(line, sizeof line, ", %lld:%02lld %s",
                          static_cast<long long>(b->time() / 60),
                          static_cast<long long>(b->time() % 60),
                          b->state == BatteryStatCollectorItem::Charging ? "to full" : "left");
            out += line;
        }
        if (b->type == BatteryStatCollectorItem::InternalBattery && b->designCapacity > 0) {
            std::snprintf(line, sizeof line, "  health %.0f%%  cycles %lld",
                          static_cast<double>(b->health), static_cast<long long>(b->cycles));
            out += line;
        }
        out += "\n";
    }
    // Said outright, so that a machine without sources reads differently from one not asked.
    if (out.empty())
        return "Battery   none: no battery, UPS or wireless device reports its charge\n";
    if (auto watts = battery_.adapterWatts())
        out += "  adapter " + std::to_string(*watts) + " W\n";
    return out;
}

} // namespace corvane
