#pragma once

#include "foundation/SysRoot.h"
#include "hardware/PlatformMac.h"
#include "hardware/SensorSMCController.h"

#include <memory>
#include <optional>
#include <string>

namespace corvane {

// The platform class's name for a model identifier: "," becomes "_"; "FauxMac" on hardware
// that imitates the controller, whatever model it says it is.
std::string platformClassName(std::string_view identifier, bool fauxMac);

// The keys the controller lists ("#KEY" then one index read each), or, when the cursor is out
// of reach, the temperature keys the driver names; and the driver's fans.
PlatformInputs readPlatformInputs(const SysRoot& root, SensorSMCController* smc);

// Picks the platform for the running machine: FauxMac, a catalogued Mac, the base for a Mac
// the catalogue does not know, or the machine's own platform for every other machine.
std::unique_ptr<PlatformMac> makePlatform(const SysRoot& root, PlatformInputs inputs, bool fauxMac);

class PlatformController {
public:
    // Linux has no imitation controller service, so `fauxMac` is false outside tests.
    PlatformController(const SysRoot& root, SensorSMCController* smc, bool fauxMac = false);

    static PlatformMac& currentPlatform();
    // nullptr before the first currentPlatform.
    static PlatformController* sharedPlatformController();
    static void cleanup();
    // The lower-cased model identifier starts with "macbook".
    static bool isLaptop();
    // DMI product name; nothing without DMI.
    static std::optional<std::string> modelIdentifier();

    PlatformMac& platform() { return *platform_; }
    bool fauxMac() const { return faux_; }

private:
    bool faux_;
    std::unique_ptr<PlatformMac> platform_;
};

} // namespace corvane
