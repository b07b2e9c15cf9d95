#include "links/DaemonHardware.h"

namespace corvane {

std::string dmiSerialNumber(const SysRoot& root) {
    const auto serial = root.readAttribute("/sys/class/dmi/id/product_serial");
    if (!serial)
        return {};
    // Firmware fills unset fields with a placeholder the vendor forgot to replace.
    for (const char* placeholder :
         {"To Be Filled By O.E.M.", "Default string", "System Serial Number", "0123456789"})
        if (*serial == placeholder)
            return {};
    return *serial;
}

} // namespace corvane
