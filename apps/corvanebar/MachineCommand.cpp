#include "MachineCommand.h"

#include "foundation/GLibHandles.h"
#include "foundation/SysRoot.h"
#include "foundation/TextParsing.h"
#include "hardware/AppleSMCSysfs.h"
#include "hardware/MacModelCatalogue.h"
#include "hardware/PlatformController.h"
#include "hardware/SMCValueCodec.h"
#include "links/DaemonHardware.h"
#include "links/DaemonProbe.h"

#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace {

using namespace corvane;

// A daemon that is up answers within milliseconds; one that hangs is as good as absent.
constexpr int kDaemonTimeoutMilliseconds = 2000;

GObjectRef<GDBusConnection> systemBus() {
    GErrorHolder error;
    return GObjectRef<GDBusConnection>::adopt(
        g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error.out()));
}

// Root reads the firmware's serial itself; anyone else asks the daemon.
std::string machineSerial() {
    if (::geteuid() == 0)
        return dmiSerialNumber(SysRoot::fromEnvironment());
    const auto bus = systemBus();
    return daemonMachineSerial(bus.get(), kDaemonTimeoutMilliseconds).value_or("");
}

std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const auto& item : items)
        text += (text.empty() ? "" : ", ") + item;
    return text.empty() ? "none" : text;
}

std::vector<std::string> fanNames(const PlatformMac& platform) {
    std::vector<std::string> names;
    for (const auto& fan : platform.fans())
        names.push_back(fan.name);
    return names;
}

nlohmann::json machineJson(PlatformMac& platform) {
    nlohmann::json fans = nlohmann::json::array();
    for (const auto& fan : platform.fans())
        fans.push_back(
            {{"key", fan.key}, {"name", fan.name}, {"low", fan.low}, {"high", fan.high}});
    return {
        {"identifier", platform.identifier()},
        {"class", platform.className()},
        {"name", platform.name()},
        {"laptop", platform.isLaptop()},
        {"usesSyncedFans", platform.usesSyncedFans()},
        {"temperatureBug", platform.temperatureBug()},
        {"useArmSensors", platform.useArmSensors()},
        {"hideIntergratedGraphics", platform.hideIntergratedGraphics()},
        {"ignoreGraphicsControl", platform.ignoreGraphicsControl()},
        {"disableFanControl", platform.disableFanControl()},
        {"defaultSensorKeys", platform.defaultSensorKeys()},
        {"sensorCount", platform.supportedSensors().size()},
        {"fans", fans},
        {"boardID", platform.boardID()},
        {"osVersion", platform.osVersion()},
        {"cpu", platform.cpu()},
        {"cpuSpeed", platform.cpuSpeed()},
        {"memory", platform.memory()},
        {"cpuPhysicalCoreCount", platform.cpuPhysicalCoreCount()},
        {"cpuCoreCount", platform.cpuCoreCount()},
        {"cpuCount", platform.cpuCount()},
        {"serial", machineSerial()},
    };
}

void printMachine(PlatformMac& platform) {
    const auto yes = [](bool value) { return value ? "yes" : "no"; };
    const auto line = [](const char* label, const std::string& value) {
        std::printf("%-22s %s\n", label, value.empty() ? "unknown" : value.c_str());
    };
    line("Identifier:", platform.identifier());
    line("Catalogue class:", platform.className());
    line("Name:", platform.name());
    line("Laptop:", yes(platform.isLaptop()));
    line("Synced fans:", yes(platform.usesSyncedFans()));
    line("Temperature bug:", yes(platform.temperatureBug()));
    line("Named sensors:", yes(platform.useArmSensors()));
    line("Hide integrated GPU:", yes(platform.hideIntergratedGraphics()));
    line("Fan control:", platform.disableFanControl() ? "refused" : "allowed");
    line("Default sensor keys:", joined(platform.defaultSensorKeys()));
    line("Sensors:", std::to_string(platform.supportedSensors().size()));
    line("Fans:", joined(fanNames(platform)));
    line("OS version:", platform.osVersion());
    line("CPU:", platform.cpu());
    line("Speed:", platform.cpuSpeed().empty() ? "" : platform.cpuSpeed() + " MHz");
    line("Memory:", platform.memory() == "0" ? "" : platform.memory() + " bytes");
    line("Serial:", machineSerial());
    line("Cores:", std::to_string(platform.cpuPhysicalCoreCount()) + " physical, " +
                       std::to_string(platform.cpuCoreCount()) + " logical, " +
                       std::to_string(platform.cpuCount()) + " package(s)");
}

std::string hexBytes(const SMCResultData& data) {
    const std::size_t size = std::min<std::size_t>(data.dataSize, data.bytes.size());
    return hexEncoded(std::span(data.bytes.data(), size));
}

void printRow(const std::string& index, const std::string& key, const std::string& type,
              unsigned size, const std::string& hex, double value) {
    std::printf("%5s  %-4s  %-4s  %2u  %-16s  %g\n", index.c_str(), key.c_str(), type.c_str(), size,
                hex.c_str(), value);
}

