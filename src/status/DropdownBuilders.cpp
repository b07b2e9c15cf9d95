#include "status/DropdownBuilders.h"

#include "collectors/battery/BatteryStatCollector.h"
#include "collectors/battery/BatteryStatus.h"
#include "collectors/cpu/ProcessorStatus.h"
#include "collectors/memory/MemoryStatCollector.h"
#include "collectors/memory/MemoryStatus.h"
#include "drawing/CVBBatteryMenuExtraView.h"
#include "preferences/CVBPreferences.h"
#include "status/ProcessTable.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace corvane {

namespace {

constexpr const char* kTable = "status";
constexpr int kMostProcesses = 20;

std::string percent(const TextContext& text, double value, int decimals = 0) {
    return formattedPercentage(text, decimals, value);
}

// Names come from processes and devices; a control character must not reach a menu.
std::string printable(std::string_view text) {
    std::string out(text);
    std::replace_if(
        out.begin(), out.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, '?');
    return out;
}

std::string described(const DropdownBuilders& builders, std::string_view title,
                      const std::string& value) {
    return formattedString(builders.translated(title), value);
}

const char* pressureWord(std::int64_t level) {
    switch (level) {
    case 1:
        return "Normal";
    case 2:
        return "Warning";
    case 4:
        return "Critical";
    default:
        return nullptr;
    }
}

const char* stateWord(std::int64_t state) {
    switch (state) {
    case BatteryStatCollectorItem::Charging:
        return "Charging";
    case BatteryStatCollectorItem::Discharging:
        return "Discharging";
    case BatteryStatCollectorItem::OnMainsNotCharging:
        return "Not Charging";
    case BatteryStatCollectorItem::HeldBackByOptimisedCharging:
        return "Paused";
    default:
        return "Charged";
    }
}

std::string uptimeText(const DropdownBuilders& builders, double seconds) {
    const auto minutes = static_cast<long long>(seconds / 60);
    char clock[32];
    std::snprintf(clock, sizeof clock, "%lld:%02lld", minutes / 60 % 24, minutes % 60);
    const long long days = minutes / (60 * 24);
    if (days == 0)
        return clock;
    const std::string word = builders.translated(days == 1 ? "1 day" : "%@ days");
    return formattedString(word, std::to_string(days)) + " " + clock;
}

// "2 GB of 8 GB": the format's two "%@" filled in order.
std::string amountOf(const DropdownBuilders& builders, const std::string& part,
                     const std::string& whole) {
    return formattedString(formattedString(builders.translated("%@ of %@"), part), whole);
}

std::size_t processCount(const TextContext& text, const char* key) {
    return static_cast<std::size_t>(std::clamp<std::int64_t>(text.integer(key), 0, kMostProcesses));
}

} // namespace

std::string DropdownBuilders::translated(std::string_view key) const {
    return HLVLocalizedString(text_, key, std::nullopt, kTable);
}

std::string DropdownBuilders::valueRow(std::string_view label, const std::string& value) const {
    return translated(label) + ": " + value;
}

void DropdownBuilders::appendClosingRows(std::vector<DropdownRow>& rows) const {
    rows.push_back(DropdownRow::separator());
    rows.push_back(
        DropdownRow::actionRow(translated("Open Corvane Bar Settings…"), kOpenSettingsAction));
    rows.push_back(DropdownRow::actionRow(translated("Quit"), kQuitAction));
}

ItemSummary DropdownBuilders::summary(std::string_view section) const {
    ItemSummary s;
    s.labelGuide = percent(text_, 100);
    std::optional<double> value;
    std::string_view title;
    if (section == "cpu") {
        title = "CPU: %@";
        value = ProcessorStatus(sources_.cpu, sources_.load).totalPercent();
    } else if (section == "memory") {
        title = "Memory: %@";
        value = MemoryStatus(sources_.memory).usedPercent();
    } else if (section == "battery") {
        title = "Battery: %@";
        const auto battery = sources_.battery.primaryBattery();
        if (battery && battery->hasPercentage)
            value = static_cast<double>(battery->percentage);
        s.batteryState = battery ? battery->state : BatteryStatCollectorItem::ChargedOrUnknown;
    }
    if (!value || !std::isfinite(*value))
        return s;
    const double shown = std::clamp(*value, 0.0, 100.0);
    s.label = percent(text_, shown);
    s.fraction = shown / 100.0;
    s.tooltip = described(*this, title, s.label);
    s.accessibleDescription = s.tooltip;
    return s;
}

