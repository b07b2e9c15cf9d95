#pragma once

#include "collectors/battery/WirelessDeviceKind.h"
#include "foundation/Value.h"

#include <string>
#include <vector>

using GDBusConnection = struct _GDBusConnection;

namespace corvane {

// Batteries of peripherals (mice, keyboards, headsets, game pads) that UPower knows from
// Bluetooth and vendor protocols but the kernel's power-supply class may not list. Each comes
// back as a power-source dictionary of a wireless device. Without UPower the list is empty.
class UPowerDevices {
public:
    // nullptr: the system bus, where UPower runs.
    explicit UPowerDevices(GDBusConnection* connection = nullptr);
    ~UPowerDevices();
    UPowerDevices(const UPowerDevices&) = delete;
    UPowerDevices& operator=(const UPowerDevices&) = delete;

    struct Peripheral {
        Value powerSource;
        WirelessDeviceKind kind = UnknownDevice;
    };
    // Sources whose kernel name is in `known` are left out: the kernel's own reading wins.
    std::vector<Peripheral> peripheralBatteries(const std::vector<std::string>& known);

private:
    GDBusConnection* connection_ = nullptr;
    bool warned_ = false;
};

} // namespace corvane
