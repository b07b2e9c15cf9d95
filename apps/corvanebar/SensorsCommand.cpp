#include "SensorsCommand.h"

#include "CommandLine.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "collectors/sensors/SensorsStatus.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"

#include <glib.h>
#include <iostream>

void addSensorsCommand(CLI::App& app, SensorsOptions& o) {
    o.command = app.add_subcommand(
        "sensors", "Print the temperatures, fans, voltages, currents, power and frequencies");
    o.command->add_flag("--json", o.json, "Print the sensors as JSON");
    o.command->add_flag("--watch", o.watch, "Print the sensors again on each update");
}

namespace {

void print(const corvane::SensorsStatus& status, bool json, bool compact) {
    if (json)
        std::cout << corvane::cli::escapeC1Controls(
                         corvane::toJson(status.dictionary(), compact ? -1 : 2))
                  << std::endl;
    else
        std::cout << status.text() << std::flush;
}

// Prints after each update of the collector's cycle until a signal or a closed output.
class SensorsWatch final : public corvane::StatCollectorDelegate {
public:
    SensorsWatch(corvane::GLibMainQueue& queue, const corvane::SensorsStatus& status, bool json)
        : queue_(queue)
        , status_(status)
        , json_(json) {}
    void collectorUpdatedForMode(corvane::StatCollector&, int) override {
        if (!json_)
            std::cout << "\n";
        print(status_, json_, true);
        if (!std::cout)
            queue_.quit();
    }

private:
    corvane::GLibMainQueue& queue_;
    const corvane::SensorsStatus& status_;
    bool json_;
};

} // namespace

int runSensors(const SensorsOptions& o) {
    corvane::setupLog("App");
    corvane::GLibMainQueue queue;
    const corvane::EngineContext context{queue, corvane::kSettingsTierCount, nullptr};
    auto sensors =
        corvane::SensorsStatCollectorLinux::make(context, corvane::SysRoot::fromEnvironment());
    corvane::TextCaches caches;
    const corvane::TextContext text = caches.with(corvane::CVBPreferences::sharedPreferences());
    const corvane::SensorsStatus status(*sensors, text, corvane::SensorsStatus::Scope::all);
    print(status, o.json, false);
    if (!o.watch || sensors->sensors().empty())
        return std::cout ? 0 : 1;
    queue.quitOnTermination();
    SensorsWatch printer(queue, status, o.json);
    sensors->addDelegate(&printer);
    sensors->startLogging();
    queue.run();
    sensors->removeDelegate(&printer);
    sensors->cleanup();
    return std::cout ? 0 : 1;
}
