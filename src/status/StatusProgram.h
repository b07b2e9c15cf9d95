#pragma once

#include "drawing/Artwork.h"
#include "drawing/DrawingContext.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/SysRoot.h"
#include "shell/SectionLauncher.h"
#include "status/BeatQueue.h"
#include "status/DropdownBuilders.h"
#include "status/DropdownDemand.h"
#include "status/PanelItem.h"
#include "status/PanelService.h"
#include "status/ProcessTable.h"
#include "status/StatusNotifierFrontEnd.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace corvane {

class PublicAddressFetcher;
class ReachabilityCheck;

class CVBModuleView;
class HeadlessWriter;
class MenubarDisksKeeper;
class PanelAppearance;
class SettingsListener;
class SleepWakeSource;
class StatusCollectors;
class StatusItemService;
struct StatusSection;

// The status program: the one-second cycle of the collectors with their history, the items
// of "StatusItems-Order" drawn after each beat, and their publication, on the panels or as
// files. Everything runs on the main queue; the beat of the collectors is the one timer.
class StatusProgram {
public:
    struct Options {
        std::filesystem::path historyDirectory;
        // Files in this directory instead of panel items.
        std::optional<std::filesystem::path> headlessDirectory;
        // Headless: stop after the first frame that shows readings.
        bool once = false;
        StatusNotifierFrontEnd::Options tray;
        // Seconds between readings of the process list while a dropdown shows it.
        double processInterval = 2.0;
        // Headless: keep every dropdown's rows live and write them, as if all were open.
        bool dropdowns = false;
        SysRoot root = SysRoot::fromEnvironment();
        // Pings "Network_StatusAddress" for the network item's status dot, and asks the
        // public address of its service. Off unless the main asks: tests must not reach
        // outside their machine.
        bool checkInternet = false;
    };
    // What the program is given by its main, or by a test.
    struct Services {
        MainQueue& queue;
        DistributedNotificationCenter& center;
        GDBusConnection* bus = nullptr; // the session bus; null: none
        SleepWakeSource* sleepWake = nullptr;
        PanelAppearance* appearance = nullptr;
        std::shared_ptr<ApplicationLauncher> launcher;
        std::function<void()> quit;
    };

    StatusProgram(Services services, Options options);
    ~StatusProgram();
    StatusProgram(const StatusProgram&) = delete;
    StatusProgram& operator=(const StatusProgram&) = delete;

    // Starts the cycle; the first frame follows the first beat.
    void start();

    // What was last handed to the front ends, in panel order.
    const std::vector<PanelItem>& shownItems() const { return shown_; }
    int frames() const { return frames_; }
    // Whether the process list is being read: only while a dropdown that shows it is looked at.
    bool readsProcesses() const { return processes_.scanned(); }
    const PanelStyle& style() const { return style_; }
    StatusNotifierFrontEnd* tray() const { return tray_.get(); }

private:
    struct LiveItem;

    void startCycle();
    void stopCycle();
    void makeBuilders();
    void followReachability();
    void followPublicAddress();
    std::function<Value()> publicAddressSource() const;
    void frame();
    void publish();
    bool repaint(LiveItem& item);
    void scanProcessesIfDue();
    bool processesWanted(double now) const;
    void dropdownReported(const std::string& item, const std::string& report);
    void buildDropdown(LiveItem& item, PanelItem& shown, bool sharp);
    void syncItems();
    void rebuildItems();
    void redrawSoon();
    void readTrayStyle();
    bool readyForOnce() const;
    DrawingContext drawingContext(double scale);

    void sectionChanged(const StatusSection& section, const Value& userInfo);
    void everythingChanged(const std::string& name);
    void themeChanged();
    void styleChanged(const PanelStyle& style);
    void action(const std::string& item, const std::string& action);
    void nextGraphPeriod();
    void deleteHistory(std::function<void()> done);
    void restart();

    Services services_;
    Options options_;
    BeatQueue beat_;
    std::unique_ptr<StatusCollectors> collectors_;
    std::unique_ptr<ReachabilityCheck> reachability_;
    std::int64_t reachabilityStatus_ = -1; // the network status it was last told
    std::unique_ptr<PublicAddressFetcher> publicAddress_;
    std::string publicNetwork_; // the network it was last told of: status and primary address
    std::unique_ptr<MenubarDisksKeeper> menubarDisks_;
    ProcessTable processes_;
    DropdownDemand demand_;
    std::unique_ptr<DropdownBuilders> builders_;
    std::vector<std::unique_ptr<LiveItem>> items_;
    std::vector<PanelItem> shown_;
    PanelStyle style_;
    CVBCache artwork_;
    // The dropdowns' history graphs by section (processor, network, disks, sensors), each
    // redrawn at most every process interval.
    struct DropdownGraph {
        PanelPicture picture;
        std::optional<std::uint64_t> stamp;
        double drawnAt = -1e9;
    };
    std::map<std::string, DropdownGraph, std::less<>> graphs_;
    bool listChanged_ = true;
    bool redrawPending_ = false;
    int frames_ = 0;
    std::unique_ptr<HeadlessWriter> headless_;
    std::unique_ptr<PanelService> panel_;
    std::unique_ptr<StatusNotifierFrontEnd> tray_;
    std::unique_ptr<StatusItemService> service_;
    std::unique_ptr<SettingsListener> listener_;
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

} // namespace corvane
