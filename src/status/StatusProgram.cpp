#include "status/StatusProgram.h"

#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/disks/DiskSystem.h"
#include "collectors/memory/MemoryStatCollector.h"
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/ping/PublicAddressFetcher.h"
#include "collectors/ping/ReachabilityCheck.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "collectors/weather/WeatherStatCollector.h"
#include "drawing/CVBModuleView.h"
#include "drawing/Surface.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "shell/DisksController.h"
#include "shell/SectionItems.h"
#include "status/HeadlessWriter.h"
#include "status/ItemPainter.h"
#include "status/PanelAppearance.h"
#include "status/SettingsListener.h"
#include "status/StatusCollectors.h"
#include "status/StatusItemService.h"
#include "status/StatusSections.h"

#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

constexpr const char* kOrderKey = "StatusItems-Order";
constexpr const char* kTrayStyleKey = "Status_TrayStyle";
constexpr const char* kGraphPeriodKey = "Status_DropdownGraphPeriod";
constexpr const char* kExternalChange = "CorvaneBarExternalChange";
// Frames a headless run waits at most for readings before it writes what it has and stops.
constexpr int kMostFramesForOnce = 5;

const GraphPeriod& graphPeriod() {
    const auto index = std::clamp<std::int64_t>(CVBIntegerForKey(kGraphPeriodKey), 0,
                                                std::size(kGraphPeriods) - 1);
    return kGraphPeriods[index];
}

} // namespace

struct StatusProgram::LiveItem {
    LiveItem(const StatusSection* s, std::unique_ptr<CVBModuleView> v)
        : section(s)
        , view(std::move(v)) {}

    const StatusSection* section;
    std::unique_ptr<CVBModuleView> view;
    std::optional<std::uint64_t> stamp;
    bool dirty = true;
    // Translated once: a change of language makes the items afresh.
    std::string title;
    PanelItem shown;
};

StatusProgram::StatusProgram(Services services, Options options)
    : services_(std::move(services))
    , options_(std::move(options))
    , beat_(services_.queue)
    , processes_(options_.root) {
    demand_.setAlways(options_.headlessDirectory && options_.dropdowns);
    beat_.setBeforeBatch([this] {
        if (collectors_)
            collectors_->beginBeat();
    });
    beat_.setAfterBatch([this] {
        if (collectors_)
            collectors_->endBeat();
        frame();
    });
    const auto onAction = [this](const std::string& item, const std::string& what) {
        action(item, what);
    };
    if (options_.headlessDirectory) {
        MainQueue& queue = services_.queue;
        headless_ = std::make_unique<HeadlessWriter>(*options_.headlessDirectory,
                                                     [&queue] { return queue.clock().now(); });
    } else {
        if (services_.bus) {
            panel_ = std::make_unique<PanelService>(
                services_.bus, onAction, [this](const PanelStyle& s) { styleChanged(s); });
            panel_->setFrontEndHandler([this](bool) { publish(); });
        }
        tray_ = std::make_unique<StatusNotifierFrontEnd>(onAction, options_.tray);
        tray_->setHostHandler([this](const std::string& host) {
            if (services_.appearance)
                services_.appearance->setHostDark(hostBarIsDark(host));
            // The host decides between the wide and the square pictures.
            themeChanged();
        });
        service_ = std::make_unique<StatusItemService>(
            services_.bus, StatusItemService::Handlers{{},
                                                       [this](std::function<void()> done) {
                                                           deleteHistory(std::move(done));
                                                       },
                                                       [this] { restart(); }});
    }
    listener_ = std::make_unique<SettingsListener>(
        services_.center, *CVBPreferences::sharedPreferences().environment().center,
        SettingsListener::Handlers{
            [this](const StatusSection& s, const Value& info) { sectionChanged(s, info); },
            [this] {
                syncItems();
                redrawSoon();
            },
            [this](const std::string& name) { everythingChanged(name); },
            [this] { themeChanged(); }});
    readTrayStyle();
}

StatusProgram::~StatusProgram() {
    listener_.reset();
    service_.reset();
    tray_.reset();
    panel_.reset();
    headless_.reset();
    stopCycle();
}

