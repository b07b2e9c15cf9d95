#pragma once

#include "collectors/sensors/CpuFrequencySensors.h"
#include "collectors/sensors/SensorsStatCollector.h"
#include "foundation/GLibHandles.h"
#include "foundation/SysRoot.h"
#include "hardware/HwmonReadings.h"
#include "hardware/SensorSMCController.h"

#include <gio/gio.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace corvane {

// Keys read in this process through the controller: as root, or from a recorded tree.
class SMCDirectKeyReader final : public SensorKeyReader {
public:
    SMCDirectKeyReader(SensorSMCController& smc, bool fauxMac)
        : smc_(smc)
        , faux_(fauxMac) {}
    double value(std::string_view key) override;

private:
    SensorSMCController& smc_;
    bool faux_;
};

// The sensors of this machine. A Mac's controller keys are read through a key reader and
// follow the catalogue; every other machine's sensors are its hwmon inputs under their stable
// keys, read from descriptors kept open. A chip that goes away takes its items with it, and
// they come back under the same keys when it returns.
class SensorsStatCollectorLinux final : public SensorsStatCollector {
public:
    // `keys` null: the hwmon path, or, on a Mac that reads its sensors by name, the named
    // hwmon inputs. `platform` is the machine's; on the hwmon path it is only asked for its
    // default sensors, names and quirks.
    SensorsStatCollectorLinux(const EngineContext& context, SysRoot root,
                              std::unique_ptr<PlatformMac> platform,
                              std::unique_ptr<SensorKeyReader> keys = nullptr);
    ~SensorsStatCollectorLinux() override;

    // The collector for the running machine, loaded. A Mac's controller keys are read here by
    // root and through the daemon on the system bus by anyone else.
    static std::unique_ptr<SensorsStatCollectorLinux> make(const EngineContext& context,
                                                           SysRoot root);
    // `daemonBus` null: this process reads the keys itself. A daemon that does not answer
    // leaves the driver's hwmon readings in their place.
    static std::unique_ptr<SensorsStatCollectorLinux>
    make(const EngineContext& context, SysRoot root, GObjectRef<GDBusConnection> daemonBus);

    // The process's collector, made and loaded on first use with the first context asked.
    static SensorsStatCollectorLinux& sharedSensorCollector(const EngineContext& context);
    static void cleanupShared();

    void loadSensors() override;
    // The named sensors' list as the daemon gave it (`armSensors`); the fans follow.
    void loadArmSensors(const Value& daemonRows);
    // The CPU and GPU frequency items; they freeze while switched off.
    void setFrequencySensorsEnabled(bool enabled) { frequencyEnabled_ = enabled; }
    bool readsHwmon() const { return !keys_ && !arm_; }

    // A reading no sensor of its kind can give: a diode's marker or a chip's fault code.
    static bool impossibleReading(const HwmonInput& input, double value);

protected:
    double readKey(std::string_view key) override;
    std::vector<NamedReading> liveArmSensors() override;
    void refreshValue(SensorStatCollectorItem& item) override;
    void beginUpdate(std::int64_t identifier) override;

private:
    void loadHwmon();
    // The chips listed now: each hwmonN and where it leads.
    std::vector<std::string> chipListing() const;
    void loadFrequencySensors();

    SysRoot root_;
    std::unique_ptr<SensorKeyReader> keys_;
    std::unique_ptr<SensorsARMController> arm_;
    std::unique_ptr<HwmonReadings> hwmon_;
    std::vector<std::string> listing_;
    std::set<std::string, std::less<>> reportedImpossible_;
    std::unique_ptr<CpuFrequencySensors> frequency_;
    bool frequencyEnabled_ = true;
};

} // namespace corvane
