#include "StatusReport.h"

#include "CommandLine.h"
#include "collectors/battery/BatteryStatus.h"
#include "collectors/cpu/ProcessorStatus.h"
#include "collectors/memory/MemoryStatus.h"
#include "collectors/network/NetworkStatus.h"
#include "foundation/Json.h"

#include <ostream>

namespace corvane {

namespace {

// A sample that measured less than this is the tail of a partial second.
constexpr double kWholeInterval = 0.95;

} // namespace

int printStatus(const StatusSources& s, const std::function<void()>& wait, std::ostream& out,
                std::ostream& err, bool json, const BootVolumeStatus* boot,
                NetworkStatCollector* network, const SensorsStatus* sensors) {
    // The network's rates, as the cycle takes them: the next identifier, then the reading.
    const auto sampleNetwork = [network] {
        if (network) {
            network->setID(network->idForInterval(0) + 1, 0);
            network->updateStats();
        }
    };
    s.cpu.updateStats();
    s.memory.updateStats();
    sampleNetwork();
    wait();
    sampleNetwork();
    s.cpu.updateStats();
    s.load.updateStats();
    s.memory.updateStats();
    s.battery.updateStats();

    const ProcessorStatus processor(s.cpu, s.load);
    const MemoryStatus memory(s.memory);
    const BatteryStatus battery(s.battery);
    if (json) {
        Value all = processor.dictionary();
        if (memory.hasReading())
            all.set("memory", memory.dictionary());
        all.set("battery", battery.dictionary());
        if (boot)
            all.set("bootVolume", boot->dictionary());
        if (network) {
            network->networkStatus();
            all.set("network", NetworkStatus(*network).dictionary());
        }
        if (sensors)
            all.set("sensors", sensors->dictionary());
        out << cli::escapeC1Controls(toJson(all, 2)) << "\n";
    } else {
        out << processor.text() << memory.text() << battery.text();
        if (boot)
            out << boot->text();
        if (network)
            out << NetworkStatus(*network).text();
        if (sensors)
            out << sensors->text();
    }
    const bool readAnything = processor.hasProcessorLoad() || processor.hasLoadAverages() ||
                              memory.hasReading() || !s.battery.batteries().empty();
    if (!readAnything) {
        err << "corvanebar status: nothing could be read of this machine; are /proc and /sys "
               "there?\n";
        return cli::kFailed;
    }
    return 0;
}

StatusWatch::StatusWatch(CPUStatCollector& cpu, LoadStatCollector& load, std::ostream& out,
                         bool json, std::function<void()> stop)
    : cpu_(cpu)
    , load_(load)
    , out_(out)
    , json_(json)
    , stop_(std::move(stop))
    , measuredSince_(cpu.mainQueue().clock().now()) {
    cpu_.addDelegate(this);
    cpu_.startLogging();
}

StatusWatch::~StatusWatch() {
    cpu_.removeDelegate(this);
}

void StatusWatch::collectorUpdatedForMode(StatCollector&, int) {
    const double time = cpu_.sampleAtIndex(0, 0).time;
    const bool whole = time - measuredSince_ >= kWholeInterval;
    measuredSince_ = time;
    if (!whole || outputFailed_)
        return;
    load_.updateStats();
    const ProcessorStatus status(cpu_, load_);
    if (json_)
        out_ << toJson(status.dictionary()) << "\n";
    else
        out_ << status.line() << "\n";
    if (!cli::outputReached(out_)) {
        outputFailed_ = true;
        stop_();
    }
}

} // namespace corvane