void StatusProgram::start() {
    startCycle();
    // The items go up at once; the first beat fills them in.
    redrawSoon();
}

void StatusProgram::startCycle() {
    collectors_ =
        std::make_unique<StatusCollectors>(beat_, options_.historyDirectory, services_.sleepWake);
    if (options_.checkInternet)
        publicAddress_ = std::make_unique<PublicAddressFetcher>(
            services_.queue.clock(), PublicAddressFetcher::Settings{},
            [this](const Value&) { redrawSoon(); });
    makeBuilders();
    if (options_.checkInternet)
        reachability_ = std::make_unique<ReachabilityCheck>(
            services_.queue, collectors_->sharedPing(),
            [] { return CVBObjectForKey("Network_StatusAddress").stringValue(); },
            [this](bool) { redrawSoon(); });
    syncItems();
}

// The dropdowns draw from the collectors made so far, so they are made again with each new one.
void StatusProgram::makeBuilders() {
    const EngineContext* context = &collectors_->context();
    builders_ = std::make_unique<DropdownBuilders>(
        ItemSources{
            collectors_->cpu(), collectors_->load(), collectors_->memory(), collectors_->battery(),
            processes_, options_.root, collectors_->disks(), collectors_->network(),
            collectors_->sensors(), publicAddressSource(),
            [context] { return WeatherStatCollector::sharedWeatherCollector(*context).record(); }},
        artwork_.text().with(CVBPreferences::sharedPreferences()));
    if (!menubarDisks_ && collectors_->disks())
        menubarDisks_ =
            std::make_unique<MenubarDisksKeeper>(*collectors_->disks(), &services_.center);
}

void StatusProgram::stopCycle() {
    items_.clear();
    reachability_.reset();
    reachabilityStatus_ = -1;
    publicAddress_.reset();
    publicNetwork_.clear();
    builders_.reset();
    menubarDisks_.reset();
    collectors_.reset();
    graphs_.clear();
}

// The panel's look as the settings follow it, read once for the frame.
DrawingContext StatusProgram::drawingContext(double scale) {
    return DrawingContext::forHost(CVBPreferences::sharedPreferences(), artwork_, scale);
}

void StatusProgram::syncItems() {
    if (!collectors_)
        return;
    CVBRefreshKey(kOrderKey);
    std::vector<std::unique_ptr<LiveItem>> items;
    bool madeCollectors = false;
    for (const StatusSection* section : enabledSections(statusItemOrder())) {
        madeCollectors |= collectors_->startFor(section->name);
        auto known = std::find_if(items_.begin(), items_.end(), [&](const auto& item) {
            return item && item->section == section;
        });
        if (known != items_.end()) {
            items.push_back(std::move(*known));
            continue;
        }
        std::function<std::optional<bool>()> internet;
        if (reachability_)
            internet = [check = reachability_.get()] { return check->hasInternetConnection(); };
        auto made = makeSectionItem(section->name, collectors_->context(), drawingContext(1.0),
                                    std::move(internet));
        if (!made)
            continue;
        items.push_back(std::make_unique<LiveItem>(section, std::move(made->view)));
    }
    const auto sectionsOf = [](const auto& list) {
        std::vector<const StatusSection*> sections;
        for (const auto& item : list)
            sections.push_back(item ? item->section : nullptr);
        return sections;
    };
    listChanged_ |= sectionsOf(items) != sectionsOf(items_);
    items_ = std::move(items);
    if (madeCollectors)
        makeBuilders();
}

void StatusProgram::rebuildItems() {
    items_.clear();
    listChanged_ = true;
    syncItems();
}

void StatusProgram::redrawSoon() {
    if (redrawPending_)
        return;
    redrawPending_ = true;
    std::weak_ptr<int> alive = alive_;
    services_.queue.async([this, alive] {
        if (!alive.expired())
            frame();
    });
}

void StatusProgram::frame() {
    redrawPending_ = false;
    if (!collectors_)
        return;
    scanProcessesIfDue();
    followReachability();
    bool changed = listChanged_;
    for (auto& item : items_)
        changed |= repaint(*item);
    if (changed)
        publish();
    if (options_.once && (readyForOnce() || frames_ >= kMostFramesForOnce) && services_.quit)
        services_.quit();
}

