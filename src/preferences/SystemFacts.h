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

// An environment variable's value, or null when unset.
using EnvironmentLookup = std::function<const char*(const char*)>;
EnvironmentLookup processEnvironment();

// The ICU locale id of one category of formats ("LC_NUMERIC", "LC_TIME", "LC_MEASUREMENT"),
// chosen as the C library chooses it: LC_ALL, else the category's own variable, else LANG.
// Desktops set these to the user's formats region, which may differ from the language of the
// messages. The C locale, and no setting at all, read as "en_US_POSIX", as ICU names it.
std::string formatsLocaleId(const char* category,
                            const EnvironmentLookup& lookup = processEnvironment());

// What the preferences need to know of the user's locale, through ICU.
struct LocaleFacts {
    bool metricSystem = true;
    std::string shortTimePattern = "HH:mm"; // Unicode date pattern of the short time style

    // Units from the measurement category, the clock from the time category. The C and POSIX
    // locales read as metric with a 24-hour clock, as the C locale writes them.
    static LocaleFacts current(const EnvironmentLookup& lookup = processEnvironment());
    static LocaleFacts forLocales(const char* measurementLocaleId, const char* timeLocaleId);
    static LocaleFacts forLocale(const char* localeId) { return forLocales(localeId, localeId); }
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
