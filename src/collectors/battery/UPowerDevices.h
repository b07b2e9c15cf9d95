#pragma once

#include "collectors/battery/BatteryStatCollectorItem.h"
#include "collectors/battery/WirelessDeviceKind.h"
#include "foundation/MainQueue.h"
#include "foundation/Value.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using GDBusConnection = struct _GDBusConnection;
using GError = struct _GError;

namespace corvane {

// Power sources that UPower knows but the kernel's power-supply class may not list: batteries
// of peripherals (mice, keyboards, headsets, game pads) from Bluetooth and vendor protocols, and
// UPS units it reads over USB HID itself. Each comes back as a power-source dictionary. Without
// UPower the list is empty.
//
// The calls are synchronous, on the caller's update. The device list is kept between updates
// and read again only when UPower announces a device or a minute has passed, so an update costs
// one property read per device of interest; a daemon that does not answer is left alone for a
// minute, so that it cannot stall every update.
class UPowerDevices {
public:
    static constexpr double kListLifetime = 60.0;
    static constexpr double kQuietAfterFailure = 60.0;

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

    // The power-source dictionary of a UPS from UPower's device properties.
    static Value upsPowerSource(const Value& properties, const std::string& path);
    // The same of a peripheral; without "Current Capacity" where UPower knows no charge.
    static Value peripheralPowerSource(const Value& properties, const std::string& path);

private:
    struct Device {
        std::string path;
        bool ignored = false; // neither a UPS nor a peripheral; a device keeps its type
    };
    bool listIsStale() const;
    bool enumerate();
    // The device's properties; null when it is gone, nothing when UPower did not answer.
    std::optional<Value> readDevice(Device& device);
    void giveUp(GError* error);

    GDBusConnection* connection_ = nullptr;
    const Clock& clock_;
    // Set by UPower's DeviceAdded and DeviceRemoved; shared with the subscription, which may
    // outlive this object by a turn of the main loop.
    std::shared_ptr<std::atomic<bool>> listChanged_;
    unsigned subscription_ = 0;
    std::vector<Device> devices_;
    double listedAt_ = 0;
    double quietUntil_ = 0;
    bool warned_ = false;
};

} // namespace corvane
