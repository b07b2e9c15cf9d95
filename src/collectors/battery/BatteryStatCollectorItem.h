#pragma once

#include "engine/StatCollectorItem.h"
#include "foundation/MainQueue.h"

#include <cstdint>
#include <string>

namespace corvane {

// One power source: the internal battery, a UPS, or a wireless device's battery. Filled from
// a power-source dictionary ("Current Capacity", "Power Source State", "Is Charging", ...) and,
// for the internal battery, the battery controller's properties ("CycleCount", "MaxCapacity",
// "DesignCapacity", "ManufactureDate", ...).
class BatteryStatCollectorItem : public StatCollectorItem {
public:
    enum Type : std::int64_t { InternalBattery = 0, PowerSource = 1, WirelessDevice = 2 };
    enum State : std::int64_t {
        ChargedOrUnknown = 0,
        Charging = 1,
        Discharging = 2,
        OnMainsNotCharging = 3,
        HeldBackByOptimisedCharging = 5,
    };
    // Codes of `time` besides minutes.
    static constexpr std::int64_t kTimeCalculating = -1;
    static constexpr std::int64_t kTimeCharged = -2;
    // No estimate: on mains without one, or from a source that cannot tell.
    static constexpr std::int64_t kTimeNoEstimate = -3;
    // After plugging in or out, the system's first estimate is not shown for this long.
    static constexpr double kEstimateDelay = 10.0;

    BatteryStatCollectorItem(std::int64_t sampleCount, int tierCount);
    ~BatteryStatCollectorItem() override;

    // The queue and clock for the delay after a change of power source; without one there is
    // no delay.
    void setQueue(MainQueue* queue) { queue_ = queue; }

    // Type non-zero: the power-source dictionary; zero: the battery controller's properties.
    void processBattery(const Value& dictionary, std::int64_t type);
    void processIOPS(const Value& source);
    void processSmart(const Value& properties);
    // Ends the delay after a change of power source, at once or when its time has come.
    void cancelDelay();

    // Minutes left, or a code; while the estimate after a change is held back, -1.
    std::int64_t time() const { return delay ? kTimeCalculating : time_; }
    std::string description() const;

    float percentage = 0, percentageLeft = 0, percentageRight = 0, percentageCase = 0;
    // False when the source tells no charge at all ("Current Capacity" absent), as a game pad
    // whose level is unknown: `percentage` is then 0 and no reading.
    bool hasPercentage = false;
    float maximumCapacity = 0, currentCapacity = 0, designCapacity = 0;
    float amperage = 0, voltage = 0, health = 0;
    std::int64_t condition = 0, source = -1, state = 0, cycles = 0, type = 0, subtype = 0;
    double sourceTime = 0, sourceTimeSleep = 0, manufactureTime = 0;
    bool delay = false, firstUpdate = true;
    bool externalSourceTime = false, hasSystemProfilerHealth = false;
    std::string name, product;

private:
    void readHealth(const Value& source);
    // Sets time and source; answers the new state.
    std::int64_t readPowerState(const Value& source);
    void noteStateChange(std::int64_t newState);
    double now() const;

    MainQueue* queue_ = nullptr;
    MainQueue::TimerId delayTimer_ = 0;
    std::int64_t time_ = 0;
};

// Seconds since 1970 of a packed battery date: day in bits 0-4, month in bits 5-8, years
// since 1980 above; 0 when the fields make no date.
double packedManufactureDate(std::int64_t packed);
// "YYMMDD" with the year counted from 1992; 0 when unreadable.
double textManufactureDate(const std::string& text);

} // namespace corvane