DropdownModel DropdownBuilders::dropdown(std::string_view section, const PanelPicture& graph,
                                         const GraphPeriod& period) const {
    DropdownModel model;
    if (section == "cpu")
        addProcessorRows(model.rows, graph, period);
    else if (section == "memory")
        addMemoryRows(model.rows);
    else if (section == "battery")
        addBatteryRows(model.rows);
    appendClosingRows(model.rows);
    return model;
}

void DropdownBuilders::addProcessorRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                                        const GraphPeriod& period) const {
    const Value status = ProcessorStatus(sources_.cpu, sources_.load).dictionary();
    rows.push_back(DropdownRow::header(translated("Processor")));
    if (status.contains("cpu")) {
        const Value& cpu = status["cpu"];
        rows.push_back(
            DropdownRow::textRow(valueRow("User", percent(text_, cpu["user"].doubleValue()))));
        rows.push_back(
            DropdownRow::textRow(valueRow("System", percent(text_, cpu["system"].doubleValue()))));
        rows.push_back(
            DropdownRow::textRow(valueRow("Nice", percent(text_, cpu["nice"].doubleValue()))));
        const double idle = std::max(0.0, 100.0 - cpu["total"].doubleValue());
        rows.push_back(DropdownRow::textRow(valueRow("Idle", percent(text_, idle))));
    } else {
        rows.push_back(DropdownRow::textRow(translated("No processor figures")));
    }
    if (!graph.empty()) {
        rows.push_back(DropdownRow::pictureRow(graph, translated(period.name)));
        rows.push_back(DropdownRow::actionRow(valueRow("History", translated(period.name)),
                                              kNextGraphPeriodAction));
    }
    const auto& cores = status["cores"].arrayItems();
    if (cores.size() > 1) {
        rows.push_back(DropdownRow::header(translated("Cores")));
        int number = 1;
        for (const auto& core : cores)
            rows.push_back(DropdownRow::textRow(
                formattedString(translated("Core %@"), std::to_string(number++)) + ": " +
                percent(text_, core["total"].doubleValue())));
    }
    if (status.contains("load")) {
        const Value& load = status["load"];
        char averages[64];
        std::snprintf(averages, sizeof averages, "%.2f, %.2f, %.2f", load["one"].doubleValue(),
                      load["five"].doubleValue(), load["fifteen"].doubleValue());
        rows.push_back(DropdownRow::textRow(valueRow("Load Averages", averages)));
    }
    if (const auto uptime = uptimeSeconds())
        rows.push_back(DropdownRow::textRow(valueRow("Uptime", uptimeText(*this, *uptime))));
    addTopProcesses(rows, false);
}

void DropdownBuilders::addMemoryRows(std::vector<DropdownRow>& rows) const {
    const Value m = MemoryStatus(sources_.memory).dictionary();
    rows.push_back(DropdownRow::header(translated("Memory")));
    if (!m.contains("total")) {
        rows.push_back(DropdownRow::textRow(translated("No memory figures")));
        addTopProcesses(rows, true);
        return;
    }
    const statsample sample = sources_.memory.sampleAtIndex(0, 0); // the values live in it
    const double* v = sample.values;
    std::string pressure = percent(text_, v[MemoryStatCollector::WiredAndCompressed]);
    if (const char* word = pressureWord(m["pressureLevel"].integerValue()))
        pressure += " (" + translated(word) + ")";
    rows.push_back(DropdownRow::textRow(valueRow("Pressure", pressure)));
    const double used =
        m["wired"].doubleValue() + m["active"].doubleValue() + m["compressed"].doubleValue();
    rows.push_back(DropdownRow::textRow(
        valueRow("Used", amountOf(*this, formattedMemory(text_, used),
                                  formattedMemory(text_, m["total"].doubleValue())))));
    rows.push_back(DropdownRow::textRow(
        valueRow("App Memory", formattedMemory(text_, m["application"].doubleValue()))));
    rows.push_back(
        DropdownRow::textRow(valueRow("Wired", formattedMemory(text_, m["wired"].doubleValue()))));
    rows.push_back(DropdownRow::textRow(
        valueRow("Compressed", formattedMemory(text_, m["compressed"].doubleValue()))));
    rows.push_back(DropdownRow::textRow(
        valueRow("File Cache", formattedMemory(text_, m["fileCache"].doubleValue()))));
    rows.push_back(
        DropdownRow::textRow(valueRow("Free", formattedMemory(text_, m["free"].doubleValue()))));
    rows.push_back(DropdownRow::header(translated("Swap")));
    rows.push_back(DropdownRow::textRow(valueRow(
        "Swap Used", amountOf(*this, formattedMemory(text_, m["swapUsed"].doubleValue() / 1024),
                              formattedMemory(text_, m["swapTotal"].doubleValue() / 1024)))));
    rows.push_back(DropdownRow::textRow(
        valueRow("Page Ins", formattedDiskActivity(text_, v[MemoryStatCollector::PageInsSince]))));
    rows.push_back(DropdownRow::textRow(valueRow(
        "Page Outs", formattedDiskActivity(text_, v[MemoryStatCollector::PageOutsSince]))));
    addTopProcesses(rows, true);
}