// The check pings while the network is connected and the dot is asked to show it. The
// public address is asked again on a new network while the dropdown shows it.
void StatusProgram::followReachability() {
    if (publicAddress_)
        followPublicAddress();
    if (!reachability_)
        return;
    const NetworkStatCollector* network = collectors_->network();
    const std::int64_t status =
        network && CVBBoolForKey("Network_StatusCheckInternet") ? network->networkStatusValue() : 0;
    if (status != reachabilityStatus_) {
        reachabilityStatus_ = status;
        reachability_->networkChanged(status);
    }
}

std::function<Value()> StatusProgram::publicAddressSource() const {
    if (!publicAddress_)
        return {};
    return [fetcher = publicAddress_.get()] { return fetcher->publicIPData(); };
}

void StatusProgram::followPublicAddress() {
    if (!collectors_->network())
        return;
    NetworkStatCollector& network = *collectors_->network();
    const auto primary = network.primaryInterfaceItem();
    const bool shown = PublicAddressFetcher::shownWith(
        CVBObjectForKey("Network_DropdownOrderDisabled").stringValue());
    const bool online = shown && network.networkStatusValue() == 2;
    const std::string now =
        online ? network.primaryInterface() + " " + (primary ? primary->ipAddress() : "") : "";
    if (now != publicNetwork_) {
        publicNetwork_ = now;
        publicAddress_->networkChanged(online);
    } else if (online) {
        publicAddress_->refresh();
    }
}

bool StatusProgram::readyForOnce() const {
    // Before its first whole second a processor shows nothing: its first sample measures one.
    for (const auto& item : items_) {
        if ((item->section->name == "cpu" && !collectors_->cpu().hasReading()) ||
            (item->section->name == "memory" && !collectors_->memory().hasReading()))
            return false;
    }
    return frames_ > 0;
}

void StatusProgram::publish() {
    shown_.clear();
    for (const auto& item : items_)
        shown_.push_back(item->shown);
    listChanged_ = false;
    ++frames_;
    for (PanelFrontEnd* frontEnd : {static_cast<PanelFrontEnd*>(headless_.get()),
                                    static_cast<PanelFrontEnd*>(panel_.get())}) {
        if (frontEnd)
            frontEnd->show(shown_);
    }
    // Where a front end draws the items in the panel itself, tray icons would show each twice.
    if (tray_)
        tray_->show(panel_ && panel_->hasFrontEnd() ? std::vector<PanelItem>{} : shown_);
}

bool StatusProgram::repaint(LiveItem& item) {
    const std::string_view name = item.section->name;
    const std::uint64_t stamp = collectors_->sampleStamp(name);
    if (!item.dirty && item.stamp == stamp)
        return false;
    item.dirty = false;
    item.stamp = stamp;

    PanelItem p;
    p.id = std::string(name);
    if (item.title.empty())
        item.title = builders_->translated(item.section->title);
    p.title = item.title;
    const ItemSummary summary = builders_->summary(name);
    p.label = summary.label;
    p.labelGuide = summary.labelGuide;
    if (!summary.label.empty())
        p.percentage = static_cast<int>(std::lround(std::clamp(summary.fraction, 0.0, 1.0) * 100));
    p.tooltip = summary.tooltip.empty() ? p.title : summary.tooltip;
    p.accessibleDescription =
        summary.accessibleDescription.empty() ? p.title : summary.accessibleDescription;
    // Drawn at the panel's height; the 2x pictures only for a panel that shows them.
    const double scale = std::max(1, style_.height) / Surface::kStripHeight;
    const bool sharp = style_.scale >= 1.5;
    const DrawingContext drawing = drawingContext(scale);
    p.picture = ItemPainter::picture(*item.view, drawing);
    if (sharp)
        p.picture2x = ItemPainter::picture(*item.view, drawing.withScale(2 * scale));
    if (tray_ && tray_->showsCompact()) {
        p.compact = ItemPainter::compactPicture(summary, drawing);
        if (sharp)
            p.compact2x = ItemPainter::compactPicture(summary, drawing.withScale(2 * scale));
    }
    // Rows nobody looks at are not worth formatting each second; a tray host that never says
    // it shows its menu still gets them once.
    const bool firstRows = !headless_ && item.shown.dropdown.rows.empty();
    if (firstRows || demand_.wanted(name, BeatQueue::steadySeconds()))
        buildDropdown(item, p, sharp);
    else
        p.dropdown = item.shown.dropdown;
    const bool changed = !(p == item.shown);
    item.shown = std::move(p);
    return changed;
}

