#include "status/DropdownBuilders.h"

#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/LocationStatCollector.h"
#include "clock/TimeDropdown.h"
#include "collectors/battery/BatteryStatCollector.h"
#include "collectors/battery/BatteryStatus.h"
#include "collectors/cpu/ProcessorStatus.h"
#include "collectors/disks/DiskManager.h"
#include "collectors/memory/MemoryStatCollector.h"
#include "collectors/memory/MemoryStatus.h"
#include "collectors/network/NetworkAddressDisplay.h"
#include "collectors/network/NetworkStatus.h"
#include "collectors/ping/PublicAddressFetcher.h"
#include "collectors/sensors/SensorsStatus.h"
#include "collectors/weather/ForecastWording.h"
#include "drawing/CVBBatteryMenuExtraView.h"
#include "foundation/MainQueue.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SystemFacts.h"
#include "status/ProcessTable.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

namespace corvane {

namespace {

// The clock's dates in the chosen language, with its "time" table.
std::unique_ptr<CVBDateAndTimeUtilities> clockUtilities(const TextContext& text) {
    const auto languages = text.translations.preferedLocalization(text.language());
    auto utilities = std::make_unique<CVBDateAndTimeUtilities>(
        CVBDateAndTimeUtilities::localeForLanguage(languages.empty() ? "" : languages.front(),
                                                   formatsLocaleId("LC_TIME")),
        [text](std::string_view key) {
            return HLVLocalizedString(text, key, std::nullopt, "time");
        });
    utilities->setWeekNumberFormat(text.integer("Time_WeekNumberFormat"));
    return utilities;
}

void addTimeRows(std::vector<DropdownRow>& rows, const TextContext& text) {
    const auto utilities = clockUtilities(text);
    rows.push_back(DropdownRow::header(utilities->localized("World Clocks")));
    const Value cities = text.preferences.objectForKey("Time_Cities");
    const double now = SystemClock::shared().now();
    for (std::string& row :
         worldClockRows(*utilities, cities, text.preferences.objectForKey("Time_CityNames"), now))
        rows.push_back(DropdownRow::textRow(std::move(row)));
    const Value last =
        text.preferences.userDefaults().copyValue(LocationStatCollector::kLastLocationKey);
    if (const auto place = skyPlace(last, cities)) {
        rows.push_back(DropdownRow::header(utilities->localized("Sun and Moon")));
        for (std::string& row : skyRows(*utilities, *place, now))
            rows.push_back(DropdownRow::textRow(std::move(row)));
    }
}

// The forecast: now, today, the next hours and days, and whose figures they are.
void addWeatherRows(std::vector<DropdownRow>& rows, const ForecastWording& w) {
    rows.push_back(DropdownRow::header(w.place));
    if (!w.now.empty())
        rows.push_back(DropdownRow::textRow(w.now));
    for (const auto& [label, value] : w.details)
        rows.push_back(DropdownRow::textRow(label + ": " + value));
    if (!w.hours.empty())
        rows.push_back(DropdownRow::separator());
    for (const auto& [hour, value] : w.hours)
        rows.push_back(DropdownRow::textRow(hour + "  " + value));
    if (!w.days.empty())
        rows.push_back(DropdownRow::separator());
    for (const auto& [day, value] : w.days)
        rows.push_back(DropdownRow::textRow(day + "  " + value));
    if (!w.note.empty())
        rows.push_back(DropdownRow::textRow(w.note));
    if (!w.attribution.empty())
        rows.push_back(DropdownRow::textRow(w.attribution));
}

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

// Whether a list the user keeps ("FilteringDisks") names the entry.
bool listed(CVBPreferences& preferences, const char* key, const std::string& entry) {
    const auto& items = preferences.objectForKey(key).arrayItems();
    return std::any_of(items.begin(), items.end(),
                       [&](const Value& item) { return item.stringValue() == entry; });
}

std::size_t processCount(const TextContext& text, const char* key) {
    return static_cast<std::size_t>(std::clamp<std::int64_t>(text.integer(key), 0, kMostProcesses));
}

// Every service's newest rates added up, as `corvanebar net` shows them, without describing
// each service as a dictionary every second.
std::pair<double, double> totalRates(const NetworkStatCollector& network) {
    double down = 0, up = 0;
    for (const auto& service : network.services()) {
        const statsample newest = service->sampleAtIndex(0, 0);
        if (!newest.values || newest.sampleID == 0 || newest.empty)
            continue;
        down += newest.values[NetworkStatCollectorItem::Download];
        up += newest.values[NetworkStatCollectorItem::Upload];
    }
    return {down, up};
}

} // namespace

std::string DropdownBuilders::translated(std::string_view key) const {
    if (const auto known = translations_.find(key); known != translations_.end())
        return known->second;
    return translations_.emplace(key, HLVLocalizedString(text_, key, std::nullopt, kTable))
        .first->second;
}

std::string DropdownBuilders::valueRow(std::string_view label, const std::string& value) const {
    return translated(label) + ": " + value;
}

ForecastWording DropdownBuilders::weatherWording() const {
    const WeatherUtilities units(text_, WeatherDefaultUnits::current());
    return wordForecast(sources_.forecast ? sources_.forecast() : Value(), units,
                        SystemClock::shared().now());
}

void DropdownBuilders::appendClosingRows(std::vector<DropdownRow>& rows) const {
    rows.push_back(DropdownRow::separator());
    rows.push_back(
        DropdownRow::actionRow(translated("Open Corvane Bar Settings…"), kOpenSettingsAction));
    rows.push_back(DropdownRow::actionRow(translated("Quit"), kQuitAction));
}

ItemSummary DropdownBuilders::summary(std::string_view section) const {
    ItemSummary s;
    if (section == "time") {
        const auto utilities = clockUtilities(text_);
        s.label = menubarClockText(*utilities, text_.preferences.objectForKey("Time_MenubarFormat"),
                                   SystemClock::shared().now());
        s.labelGuide = s.label;
        s.tooltip = s.label;
        s.accessibleDescription = s.label;
        return s;
    }
    s.labelGuide = percent(text_, 100);
    std::optional<double> value;
    std::string_view title;
    if (section == "cpu") {
        title = "CPU: %@";
        value = ProcessorStatus(sources_.cpu, sources_.load).totalPercent();
    } else if (section == "memory") {
        title = "Memory: %@";
        value = MemoryStatus(sources_.memory).usedPercent();
    } else if (section == "disks" && sources_.disks) {
        title = "Disks: %@";
        const auto boot = sources_.disks->disks().bootDisk();
        if (boot && boot->hasSizes)
            value = boot->storagePercentage;
    } else if (section == "network" && sources_.network) {
        // Rates, not a share: the label is the two rates and the picture stays empty.
        const auto [down, up] = totalRates(*sources_.network);
        s.label = formattedBandwidthFormatter(text_, false, down) + " / " +
                  formattedBandwidthFormatter(text_, false, up);
        s.labelGuide = s.label;
        s.tooltip = described(*this, "Network: %@", s.label);
        s.accessibleDescription = s.tooltip;
        return s;
    } else if (section == "sensors" && sources_.sensors) {
        // Readings in their own units: the label is the default sensors' values.
        const Value shown =
            SensorsStatus(*sources_.sensors, text_, SensorsStatus::Scope::defaults).dictionary();
        for (const Value& sensor : shown.arrayItems())
            s.label += (s.label.empty() ? "" : " ") + sensor["text"].stringValue();
        if (!shown.arrayItems().empty())
            s.fraction = std::clamp(shown[0]["percentage"].doubleValue(), 0.0, 1.0);
        s.labelGuide = s.label;
        s.tooltip = described(*this, "Sensors: %@", s.label);
        s.accessibleDescription = s.tooltip;
        return s;
    } else if (section == "weather") {
        const ForecastWording w = weatherWording();
        s.label = w.now;
        s.labelGuide = s.label;
        s.tooltip = described(*this, "Weather: %@", w.empty ? w.note : w.place + " " + w.now);
        s.accessibleDescription = s.tooltip;
        return s;
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
    else if (section == "disks")
        addDiskRows(model.rows, graph, period);
    else if (section == "network")
        addNetworkRows(model.rows, graph, period);
    else if (section == "sensors")
        addSensorRows(model.rows, graph, period);
    else if (section == "time")
        addTimeRows(model.rows, text_);
    else if (section == "weather")
        addWeatherRows(model.rows, weatherWording());
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

// Every sensor under its heading: value, limits and the extremes seen.
void DropdownBuilders::addGraphRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                                    const GraphPeriod& period) const {
    if (graph.empty())
        return;
    rows.push_back(DropdownRow::pictureRow(graph, translated(period.name)));
    rows.push_back(DropdownRow::actionRow(valueRow("History", translated(period.name)),
                                          kNextGraphPeriodAction));
}

void DropdownBuilders::addSensorRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                                     const GraphPeriod& period) const {
    if (!sources_.sensors)
        return;
    const Value all =
        SensorsStatus(*sources_.sensors, text_, SensorsStatus::Scope::all).dictionary();
    if (all.arrayItems().empty())
        rows.push_back(DropdownRow::textRow(translated("No sensors were found")));
    addGraphRows(rows, graph, period);
    std::optional<std::string> heading;
    for (const Value& sensor : all.arrayItems()) {
        if (sensor["hidden"].boolValue())
            continue;
        if (sensor["heading"].stringValue() != heading) {
            heading = sensor["heading"].stringValue();
            rows.push_back(DropdownRow::header(translated(*heading)));
        }
        std::string row =
            printable(sensor["name"].stringValue()) + ": " + sensor["text"].stringValue();
        if (sensor.contains("low"))
            row +=
                "  " + sensor["lowText"].stringValue() + " – " + sensor["highText"].stringValue();
        if (sensor.contains("lowest"))
            row += "  (" + sensor["lowestText"].stringValue() + " – " +
                   sensor["highestText"].stringValue() + ")";
        rows.push_back(DropdownRow::textRow(std::move(row)));
    }
}

// Each group of volumes with their space, then the disks' rates.
void DropdownBuilders::addDiskRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                                   const GraphPeriod& period) const {
    if (!sources_.disks || sources_.disks->stucture().empty()) {
        rows.push_back(DropdownRow::header(translated("Disks")));
        rows.push_back(DropdownRow::textRow(translated("No disks")));
        return;
    }
    for (const DiskStructureGroup& group : sources_.disks->stucture()) {
        const bool named = group.physicalDiskName && !group.physicalDiskName->empty();
        rows.push_back(DropdownRow::header(group.bsd == "_network"      ? translated("Network")
                                           : group.bsd == "_removable"  ? translated("Removable")
                                           : group.bsd == "_notmounted" ? translated("Not Mounted")
                                           : named                      ? *group.physicalDiskName
                                                                        : group.bsd));
        for (const DiskStructurePartition& partition : group.partitions) {
            if (listed(text_.preferences, "FilteringDisks", partition.key))
                continue;
            const DiskStatCollectorItem& volume = *partition.collector;
            if (!volume.hasSizes) {
                rows.push_back(DropdownRow::textRow(printable(volume.name)));
                continue;
            }
            rows.push_back(
                DropdownRow::textRow(printable(volume.name) + ": " +
                                     amountOf(*this, formattedSpace(text_, volume.storageUsed),
                                              formattedSpace(text_, volume.storageSize)) +
                                     " (" + percent(text_, volume.storagePercentage) + ")"));
        }
    }
    const auto disks = sources_.disks->activity().disks();
    if (disks.empty())
        return;
    rows.push_back(DropdownRow::header(translated("Activity")));
    addGraphRows(rows, graph, period);
    for (const auto& disk : disks)
        if (!listed(text_.preferences, "FilteringDiskActivity", disk->key()))
            rows.push_back(DropdownRow::textRow(
                printable(disk->name) + ": " +
                valueRow("Read", formattedDiskActivity(text_, disk->read)) + "  " +
                valueRow("Write", formattedDiskActivity(text_, disk->write))));
}