void printKey(SensorSMCController& smc, const std::string& index, const std::string& key) {
    SMCResultData data;
    const double value = valueForSMCKey(smc, key, data, false);
    printRow(index, key, std::string(data.type()), data.dataSize, hexBytes(data), value);
}

// Without root the daemon reads the keys: the one asked for, or, for a listing, every key the
// catalogue knows (the daemon reads by key; only root walks the controller's own table).
int runSmcThroughDaemon(const SmcOptions& options) {
    if (options.read->parsed() && options.key.size() != 4) {
        std::cerr << "corvanebar smc read: a key has four characters\n";
        return 2;
    }
    std::vector<std::string> keys;
    if (options.read->parsed())
        keys.push_back(options.key);
    else
        for (const auto& known : sensorVocabulary())
            keys.emplace_back(known.key);
    const auto bus = systemBus();
    const auto rows = daemonKeyReadings(bus.get(), keys, kDaemonTimeoutMilliseconds);
    if (!rows) {
        std::cerr << "corvanebar smc: the controller's keys can be read by root only, and the "
                     "daemon does not answer on the system bus (see corvanebar daemon status)\n";
        return 1;
    }
    if (!options.read->parsed())
        std::cerr << "corvanebar smc: not root, so these are the keys the catalogue knows, as "
                     "the daemon reads them\n";
    std::printf("index  key   type  size  bytes             value\n");
    for (const auto& row : rows->arrayItems()) {
        const std::string type = row["type"].stringValue();
        if (!options.type.empty() && trimmed(type) != trimmed(options.type))
            continue;
        const Value& bytes = row["data"];
        printRow("-", row["key"].stringValue(), type,
                 static_cast<unsigned>(row["size"].integerValue()),
                 bytes.isData() ? hexEncoded(bytes.data()) : "", row["value"].doubleValue());
    }
    if (options.read->parsed() && rows->size() == 0) {
        std::cerr << "corvanebar smc read: the controller has no key " << options.key << "\n";
        return 1;
    }
    return 0;
}

std::uint32_t keyCount(SensorSMCController& smc) {
    SMCResultData data;
    const double count = valueForSMCKey(smc, "#KEY", data, false);
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

} // namespace

void addMachineCommands(CLI::App& app, MachineOptions& machine, SmcOptions& smc) {
    machine.command = app.add_subcommand(
        "machine", "Print the machine model, its flags, fans and default sensors, and the system");
    machine.command->add_flag("--json", machine.json, "As one JSON object");
    smc.command = app.add_subcommand("smc", "Read the system management controller's keys (root)");
    smc.command->require_subcommand(1);
    smc.keys = smc.command->add_subcommand(
        "keys", "List every key: index, key, type, size, bytes in hex, decoded value");
    smc.keys->add_option("--type", smc.type, "Only keys of this data type, such as sp78");
    smc.read = smc.command->add_subcommand("read", "Read one key");
    smc.read->add_option("KEY", smc.key, "Four characters, such as TC0P")->required();
}

int runMachine(const MachineOptions& options) {
    auto& platform = PlatformController::currentPlatform();
    if (options.json)
        std::cout << machineJson(platform).dump(2) << "\n";
    else
        printMachine(platform);
    return 0;
}

int runSmc(const SmcOptions& options) {
    const SysRoot root = SysRoot::fromEnvironment();
    SensorSMCController smc(std::make_unique<AppleSMCSysfs>(root));
    switch (smc.open()) {
    case kIOReturnSuccess:
        break;
    case kIOReturnNotFound:
        std::cerr << "corvanebar smc: this machine has no applesmc driver (an Intel Mac's "
                     "controller); there are no keys to read\n";
        return 1;
    default:
        return runSmcThroughDaemon(options);
    }
    std::printf("index  key   type  size  bytes             value\n");
    if (options.read->parsed()) {
        if (options.key.size() != 4) {
            std::cerr << "corvanebar smc read: a key has four characters\n";
            return 2;
        }
        std::string index = "-";
        for (std::uint32_t i = 0, count = keyCount(smc); i < count && index == "-"; ++i) {
            const std::string key = smc.keyAtIndex(i);
            if (key.empty())
                break;
            if (key == options.key)
                index = std::to_string(i);
        }
        printKey(smc, index, options.key);
        return 0;
    }
    for (std::uint32_t i = 0, count = keyCount(smc); i < count; ++i) {
        const std::string key = smc.keyAtIndex(i);
        if (key.empty())
            break; // past the controller's table, whatever "#KEY" said
        SMCResultData data;
        smc.readKey(key, data);
        // Types end in blanks ("flt "), which a shell argument seldom keeps.
        if (!options.type.empty() && trimmed(data.type()) != trimmed(options.type))
            continue;
        printKey(smc, std::to_string(i), key);
    }
    return 0;
}
