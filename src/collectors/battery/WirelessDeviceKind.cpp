#include "collectors/battery/WirelessDeviceKind.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace corvane {

WirelessDeviceKind deviceKindForUPowerType(std::int64_t type) {
    switch (type) {
    case 5:
        return Mouse;
    case 6:
        return Keyboard;
    case 12:
        return GameController;
    case 14:
        return Trackpad;
    case 17:
    case 19:
        return Headphones;
    default:
        return UnknownDevice;
    }
}

WirelessDeviceKind deviceKindForName(std::string_view name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto has = [&lower](std::string_view word) {
        return lower.find(word) != std::string::npos;
    };
    // A keyboard with a touchpad is a keyboard.
    if (has("keyboard"))
        return Keyboard;
    if (has("trackpad") || has("touchpad"))
        return Trackpad;
    if (has("mouse"))
        return Mouse;
    if (has("headset") || has("headphone"))
        return Headphones;
    // Game pads name themselves "Wireless Controller", "Pro Controller", "Gamepad", ...
    if (has("controller") || has("gamepad") || has("game pad") || has("joystick") || has("joy-con"))
        return GameController;
    return UnknownDevice;
}

} // namespace corvane