void StatusProgram::buildDropdown(LiveItem& item, PanelItem& shown, bool sharp) {
    const std::string_view name = item.section->name;
    const EngineContext& engine = collectors_->context();
    // The collector whose tier says when a section's graph changes, and how it is drawn.
    StatCollector* stamped = nullptr;
    std::function<PanelPicture(int, const DrawingContext&)> paint;
    if (name == "cpu") {
        stamped = &collectors_->cpu();
        paint = [this](int tier, const DrawingContext& context) {
            return ItemPainter::historyGraph(collectors_->cpu(), tier, context);
        };
    } else if (name == "network") {
        auto& network = NetworkStatCollectorLinux::sharedNetworkCollector(engine);
        stamped = &network;
        paint = [&network](int tier, const DrawingContext& context) {
            return ItemPainter::networkGraph(network, tier, context);
        };
    } else if (name == "disks") {
        auto& disks = DiskSystem::shared(engine).manager();
        stamped = &disks.activity();
        paint = [&disks](int tier, const DrawingContext& context) {
            return ItemPainter::disksGraph(disks, tier, context);
        };
    } else if (name == "sensors") {
        auto& sensors = SensorsStatCollectorLinux::sharedSensorCollector(engine);
        stamped = &sensors;
        paint = [&sensors](int tier, const DrawingContext& context) {
            return ItemPainter::sensorsGraph(sensors, tier, context);
        };
    } else {
        shown.dropdown = builders_->dropdown(name);
        return;
    }
    const GraphPeriod& period = graphPeriod();
    const std::uint64_t tierStamp = stamped->lastIDForType(period.tier);
    const double now = BeatQueue::steadySeconds();
    DropdownGraph& graph = graphs_[std::string(name)];
    if (!graph.stamp ||
        (*graph.stamp != tierStamp && now - graph.drawnAt >= options_.processInterval)) {
        const DrawingContext context = drawingContext(sharp ? 2.0 : 1.0);
        graph.picture = paint(period.tier, context);
        graph.stamp = tierStamp;
        graph.drawnAt = now;
    }
    shown.dropdown = builders_->dropdown(name, graph.picture, period);
}

// The process rows stand in the processor's and the memory's dropdowns.
bool StatusProgram::processesWanted(double now) const {
    return std::any_of(items_.begin(), items_.end(), [&](const auto& item) {
        const std::string_view name = item->section->name;
        return (name == "cpu" || name == "memory") && demand_.wanted(name, now);
    });
}

void StatusProgram::scanProcessesIfDue() {
    const double now = BeatQueue::steadySeconds();
    if (!processesWanted(now)) {
        if (processes_.scanned())
            processes_.forget();
        return;
    }
    const auto last = processes_.scannedAt();
    // The first shares are measured over one second, so that they show early.
    const double interval = processes_.measured() ? options_.processInterval : 1.0;
    if (last && now - *last < interval - 0.1)
        return;
    processes_.scan(now);
    for (auto& item : items_)
        item->dirty |= item->section->name != "battery";
}

void StatusProgram::readTrayStyle() {
    if (!tray_)
        return;
    CVBRefreshKey(kTrayStyleKey);
    tray_->setTrayStyle(trayStyleNamed(CVBObjectForKey(kTrayStyleKey).stringValue()));
}

