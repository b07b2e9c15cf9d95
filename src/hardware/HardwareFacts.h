#pragma once

#include "foundation/SysRoot.h"

#include <cstdint>
#include <optional>
#include <string>

namespace corvane {

// What the machine says about itself, read once: firmware tables (DMI), the OS release, the
// processor, installed memory and the first wired interface. The serial number is readable by
// root only, so it stays empty here; the daemon hands it over.
struct HardwareFacts {
    std::string productName; // DMI; Apple firmware stores the model identifier here
    std::string sysVendor;
    std::string boardName; // "Mac-..." board-id on a Mac
    std::optional<int> chassisType;
    std::string deviceTreeModel; // boards without DMI name themselves here
    std::string serial;
    std::string osVersionId; // /etc/os-release VERSION_ID
    std::string cpuBrand;
    std::optional<long> cpuMaxMHz;
    std::uint64_t memoryBytes = 0;
    int physicalCores = 0;
    int logicalCores = 0;
    int packages = 0;
    std::string wiredAddress; // "AA:BB:CC:DD:EE:FF"
    bool hasBattery = false;

    bool isApple() const { return sysVendor.starts_with("Apple"); }
};

HardwareFacts readHardwareFacts(const SysRoot& root);

// VERSION_ID as "%d.%d.%d": "12" is "12.0.0"; "0.0.0" when there is none.
std::string paddedVersion(std::string_view versionId);

} // namespace corvane
