#pragma once

#include "foundation/SysRoot.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane {

// What the preferences need to know of the machine. Each fact may be unknown (empty).
struct MachineFacts {
    std::string modelIdentifier; // DMI product name, else the device-tree model
    bool laptop = false;
    std::string serial; // DMI product serial, else the machine id

    // Reads the facts under the given root (/sys/class/dmi/id, /proc/device-tree,
    // /etc/machine-id).
    static MachineFacts read(const SysRoot& root);
    // A model identifier of the kind "MacBookPro18,3" answers by its name; other machines by
    // the DMI chassis type.
    static bool isLaptop(const std::string& modelIdentifier, std::optional<int> chassisType);
};

// What the preferences need to know of the user's locale, through ICU.
struct LocaleFacts {
    bool metricSystem = true;
    std::string shortTimePattern = "HH:mm"; // Unicode date pattern of the short time style

    // The default locale of the process (from LANG and friends). The C and POSIX locales read
    // as metric with a 24-hour clock, as the C locale writes them.
    static LocaleFacts current();
    static LocaleFacts forLocale(const char* localeId);
};

// The desktop's look: dark or light, and raised contrast. Answers nothing when unknown.
class AppearanceSource {
public:
    virtual ~AppearanceSource() = default;
    virtual std::optional<bool> prefersDark() = 0;
    virtual std::optional<bool> increaseContrast() = 0;
    // Called on the main context whenever the desktop says its look changed.
    virtual void setChangeHandler(std::function<void()> handler) = 0;
};

// xdg-desktop-portal's Settings interface on the session bus: "color-scheme" and "contrast"
// of the namespace "org.freedesktop.appearance", and its SettingChanged signal.
std::unique_ptr<AppearanceSource> makePortalAppearanceSource();
// A desktop whose look is fixed, for pictures made on request.
std::unique_ptr<AppearanceSource> makeFixedAppearanceSource(bool dark);

} // namespace corvane
