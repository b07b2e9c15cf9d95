#include "collectors/battery/BatteryStatCollectorItem.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace corvane {

namespace {

double utcMidnight(int year, int month, int day) {
    if (month < 1 || month > 12 || day < 1 || day > 31 || year < 1900)
        return 0;
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    return static_cast<double>(timegm(&tm));
}

} // namespace

double packedManufactureDate(std::int64_t packed) {
    return utcMidnight(static_cast<int>(1980 + (packed >> 9)),
                       static_cast<int>((packed >> 5) & 0xf), static_cast<int>(packed & 0x1f));
}

double textManufactureDate(const std::string& text) {
    if (text.size() != 6 || text.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    const int year = std::stoi(text.substr(0, 2));
    return utcMidnight(1992 + year, std::stoi(text.substr(2, 2)), std::stoi(text.substr(4, 2)));
}

BatteryStatCollectorItem::BatteryStatCollectorItem(std::int64_t sampleCount, int tierCount)
    : StatCollectorItem(sampleCount, tierCount) {}

BatteryStatCollectorItem::~BatteryStatCollectorItem() {
    cancelDelay();
}

double BatteryStatCollectorItem::now() const {
    return queue_ ? queue_->clock().now() : static_cast<double>(std::time(nullptr));
}

void BatteryStatCollectorItem::processBattery(const Value& dictionary, std::int64_t kind) {
    if (kind != 0)
        processIOPS(dictionary);
    else
        processSmart(dictionary);
}

void BatteryStatCollectorItem::readHealth(const Value& s) {
    if (hasSystemProfilerHealth)
        return;
    if (const Value* text = s.find("BatteryHealth")) {
        static const char* const kConditions[] = {"Poor", "Fair", "Good", "Check Battery"};
        for (std::int64_t i = 0; i < 4; ++i) {
            if (text->string() == kConditions[i])
                condition = i + 1;
        }
    } else if (const Value* detail = s.find("BatteryHealthCondition")) {
        const std::string& detailText = detail->string();
        condition = detailText == "Check Battery"               ? 4
                    : detailText == "Permanent Battery Failure" ? 5
                                                                : 3;
    }
}

std::int64_t BatteryStatCollectorItem::readPowerState(const Value& s) {
    const Value* powerState = s.find("Power Source State");
    std::int64_t newSource = -1;
    std::int64_t newState = ChargedOrUnknown;
    if (!powerState) {
        newState = ChargedOrUnknown;
    } else if (powerState->string() == "AC Power") {
        newSource = 1;
        if (s["Is Charged"].integerValue() == 1) {
            time_ = kTimeCharged;
            newState = ChargedOrUnknown;
        } else if (s["Is Charging"].integerValue() != 0) {
            const std::int64_t toFull = s["Time to Full Charge"].integerValue();
            time_ = toFull >= 0 ? toFull : kTimeCalculating;
            newState = Charging;
        } else {
            time_ = kTimeCalculating;
            newState = OnMainsNotCharging;
        }
        if (!s.contains("Time to Full Charge"))
            time_ = kTimeNoEstimate;
    } else {
        newSource = 0;
        // A source that cannot tell leaves the time out; 0 would read as an empty battery.
        const Value* toEmpty = s.find("Time to Empty");
        time_ = !toEmpty                      ? kTimeNoEstimate
                : toEmpty->integerValue() < 0 ? kTimeCalculating
                                              : toEmpty->integerValue();
        newState = Discharging;
    }
    if (newState == OnMainsNotCharging &&
        s["Optimized Battery Charging Engaged"].integerValue() == 1)
        newState = HeldBackByOptimisedCharging;
    if (newSource != source) {
        source = newSource;
        if (!externalSourceTime)
            sourceTime = now();
    }
    return newState;
}

void BatteryStatCollectorItem::processIOPS(const Value& s) {
    if (name.empty()) {
        name = s["Name"].string();
        if (!name.empty() && name.front() == ' ')
            name.erase(0, 1);
    }
    const double level = s["Current Capacity"].doubleValue();
    percentage = static_cast<float>(std::isnan(level) ? 0.0 : std::clamp(level, 0.0, 100.0));
    hasPercentage = s.contains("Current Capacity");
    readHealth(s);
    std::int64_t newState = readPowerState(s);
    if (const Value* v = s.find("Voltage"))
        voltage = v->floatValue();
    if (const Value* a = s.find("Current"))
        amperage = a->floatValue();
    if (type == PowerSource && percentage >= 100.0F)
        newState = ChargedOrUnknown;
    if (type == InternalBattery)
        name = "Battery";
    noteStateChange(newState);
    state = newState;
    firstUpdate = false;
}

void BatteryStatCollectorItem::noteStateChange(std::int64_t newState) {
    if (newState == state || firstUpdate)
        return;
    cancelDelay();
    // Without a queue nothing would end the delay, so there is none.
    if ((newState == Charging || newState == Discharging) && queue_) {
        delay = true;
        delayTimer_ = queue_->after(kEstimateDelay, [this] {
            delayTimer_ = 0;
            cancelDelay();
        });
    }
}

void BatteryStatCollectorItem::cancelDelay() {
    if (queue_ && delayTimer_)
        queue_->cancel(delayTimer_);
    delayTimer_ = 0;
    delay = false;
}

void BatteryStatCollectorItem::processSmart(const Value& p) {
    if (name.empty())
        name = "Internal Battery";
    if (manufactureTime == 0) {
        if (const Value* packed = p.find("ManufactureDate"); packed && packed->isNumber())
            manufactureTime = packedManufactureDate(packed->integerValue());
        else
            manufactureTime =
                textManufactureDate(p["BatteryData"]["ManufactureDate"].stringValue());
    }
    if (const Value* v = p.find("CycleCount"))
        cycles = v->integerValue();
    if (const Value* v = p.find("Amperage"))
        amperage = v->floatValue();
    if (const Value* v = p.find("Voltage"))
        voltage = v->floatValue();
    if (const Value* v = p.find("DesignCapacity"))
        designCapacity = v->floatValue();
    if (const Value* raw = p.find("AppleRawMaxCapacity"))
        maximumCapacity = raw->floatValue();
    else if (const Value* max = p.find("MaxCapacity"))
        maximumCapacity = max->floatValue();
    // A design capacity of 0 gives a value that is not a number; the comparison lets it stand.
    health = maximumCapacity / designCapacity * 100.0F;
    if (health > 100.0F)
        health = 100.0F;
}

std::string BatteryStatCollectorItem::description() const {
    char text[512];
    std::snprintf(text, sizeof text,
                  "key = %s, name = %s, state = %li, percentage = %.2f, "
                  "time = %li, source = %li",
                  key().c_str(), name.c_str(), static_cast<long>(state),
                  static_cast<double>(percentage), static_cast<long>(time()),
                  static_cast<long>(source));
    return text;
}

} // namespace corvane
