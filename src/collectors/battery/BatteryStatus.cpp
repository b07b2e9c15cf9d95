#include "collectors/battery/BatteryStatus.h"

#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

// Names come from devices and their drivers; a control character in one must not reach the
// terminal as an escape. C0 controls, DEL and the C1 controls (UTF-8 0xC2 0x80 to 0xC2 0x9F)
// are shown as \xNN.
std::string printable(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto byte = static_cast<unsigned char>(text[i]);
        const bool c1 = byte == 0xC2 && i + 1 < text.size() &&
                        (static_cast<unsigned char>(text[i + 1]) & 0xE0) == 0x80;
        if (c1)
            byte = static_cast<unsigned char>(text[++i]);
        if (byte < 0x20 || byte == 0x7F || c1) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            out += escaped;
        } else {
            out += static_cast<char>(byte);
        }
    }
    return out;
}

} // namespace

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
        Value source = Value::dict({{"key", b->key()},
                                    {"name", b->name},
                                    {"type", b->type},
                                    {"state", b->state},
                                    {"source", b->source},
                                    {"time", b->time()},
                                    {"health", std::isfinite(b->health) ? b->health : 0.0F},
                                    {"condition", b->condition}});
        // What a device does not tell is left out rather than shown as 0.
        if (b->hasPercentage)
            source.set("percentage", static_cast<double>(b->percentage));
        if (b->cycles > 0)
            source.set("cycles", b->cycles);
        sources.append(std::move(source));
    }
    Value all = Value::dict({{"sources", sources}});
    if (auto watts = battery_.adapterWatts())
        all.set("adapterWatts", *watts);
    return all;
}

std::string BatteryStatus::text() const {
    std::string out;
    for (const auto& b : battery_.batteries()) {
        char charge[16] = "  ?%";
        if (b->hasPercentage)
            std::snprintf(charge, sizeof charge, "%3.0f%%", static_cast<double>(b->percentage));
        char line[256];
        std::snprintf(line, sizeof line, "Battery   %-20s %s  %s", printable(b->name).c_str(),
                      charge, stateName(b->state));
        out += line;
        if (b->time() > 0) {
            std::snprintf(line, sizeof line, ", %lld:%02lld %s",
                          static_cast<long long>(b->time() / 60),
                          static_cast<long long>(b->time() % 60),
                          b->state == BatteryStatCollectorItem::Charging ? "to full" : "left");
            out += line;
        }
        if (b->type == BatteryStatCollectorItem::InternalBattery && b->designCapacity > 0) {
            std::snprintf(line, sizeof line, "  health %.0f%%", static_cast<double>(b->health));
            out += line;
            // Many batteries keep no count; 0 is what a missing one reads.
            if (b->cycles > 0)
                out += "  cycles " + std::to_string(b->cycles);
        }
        // The two conditions a user must act on; the others are ordinary wear.
        if (b->condition == 4)
            out += "  (check the battery)";
        else if (b->condition == 5)
            out += "  (the battery has failed)";
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
