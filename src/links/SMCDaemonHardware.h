#pragma once

#include "hardware/SensorSMCController.h"
#include "hardware/SensorsARMController.h"
#include "links/DaemonHardware.h"

namespace corvane {

// The daemon's readings on a machine with the applesmc driver: the daemon is the one owner of
// the driver's key cursor, so every key read of every client goes through this controller.
// A row answers {"key", "type", "size", "data" (the raw bytes), "value" (decoded)}; the
// catalogue messages keep the rows whose key the machine has, each with its value now; the
// machines that read sensors by name answer `armSensors` from their named hwmon inputs.
class SMCDaemonHardware final : public DaemonHardware {
public:
    explicit SMCDaemonHardware(const SysRoot& root);

    Value sensors(const Value& keys) override;
    Value armSensors(const Value& rows) override;
    Value supportedSensors(const Value& rows) override;
    Value supportedFans(const Value& rows) override;
    std::string serialNumber() override { return dmiSerialNumber(root_); }

private:
    // The key's reading, or nothing when the machine has no such key.
    std::optional<Value> read(const std::string& key);
    Value presentRows(const Value& rows);

    SysRoot root_;
    SensorSMCController smc_;
    std::unique_ptr<SensorsARMController> arm_;
};

} // namespace corvane
