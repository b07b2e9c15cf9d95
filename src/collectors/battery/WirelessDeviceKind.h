#pragma once

#include <cstdint>
#include <string_view>

namespace corvane {

// The kinds of wireless devices the panel draws a picture of, as an item's `subtype`.
enum WirelessDeviceKind : std::int64_t {
    UnknownDevice = 0,
    Earbuds = 1,
    Headphones = 2,
    Mouse = 3,
    Keyboard = 4,
    Trackpad = 5,
    GameController = 6,
};

// From UPower's device type (5 mouse, 6 keyboard, 12 gaming input, 14 touchpad, 17 headset,
// 19 headphones).
WirelessDeviceKind deviceKindForUPowerType(std::int64_t type);

// The kernel does not tell what a device battery belongs to, but drivers name it after the
// product ("Wireless Mouse MX", "Bluetooth Keyboard"); the words of the name decide.
WirelessDeviceKind deviceKindForName(std::string_view name);

} // namespace corvane
