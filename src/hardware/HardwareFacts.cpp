#include "hardware/HardwareFacts.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

namespace corvane {

namespace {

std::string attribute(const SysRoot& root, std::string_view path) {
    return root.readAttribute(path).value_or("");
}

// Apple silicon boots without DMI; its device tree names the board, which names the model.
std::string appleBoardIdentifier(const SysRoot& root) {
    static constexpr std::pair<std::string_view, std::string_view> kBoards[] = {
        {"apple,j274", "Macmini9,1"},
        {"apple,j293", "MacBookPro17,1"},
        {"apple,j313", "MacBookAir10,1"},
        {"apple,j456", "iMac21,1"},
        {"apple,j457", "iMac21,2"}};
    const auto compatible =
        root.readFile("/sys/firmware/devicetree/base/compatible", 512).value_or("");
    for (std::size_t start = 0; start < compatible.size();) {
        const auto end = std::min(compatible.find('\0', start), compatible.size());
        const std::string_view entry(compatible.data() + start, end - start);
        for (const auto& [board, identifier] : kBoards)
            if (entry == board)
                return std::string(identifier);
        start = end + 1;
    }
    return {};
}

std::string osReleaseField(const SysRoot& root, std::string_view field) {
    auto text = root.readFile("/etc/os-release");
    if (!text)
        text = root.readFile("/usr/lib/os-release");
    if (!text)
        return {};
    for (auto line : splitLines(*text)) {
        line = trimmed(line);
        if (!line.starts_with(field) || line.size() <= field.size() || line[field.size()] != '=')
            continue;
        auto value = line.substr(field.size() + 1);
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front())
            value = value.substr(1, value.size() - 2);
        return std::string(value);
    }
    return {};
}

std::string cpuinfoField(std::string_view cpuinfo, std::string_view field) {
    for (auto line : splitLines(cpuinfo)) {
        const auto colon = line.find(':');
        if (colon != std::string_view::npos && trimmed(line.substr(0, colon)) == field)
            return std::string(trimmed(line.substr(colon + 1)));
    }
    return {};
}

// Installed memory: the hot-plug blocks times their size, which counts memory the kernel keeps
// for itself, unlike MemTotal.
std::uint64_t installedMemory(const SysRoot& root) {
    const auto blockSize = root.readAttribute("/sys/devices/system/memory/block_size_bytes");
    std::uint64_t blocks = 0;
    for (const auto& name : root.list("/sys/devices/system/memory"))
        blocks += name.starts_with("memory") && parseUnsigned(name.substr(6)) ? 1 : 0;
    if (blockSize && blocks) {
        std::uint64_t size = 0;
        if (std::sscanf(blockSize->c_str(), "%lx", &size) == 1 && size)
            return blocks * size;
    }
    const auto meminfo = root.readFile("/proc/meminfo");
    const auto total = meminfo ? cpuinfoField(*meminfo, "MemTotal") : std::string();
    return static_cast<std::uint64_t>(leadingInteger(total)) * 1024;
}

void readTopology(const SysRoot& root, HardwareFacts& facts) {
    std::set<std::pair<std::int64_t, std::int64_t>> cores;
    std::set<std::int64_t> packages;
    int logical = 0;
    for (const auto& name : root.list("/sys/devices/system/cpu")) {
        if (!name.starts_with("cpu") || !parseUnsigned(name.substr(3)))
            continue;
        const std::string base = "/sys/devices/system/cpu/" + name;
        if (root.readInteger(base + "/online").value_or(1) == 0)
            continue;
        ++logical;
        const auto package = root.readInteger(base + "/topology/physical_package_id").value_or(0);
        const auto core = root.readInteger(base + "/topology/core_id").value_or(logical);
        cores.emplace(package, core);
        packages.insert(package);
    }
    if (logical == 0) {
        const auto cpuinfo = root.readFile("/proc/cpuinfo").value_or("");
        for (auto line : splitLines(cpuinfo))
            logical += line.starts_with("processor") ? 1 : 0;
        facts.logicalCores = facts.physicalCores = logical;
        facts.packages = logical ? 1 : 0;
        return;
    }
    facts.logicalCores = logical;
    facts.physicalCores = static_cast<int>(cores.size());
    facts.packages = static_cast<int>(packages.size());
}

// The first interface on a real device of type Ethernet that is not wireless (ifb and the
// like have no device).
std::string wiredAddress(const SysRoot& root) {
    for (const auto& name : root.list("/sys/class/net")) {
        const std::string base = "/sys/class/net/" + name;
        if (!root.exists(base + "/device") || root.readInteger(base + "/type").value_or(0) != 1 ||
            root.exists(base + "/wireless") || root.exists(base + "/phy80211"))
            continue;
        std::string address = attribute(root, base + "/address");
        for (char& c : address)
            c = static_cast<char>(c >= 'a' && c <= 'f' ? c - 'a' + 'A' : c);
        if (!address.empty())
            return address;
    }
    return {};
}

bool hasBattery(const SysRoot& root) {
    for (const auto& name : root.list("/sys/class/power_supply")) {
        const std::string base = "/sys/class/power_supply/" + name;
        if (attribute(root, base + "/type") == "Battery" &&
            attribute(root, base + "/scope") != "Device")
            return true;
    }
    return false;
}

} // namespace

std::string paddedVersion(std::string_view versionId) {
    int parts[3] = {0, 0, 0};
    for (int& part : parts) {
        if (versionId.empty())
            break;
        part = static_cast<int>(leadingInteger(versionId));
        const auto dot = versionId.find('.');
        versionId = dot == std::string_view::npos ? std::string_view() : versionId.substr(dot + 1);
    }
    char text[48];
    std::snprintf(text, sizeof text, "%d.%d.%d", parts[0], parts[1], parts[2]);
    return text;
}

HardwareFacts readHardwareFacts(const SysRoot& root) {
    HardwareFacts facts;
    facts.productName = attribute(root, "/sys/class/dmi/id/product_name");
    facts.sysVendor = attribute(root, "/sys/class/dmi/id/sys_vendor");
    facts.boardName = attribute(root, "/sys/class/dmi/id/board_name");
    if (auto chassis = root.readInteger("/sys/class/dmi/id/chassis_type"))
        facts.chassisType = static_cast<int>(*chassis);
    // The device tree ends its strings with NUL.
    auto model = root.readFile("/sys/firmware/devicetree/base/model", 256).value_or("");
    facts.deviceTreeModel = std::string(trimmed(model.substr(0, model.find('\0'))));
    if (facts.productName.empty()) {
        facts.productName = appleBoardIdentifier(root);
        if (!facts.productName.empty())
            facts.sysVendor = "Apple Inc.";
    }
    facts.osVersionId = osReleaseField(root, "VERSION_ID");
    const auto cpuinfo = root.readFile("/proc/cpuinfo").value_or("");
    facts.cpuBrand = cpuinfoField(cpuinfo, "model name");
    if (facts.cpuBrand.empty())
        facts.cpuBrand = cpuinfoField(cpuinfo, "Model");
    if (auto khz = root.readInteger("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq"))
        facts.cpuMaxMHz = static_cast<long>(*khz / 1000);
    else if (auto mhz = parseDouble(cpuinfoField(cpuinfo, "cpu MHz")))
        facts.cpuMaxMHz = static_cast<long>(*mhz + 0.5);
    facts.memoryBytes = installedMemory(root);
    readTopology(root, facts);
    facts.wiredAddress = wiredAddress(root);
    facts.hasBattery = hasBattery(root);
    return facts;
}

} // namespace corvane
