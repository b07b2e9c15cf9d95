#pragma once

#include "foundation/NotificationCenter.h"
#include "shell/SectionServices.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

class SectionController;
class SectionViewContainer;
class SectionWindow;
class SourceList;
struct SourceListItem;
class GeneralController;
class NotificationsController;
class WeatherController;
class CPUController;
class MemoryController;
class DisksController;
class NetworkController;
class SensorsController;
class BatteryController;
class TimeController;
class CombinedController;

// The registry of sections: owns them for the life of the process, lays out the source list,
// switches pages, and answers the other processes' requests to open a page.
class SectionManager {
public:
    explicit SectionManager(SectionServices services = {});
    virtual ~SectionManager();
    SectionManager(const SectionManager&) = delete;
    SectionManager& operator=(const SectionManager&) = delete;

    // The instance of the process, made with default services on first use unless one was
    // installed.
    static SectionManager& sharedSectionManager();
    static void install(std::unique_ptr<SectionManager> manager);
    static void cleanup();

    // The window's parts; set before `setup`. Not owned; null parts are skipped.
    void setWindow(SectionWindow* window) { window_ = window; }
    void setSectionViewContainer(SectionViewContainer* container) { container_ = container; }
    void setSourceList(SourceList* list) { sourceList_ = list; }
    SectionWindow* window() const { return window_; }
    SectionViewContainer* sectionViewContainer() const { return container_; }
    SourceList* sourceList() const { return sourceList_; }

    // Observers, then the sections, then which of them live inside Combined.
    void setup();
    // Calls `setup` on each section, logging a section that throws and going on.
    void setupSections();
    void loadSections();
    // Builds the pages of the sections with a panel item.
    void loadAllSections();

    void launchToSection(std::int64_t key);
    void selectItem(SourceListItem& item);
    void previousSection();
    void nextSection();
    // 0 for an item that is not a section's.
    std::size_t indexOfItem(const SourceListItem* item) const;
    void resetFirstResponder();
    // The window closes: every section's `didClose`.
    void save();
    void checkCombinedItems();
    void refreshAllSections();
    void externalPreferenceChange(const Notification* notification = nullptr);
    void extraStateChange(const Notification& notification);
    void loadedExtra(const Notification&) {}

    void openFanEditor();
    void openWeather() { launchToSection(9); }
    void openCPU() { launchToSection(1); }
    void openMemory() { launchToSection(2); }
    void openDisks() { launchToSection(3); }
    void openNetwork() { launchToSection(4); }
    void openSensors() { launchToSection(5); }
    void openBattery() { launchToSection(6); }
    void opeTime() { launchToSection(7); }

    // In list order; empty before `loadSections`.
    const std::vector<SectionController*>& sections() const { return sections_; }
    SectionController* sectionWithKey(std::int64_t sectionKey) const;
    SectionController* selectedSection() const;

    GeneralController* general() const { return general_; }
    NotificationsController* notifications() const { return notifications_; }
    WeatherController* weather() const { return weather_; }
    CPUController* cpu() const { return cpu_; }
    MemoryController* memory() const { return memory_; }
    DisksController* disks() const { return disks_; }
    NetworkController* network() const { return network_; }
    SensorsController* sensors() const { return sensors_; }
    BatteryController* battery() const { return battery_; }
    TimeController* time() const { return time_; }
    CombinedController* combined() const { return combined_; }

    SectionServices& services() { return services_; }
    NotificationCenter& center() { return *services_.center; }
    DistributedNotificationCenter& distributedCenter() { return *services_.distributedCenter; }

protected:
    // The object of the section with that page file, before its `initWithXib`: one derived
    // from the registry's class for it (richer pages of a toolkit, tests). Null, by default,
    // for the registry's own class.
    virtual std::unique_ptr<SectionController> newSection(const std::string& xibName);

private:
    template <class Section>
    Section* makeSection(const char* xibName, std::int64_t key);
    void addObservers();
    void layOutSourceList();
    void bringForward();

    SectionServices services_;
    SectionWindow* window_ = nullptr;
    SectionViewContainer* container_ = nullptr;
    SourceList* sourceList_ = nullptr;
    std::vector<std::unique_ptr<SectionController>> owned_;
    std::vector<SectionController*> sections_;
    std::vector<Observation> observations_;

    GeneralController* general_ = nullptr;
    NotificationsController* notifications_ = nullptr;
    WeatherController* weather_ = nullptr;
    CPUController* cpu_ = nullptr;
    MemoryController* memory_ = nullptr;
    DisksController* disks_ = nullptr;
    NetworkController* network_ = nullptr;
    SensorsController* sensors_ = nullptr;
    BatteryController* battery_ = nullptr;
    TimeController* time_ = nullptr;
    CombinedController* combined_ = nullptr;
};

} // namespace corvane