void DropdownBuilders::addBatteryRows(std::vector<DropdownRow>& rows) const {
    const Value all = BatteryStatus(sources_.battery).dictionary();
    const auto& sources = all["sources"].arrayItems();
    if (sources.empty())
        rows.push_back(DropdownRow::textRow(translated("No battery or power source")));
    for (const auto& source : sources) {
        const std::string name = printable(source["name"].stringValue());
        rows.push_back(DropdownRow::header(name.empty() ? translated("Battery") : name));
        if (source.contains("percentage"))
            rows.push_back(DropdownRow::textRow(
                valueRow("Charge", percent(text_, source["percentage"].doubleValue()))));
        const std::int64_t state = source["state"].integerValue();
        rows.push_back(DropdownRow::textRow(valueRow("State", translated(stateWord(state)))));
        const std::int64_t time = source["time"].integerValue();
        if (time != BatteryStatCollectorItem::kTimeNoEstimate)
            rows.push_back(DropdownRow::textRow(valueRow(
                "Time", CVBBatteryMenuExtraView::formattedBatteryTime(text_, state, time))));
        const bool internal =
            source["type"].integerValue() == BatteryStatCollectorItem::InternalBattery;
        if (internal && source["health"].doubleValue() > 0)
            rows.push_back(DropdownRow::textRow(
                valueRow("Health", percent(text_, source["health"].doubleValue()))));
        if (source.contains("cycles"))
            rows.push_back(DropdownRow::textRow(
                valueRow("Cycles", std::to_string(source["cycles"].integerValue()))));
    }
    if (all.contains("adapterWatts"))
        rows.push_back(DropdownRow::textRow(
            valueRow("Power Adapter", std::to_string(all["adapterWatts"].integerValue()) + " W")));
}

void DropdownBuilders::addTopProcesses(std::vector<DropdownRow>& rows, bool byMemory) const {
    // Shares of the processor need a scan before to be measured from.
    if (!sources_.processes.scanned() || (!byMemory && !sources_.processes.measured()))
        return;
    const std::size_t count =
        processCount(text_, byMemory ? "Memory_ProcessCount" : "CPU_ProcessCount");
    const bool combine = text_.preferences.objectForKey("ProcessesCombine").boolValue();
    const auto top = byMemory ? sources_.processes.topByMemory(count, combine)
                              : sources_.processes.topByCPU(count, combine);
    if (top.empty())
        return;
    rows.push_back(DropdownRow::header(translated("Top Processes")));
    for (const auto& process : top)
        rows.push_back(
            DropdownRow::textRow(printable(process.name) + ": " +
                                 (byMemory ? formattedMemory(text_, process.residentKilobytes)
                                           : percent(text_, process.cpuPercent, 1))));
}

std::optional<double> DropdownBuilders::uptimeSeconds() const {
    const auto text = sources_.root.readFile("/proc/uptime", 256);
    if (!text)
        return std::nullopt;
    char* end = nullptr;
    const double seconds = std::strtod(text->c_str(), &end);
    if (end == text->c_str() || !std::isfinite(seconds) || seconds < 0)
        return std::nullopt;
    return seconds;
}

} // namespace corvane
