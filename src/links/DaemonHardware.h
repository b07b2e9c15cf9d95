#pragma once

#include "foundation/SysRoot.h"
#include "foundation/Value.h"

#include <string>

namespace corvane {

// The root-only readings the daemon hands out: sensor lists and raw key reads (the key
// cursor of the machine has one owner, the daemon) and the machine's serial number.
class DaemonHardware {
public:
    virtual ~DaemonHardware() = default;

    // `sensors:reply:`: the keys asked for (strings, or rows with "key"), each read now.
    virtual Value sensors(const Value& keys) = 0;
    // `armSensors:reply:`, `supportedSensors:reply:`, `supportedFans:reply:`: catalogue rows
    // in, the rows this machine has out.
    virtual Value armSensors(const Value& rows) = 0;
    virtual Value supportedSensors(const Value& rows) = 0;
    virtual Value supportedFans(const Value& rows) = 0;
    // The serial of the DMI tables; empty when there is none.
    virtual std::string serialNumber() = 0;
};

// The DMI serial under a root (root may read it, nobody else); empty when the firmware has
// none or left its placeholder.
std::string dmiSerialNumber(const SysRoot& root);

} // namespace corvane
