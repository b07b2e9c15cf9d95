#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "preferences/PreferencesFixture.h"
#include "shell/DropdownHotkeyController.h"
#include "shell/DropdownOrderController.h"
#include "shell/SectionController.h"
#include "shell/SectionManager.h"
#include "shell/SectionViewContainer.h"
#include "shell/SectionWindow.h"
#include "shell/Sections.h"
#include "shell/SourceList.h"

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace corvane::test {

// Window parts that count what the registry asked of them.
struct CountingOverlay final : OverlayController {
    int shows = 0;
    int removals = 0;
    int closes = 0;
    void showWithView(SectionPage& view) override {
        ++shows;
        OverlayController::showWithView(view);
    }
    void removeOverlay() override {
        ++removals;
        OverlayController::removeOverlay();
    }
    void close() override {
        ++closes;
        OverlayController::removeOverlay();
    }
};

struct CountingOptionsPopup final : OptionsPopupController {
    int closes = 0;
    int updates = 0;
    void close() override { ++closes; }
    void updateValues() override { ++updates; }
};

struct CountingActivator final : ApplicationActivator {
    int forwards = 0;
    void bringForward() override { ++forwards; }
};

struct CountingFanEditor final : FanEditor {
    int edits = 0;
    void editFanControl() override { ++edits; }
};

struct CountingPages final : SectionPageFactory {
    std::map<std::string, int> loads;
    std::vector<std::string> order; // every load, in turn
    std::unique_ptr<SectionPage> loadPage(const std::string& xibName,
                                          SectionController& owner) override {
        ++loads[xibName];
        order.push_back(xibName);
        return SectionPageFactory::loadPage(xibName, owner);
    }
};

// A registry whose sections are the test's own kind where `makers` names their page file.
class CustomSectionManager final : public SectionManager {
public:
    using Maker = std::function<std::unique_ptr<SectionController>(SectionManager&)>;
    CustomSectionManager(SectionServices services, std::map<std::string, Maker> makers)
        : SectionManager(std::move(services))
        , makers_(std::move(makers)) {}

protected:
    std::unique_ptr<SectionController> newSection(const std::string& xibName) override {
        const auto found = makers_.find(xibName);
        return found == makers_.end() ? nullptr : found->second(*this);
    }

private:
    std::map<std::string, Maker> makers_;
};

// A section of the registry's class that tells `closed` each time its page goes out of sight.
template <class Base>
class ClosingSection final : public Base {
public:
    ClosingSection(SectionManager& manager, std::function<void(const std::string&)> closed)
        : Base(manager)
        , closed_(std::move(closed)) {}
    void didClose() override {
        closed_(this->xibName());
        Base::didClose();
    }

private:
    std::function<void(const std::string&)> closed_;
};

template <class Base>
CustomSectionManager::Maker closing(std::function<void(const std::string&)> closed) {
    return [closed = std::move(closed)](SectionManager& manager) {
        return std::make_unique<ClosingSection<Base>>(manager, closed);
    };
}

// Every section of the registry, each reporting its `didClose` to `closed`.
inline std::map<std::string, CustomSectionManager::Maker>
closingSections(const std::function<void(const std::string&)>& closed) {
    return {{"General", closing<GeneralController>(closed)},
            {"Notifications", closing<NotificationsController>(closed)},
            {"Weather", closing<WeatherController>(closed)},
            {"CPU", closing<CPUController>(closed)},
            {"Memory", closing<MemoryController>(closed)},
            {"Disks", closing<DisksController>(closed)},
            {"Network", closing<NetworkController>(closed)},
            {"Sensors", closing<SensorsController>(closed)},
            {"Battery", closing<BatteryController>(closed)},
            {"Time", closing<TimeController>(closed)},
            {"Combined", closing<CombinedController>(closed)}};
}

// Every distributed post, in order, with its user information.
struct PostLog {
    explicit PostLog(DistributedNotificationCenter& center)
        : observation(center.addObserver("", [this](const Notification& n) {
            names.push_back(n.name);
            infos.push_back(n.userInfo);
        })) {}
    auto count(const std::string& name) const {
        return std::count(names.begin(), names.end(), name);
    }
    std::vector<std::string> names;
    std::vector<Value> infos;
    Observation observation;
};

// A registry on temporary preferences, a bus-less distributed centre and counting window parts.
class SectionFixture : public PreferencesFixture {
protected:
    void SetUp() override {
        install();
        SectionServices services;
        services.center = &center;
        services.distributedCenter = &distributed;
        services.clock = &queue;
        services.overlay = overlay;
        services.optionsPopup = optionsPopup;
        services.activator = activator;
        services.fanEditor = fanEditor;
        services.pages = pages;
        services.fetchMenubarColor = [this] { ++colourFetches; };
        manager = makeManager(std::move(services));
        manager->setWindow(&window);
        manager->setSectionViewContainer(&container);
        manager->setSourceList(&sourceList);
    }

    void TearDown() override {
        manager.reset();
        DropdownOrderController::cleanup();
        DropdownHotkeyController::cleanup();
        PreferencesFixture::TearDown();
    }

    virtual std::unique_ptr<SectionManager> makeManager(SectionServices services) {
        return std::make_unique<SectionManager>(std::move(services));
    }

    // Every section's switch as the window shows it, in the sections' order: '+' on, '-' off,
    // 'c' inside Combined (switch hidden and off, Combined icon shown), '?' any other mix.
    std::string switches() {
        std::string shown;
        for (auto* section : manager->sections()) {
            const auto& item = section->sourceItem();
            if (item.toggle.hidden)
                shown += !item.combinedIcon.hidden && !item.toggle.on ? 'c' : '?';
            else
                shown += !item.combinedIcon.hidden ? '?' : item.toggle.on ? '+' : '-';
        }
        return shown;
    }

    // The stored panel order, as another process would write it.
    void storeOrder(Value order) { CVBSetObjectForKey(order, "StatusItems-Order"); }
    Value storedOrder() { return CVBStoredObjectForKey("StatusItems-Order"); }

    DistributedNotificationCenter distributed{nullptr};
    PostLog posts{distributed};
    std::shared_ptr<CountingOverlay> overlay = std::make_shared<CountingOverlay>();
    std::shared_ptr<CountingOptionsPopup> optionsPopup = std::make_shared<CountingOptionsPopup>();
    std::shared_ptr<CountingActivator> activator = std::make_shared<CountingActivator>();
    std::shared_ptr<CountingFanEditor> fanEditor = std::make_shared<CountingFanEditor>();
    std::shared_ptr<CountingPages> pages = std::make_shared<CountingPages>();
    int colourFetches = 0;
    SectionWindow window;
    SectionViewContainer container;
    SourceList sourceList;
    std::unique_ptr<SectionManager> manager;
};

} // namespace corvane::test
