#pragma once

#include "foundation/SysRoot.h"
#include "status/PanelItem.h"
#include "text/TextContext.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

class BatteryStatCollector;
class CPUStatCollector;
class DiskManager;
struct ForecastWording;
class LoadStatCollector;
class MemoryStatCollector;
class NetworkStatCollector;
class ProcessTable;
class SensorsStatCollector;

// The collectors and files the texts of the items are read from.
struct ItemSources {
    CPUStatCollector& cpu;
    LoadStatCollector& load;
    MemoryStatCollector& memory;
    BatteryStatCollector& battery;
    const ProcessTable& processes;
    SysRoot root; // for the uptime
    // The tree of disks and volumes, where the program has one.
    DiskManager* disks = nullptr;
    // The network services, where the program follows them.
    NetworkStatCollector* network = nullptr;
    // The sensors, where the program reads them.
    SensorsStatCollector* sensors = nullptr;
    // The public address as last fetched ({"address": ...}), where the program asks it.
    std::function<Value()> publicAddress = {};
    // The forecast record as last fetched, where the program follows one.
    std::function<Value()> forecast = {};
};

// What an item says besides its picture: its value as text for panels that show text, and
// the main value for its square picture.
struct ItemSummary {
    std::string label;      // "12%"; empty while nothing was read
    std::string labelGuide; // the widest text the label can take
    std::string tooltip;
    std::string accessibleDescription;
    double fraction = 0; // 0 to 1
    // For a battery: its charge and state, drawn as a battery in the square picture.
    std::optional<std::int64_t> batteryState;
};

// The periods the processor's history graph in its dropdown can span: the rings of the
// first three tiers.
struct GraphPeriod {
    int tier;
    std::string_view name; // before translation
};
inline constexpr GraphPeriod kGraphPeriods[] = {{0, "10 Minutes"}, {1, "1 Hour"}, {2, "24 Hours"}};
// The row action that moves the graph on to the next period.
inline constexpr const char* kNextGraphPeriodAction = "next-graph-period";

// Builds the dropdown rows and summaries of the items from the newest samples, through the
// formatters and the "status" string table. Figures a source did not give are left out, not
// shown as zeros.
class DropdownBuilders {
public:
    DropdownBuilders(ItemSources sources, const TextContext& text)
        : sources_(std::move(sources))
        , text_(text) {}

    ItemSummary summary(std::string_view section) const;

    // The rows of the section's dropdown, ending with the rows every dropdown ends with.
    // `graph` is the processor's or the network's history picture, shown when not empty,
    // over `period`.
    DropdownModel dropdown(std::string_view section, const PanelPicture& graph = {},
                           const GraphPeriod& period = kGraphPeriods[0]) const;

    // "Open Corvane Bar Settings…" and "Quit", after a separator.
    void appendClosingRows(std::vector<DropdownRow>& rows) const;
    // A word of the "status" table in the language chosen when these builders were made.
    std::string translated(std::string_view key) const;
    // "label: value", with the label translated.
    std::string valueRow(std::string_view label, const std::string& value) const;

private:
    void addProcessorRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                          const GraphPeriod& period) const;
    void addMemoryRows(std::vector<DropdownRow>& rows) const;
    void addBatteryRows(std::vector<DropdownRow>& rows) const;
    void addDiskRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                     const GraphPeriod& period) const;
    void addNetworkRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                        const GraphPeriod& period) const;
    void addSensorRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                       const GraphPeriod& period) const;
    // The history picture over its period and the row that moves it on, when there is one.
    void addGraphRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                      const GraphPeriod& period) const;
    void addTopProcesses(std::vector<DropdownRow>& rows, bool byMemory) const;
    std::optional<double> uptimeSeconds() const;
    ForecastWording weatherWording() const;

    ItemSources sources_;
    // Words looked up so far: each frame asks for the same few.
    mutable std::map<std::string, std::string, std::less<>> translations_;
    TextContext text_;
};

} // namespace corvane
