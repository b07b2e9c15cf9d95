#pragma once

#include "collectors/battery/BatteryStatCollectorItem.h"
#include "collectors/battery/WirelessDeviceKind.h"
#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/Value.h"

#include <memory>
#include <string>
#include <vector>

namespace corvane {

// Power sources that UPower knows but the kernel's power-supply class may not list: batteries
// of peripherals (mice, keyboards, headsets, game pads) from Bluetooth and vendor protocols, and
// UPS units it reads over USB HID itself. Each comes back as a power-source dictionary. Without
// UPower the list is empty.
//
// Nothing waits for UPower: an update hands out what UPower answered since the one before and
// asks again, the answers arriving on the main context of the thread that made this object. The
// device list is kept between updates and read again only when UPower announces a device or a
// minute has passed; a daemon that does not answer in time is left alone for a minute.
class UPowerDevices {
public:
    static constexpr double kListLifetime = 60.0;
    static constexpr double kQuietAfterFailure = 60.0;
    // An answer later than this counts as none: the daemon is taken to hang.
    static constexpr int kTimeoutMs = 500;

    // connection nullptr: the system bus, where UPower runs; clock nullptr: the system clock.
    explicit UPowerDevices(GDBusConnection* connection = nullptr, const Clock* clock = nullptr);
    ~UPowerDevices();
    UPowerDevices(const UPowerDevices&) = delete;
    UPowerDevices& operator=(const UPowerDevices&) = delete;

    struct Peripheral {
        Value powerSource;
        std::int64_t type = BatteryStatCollectorItem::WirelessDevice; // or PowerSource: a UPS
        WirelessDeviceKind kind = UnknownDevice;
    };
    // Sources whose kernel name is in `known` are left out: the kernel's own reading wins.
    std::vector<Peripheral> peripheralBatteries(const std::vector<std::string>& known);
    // A question to UPower is still unanswered.
    bool waiting() const;

    // The power-source dictionary of a UPS from UPower's device properties.
    static Value upsPowerSource(const Value& properties, const std::string& path);
    // The same of a peripheral; without "Current Capacity" where UPower knows no charge.
    static Value peripheralPowerSource(const Value& properties, const std::string& path);

private:
    // What the answers change; shared with the calls under way, which may outlive this object.
    struct State;

    std::shared_ptr<State> state_;
    CancelOnExit calls_;
    ConnectionId subscription_;
};

} // namespace corvane