void StatusProgram::sectionChanged(const StatusSection& section, const Value& userInfo) {
    CVBPreferences& preferences = CVBPreferences::sharedPreferences();
    const std::string key = userInfo["key"].stringValue();
    if (key.empty()) {
        preferences.clearCache();
    } else {
        preferences.resetValueForKey(key);
        preferences.resetValueForKey(key + "-Dark");
    }
    for (auto& item : items_) {
        if (item->section != &section)
            continue;
        item->view->resetCache();
        item->dirty = true;
    }
    if (const auto graph = graphs_.find(section.name); graph != graphs_.end())
        graphs_.erase(graph);
    redrawSoon();
}

void StatusProgram::everythingChanged(const std::string& name) {
    if (name == SettingsListener::kLanguageChange) {
        CVBRefreshKey("language");
    }
    CVBPreferences::sharedPreferences().clearCache();
    readTrayStyle();
    graphs_.clear();
    if (collectors_)
        makeBuilders();
    rebuildItems();
    redrawSoon();
}

void StatusProgram::themeChanged() {
    for (auto& item : items_) {
        item->view->resetCache();
        item->dirty = true;
    }
    graphs_.clear();
    redrawSoon();
}

void StatusProgram::styleChanged(const PanelStyle& style) {
    style_ = style;
    if (services_.appearance) {
        services_.appearance->setPanelDark(style.dark);
        // At once: the desktop's own changes are asked again later, as its answer lags.
        CVBPreferences::sharedPreferences().updateMenubarThemeIfNeeded();
    }
    if (tray_)
        tray_->setScale(style.scale);
    themeChanged();
}

void StatusProgram::dropdownReported(const std::string& item, const std::string& report) {
    const double now = BeatQueue::steadySeconds();
    if (report == kDropdownClosedAction) {
        demand_.closed(item);
        return;
    }
    const bool wasLive = demand_.wanted(item, now);
    if (report == kDropdownOpenedAction)
        demand_.opened(item, now);
    else
        demand_.asked(item, now);
    if (wasLive || !collectors_)
        return;
    // Rows that were let go are brought up to date before the front end reads them.
    scanProcessesIfDue();
    bool changed = false;
    for (auto& live : items_) {
        if (live->section->name != item)
            continue;
        live->dirty = true;
        changed |= repaint(*live);
    }
    if (changed)
        publish();
}

void StatusProgram::action(const std::string& item, const std::string& what) {
    if (what == kDropdownShownAction || what == kDropdownOpenedAction ||
        what == kDropdownClosedAction)
        return dropdownReported(item, what);
    if (what == kQuitAction) {
        CVBLog("Quit chosen in the %s dropdown", item.c_str());
        if (services_.quit)
            services_.quit();
        return;
    }
    if (what == kNextGraphPeriodAction)
        return nextGraphPeriod();
    const StatusSection* section = statusSectionNamed(item);
    if (what != kOpenSettingsAction || !section || !services_.launcher)
        return;
    launchPrefsToSection(section->key, services_.launcher, services_.queue, services_.center);
}

void StatusProgram::nextGraphPeriod() {
    const auto next = (graphPeriod().tier + 1) % static_cast<int>(std::size(kGraphPeriods));
    CVBSetIntegerForKey(next, kGraphPeriodKey);
    // The settings window keeps a cache of its own.
    services_.center.postNotificationName(kExternalChange);
    for (auto& item : items_)
        item->dirty |= graphs_.contains(item->section->name);
    graphs_.clear();
    redrawSoon();
}

void StatusProgram::deleteHistory(std::function<void()> done) {
    // The collectors hold the files open: they go first, and come back on empty files.
    stopCycle();
    std::error_code error;
    for (const char* file : {StatusCollectors::kHistoryFile, StatusCollectors::kLongTermFile}) {
        for (const char* suffix : {"", "-wal", "-shm", "-journal"})
            std::filesystem::remove(options_.historyDirectory / (std::string(file) + suffix),
                                    error);
    }
    CVBLog("History database deleted");
    done();
    listChanged_ = true;
    startCycle();
    redrawSoon();
}

void StatusProgram::restart() {
    // Everything is read anew: settings, language, the items.
    everythingChanged(SettingsListener::kLanguageChange);
}

} // namespace corvane