// Each service with its addresses, router, DNS, link and rates, then this period's totals.
void DropdownBuilders::addNetworkRows(std::vector<DropdownRow>& rows, const PanelPicture& graph,
                                      const GraphPeriod& period) const {
    const Value all = sources_.network ? NetworkStatus(*sources_.network).dictionary() : Value();
    if (all["services"].empty()) {
        rows.push_back(DropdownRow::header(translated("Network")));
        rows.push_back(DropdownRow::textRow(translated("No services")));
        return;
    }
    const auto joined = [](const Value& list) {
        std::string text;
        for (const Value& item : list.arrayItems())
            text += (text.empty() ? "" : ", ") + printable(item.stringValue());
        return text;
    };
    const bool showBSD = text_.preferences.objectForKey("Network_ShowBSD").boolValue();
    const auto addresses = NetworkAddressDisplay::fromSettings(
        [this](std::string_view key) { return text_.preferences.objectForKey(key); });
    for (const Value& s : all["services"].arrayItems()) {
        if (listed(text_.preferences, "FilteringNetwork", s["service"].stringValue()))
            continue;
        std::string name = printable(s["name"].stringValue());
        if (showBSD && !s["interface"].stringValue().empty())
            name += " (" + printable(s["interface"].stringValue()) + ")";
        rows.push_back(DropdownRow::header(name));
        for (const auto& line : addresses.lines(s, sources_.network->ipf6AddressFlags())) {
            std::string text;
            for (const auto& address : line.addresses)
                text += (text.empty() ? "" : ", ") + printable(address);
            rows.push_back(DropdownRow::textRow(valueRow(line.label, text)));
        }
        for (const char* key : {"dnsIPV4", "dnsIPV6"})
            if (!s[key].empty())
                rows.push_back(DropdownRow::textRow(valueRow("DNS", joined(s[key]))));
        for (const char* key : {"routerIPV4", "routerIPV6"})
            if (!s[key].stringValue().empty())
                rows.push_back(DropdownRow::textRow(valueRow("Router", s[key].stringValue())));
        if (s["linkSpeed"].doubleValue() > 0)
            rows.push_back(DropdownRow::textRow(
                valueRow("Link Speed", std::to_string(s["linkSpeed"].integerValue()) + " Mb/s")));
        if (!s["interface"].stringValue().empty())
            rows.push_back(DropdownRow::textRow(
                valueRow("Download",
                         formattedBandwidth(text_, false, s["download"].doubleValue())) +
                "  " +
                valueRow("Upload", formattedBandwidth(text_, false, s["upload"].doubleValue()))));
    }
    if (sources_.publicAddress &&
        PublicAddressFetcher::shownWith(
            text_.preferences.objectForKey("Network_DropdownOrderDisabled").stringValue())) {
        const std::string address = sources_.publicAddress()["address"].stringValue();
        rows.push_back(DropdownRow::header(translated("Public IP Address")));
        rows.push_back(
            DropdownRow::textRow(address.empty() ? translated("Unknown") : printable(address)));
    }
    if (!graph.empty()) {
        rows.push_back(DropdownRow::header(translated("Bandwidth")));
        rows.push_back(DropdownRow::pictureRow(graph, translated(period.name)));
        rows.push_back(DropdownRow::actionRow(valueRow("History", translated(period.name)),
                                              kNextGraphPeriodAction));
    }
    const auto& periods = sources_.network->bandwidthItems();
    if (periods.empty())
        return;
    rows.push_back(DropdownRow::header(translated("Data Used")));
    for (const auto& [name, used] : periods)
        rows.push_back(DropdownRow::textRow(
            printable(name) + ": " +
            valueRow("Download", formattedSpace(text_, used.downloadBytes())) + "  " +
            valueRow("Upload", formattedSpace(text_, used.uploadBytes()))));
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
