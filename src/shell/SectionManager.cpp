#include "shell/SectionManager.h"

#include "drawing/CVBMenubarColorDetector.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "shell/SectionLauncher.h"
#include "shell/SectionViewContainer.h"
#include "shell/SectionWindow.h"
#include "shell/Sections.h"
#include "shell/SourceList.h"

#include <algorithm>
#include <exception>
#include <execinfo.h>
#include <iostream>

namespace corvane {

namespace {

std::unique_ptr<SectionManager>& instance() {
    static std::unique_ptr<SectionManager> manager;
    return manager;
}

// The source list's geometry: the first item 30 points from the top, then one every 44.
constexpr double kSourceListTop = 30;
constexpr double kSourceListRowHeight = 44;
constexpr double kSourceListLeft = 3;

// The stack is the one of the handler: where the failure was caught, not where it was thrown.
void logSetupFailure(const SectionController& section, const char* what) {
    std::string message = "Section " + section.sectionName() + " failed to set up: " + what +
                          "\nCall stack where it was caught:";
    void* frames[64];
    const int count = backtrace(frames, 64);
    if (char** symbols = backtrace_symbols(frames, count)) {
        for (int i = 0; i < count; ++i)
            message += std::string("\n  ") + symbols[i];
        free(symbols);
    }
    CVBLogMessage(message);
    std::cerr << message << std::endl;
}

} // namespace

SectionManager::SectionManager(SectionServices services)
    : services_(std::move(services)) {
    if (!services_.center)
        services_.center = &NotificationCenter::defaultCenter();
    if (!services_.distributedCenter)
        services_.distributedCenter = &DistributedNotificationCenter::defaultCenter();
    if (!services_.clock)
        services_.clock = &SystemClock::shared();
    if (!services_.overlay)
        services_.overlay = std::make_shared<OverlayController>();
    if (!services_.optionsPopup)
        services_.optionsPopup = std::make_shared<OptionsPopupController>();
    if (!services_.activator)
        services_.activator = std::make_shared<ApplicationActivator>();
    if (!services_.fanEditor)
        services_.fanEditor = std::make_shared<FanEditor>();
    if (!services_.pages)
        services_.pages = std::make_shared<SectionPageFactory>();
    if (!services_.fetchMenubarColor)
        services_.fetchMenubarColor = [] {
            if (CVBPreferences::hasSharedPreferences())
                CVBMenubarColorDetector::sharedDetector().fetchColor(
                    CVBPreferences::sharedPreferences());
        };
}

SectionManager::~SectionManager() {
    // The sections' observers go first, while the centres surely live.
    observations_.clear();
    sections_.clear();
    owned_.clear();
}

SectionManager& SectionManager::sharedSectionManager() {
    if (!instance())
        instance() = std::make_unique<SectionManager>();
    return *instance();
}

void SectionManager::install(std::unique_ptr<SectionManager> manager) {
    instance() = std::move(manager);
}

void SectionManager::cleanup() {
    instance().reset();
}

void SectionManager::setup() {
    addObservers();
    loadSections();
    checkCombinedItems();
}

void SectionManager::addObservers() {
    auto& distributed = *services_.distributedCenter;
    observations_.push_back(
        distributed.addObserver("CorvaneBarExternalChange",
                                [this](const Notification& n) { externalPreferenceChange(&n); }));
    // It carries no section number: it only brings the window forward.
    observations_.push_back(distributed.addObserver(
        "CorvaneBarOpenPreferencesSection", [this](const Notification&) { bringForward(); }));
    observations_.push_back(distributed.addObserver(
        "CorvaneBar-Open-FanEditor", [this](const Notification&) { openFanEditor(); }));
    for (std::int64_t key : {9, 1, 2, 3, 4, 5, 6, 7}) {
        observations_.push_back(
            distributed.addObserver(openNotificationForSection(key),
                                    [this, key](const Notification&) { launchToSection(key); }));
    }
    observations_.push_back(services_.center->addObserver(
        "CorvaneBarRefreshSections", [this](const Notification&) { refreshAllSections(); }));
}

std::unique_ptr<SectionController> SectionManager::newSection(const std::string&) {
    return nullptr;
}

template <class Section>
Section* SectionManager::makeSection(const char* xibName, std::int64_t key) {
    std::unique_ptr<SectionController> section = newSection(xibName);
    auto* raw = dynamic_cast<Section*>(section.get());
    if (!raw) {
        if (section)
            CVBLog("The section made for %s is of another class; the registry's own is used",
                   xibName);
        auto own = std::make_unique<Section>(*this);
        raw = own.get();
        section = std::move(own);
    }
    owned_.push_back(std::move(section));
    raw->initWithXib(xibName, key);
    return raw;
}

void SectionManager::loadSections() {
    if (!sections_.empty()) {
        CVBLog("The sections are loaded already");
        return;
    }
    general_ = makeSection<GeneralController>("General", -1);
    cpu_ = makeSection<CPUController>("CPU", 1);
    memory_ = makeSection<MemoryController>("Memory", 2);
    disks_ = makeSection<DisksController>("Disks", 3);
    network_ = makeSection<NetworkController>("Network", 4);
    sensors_ = makeSection<SensorsController>("Sensors", 5);
    battery_ = makeSection<BatteryController>("Battery", 6);
    time_ = makeSection<TimeController>("Time", 7);
    combined_ = makeSection<CombinedController>("Combined", 8);
    notifications_ = makeSection<NotificationsController>("Notifications", -1);
    notifications_->setup();
    weather_ = makeSection<WeatherController>("Weather", 9);
    // Combined must stay last: checkCombinedItems takes the last section for it.
    sections_ = {general_, notifications_, weather_, cpu_,  memory_,  disks_,
                 network_, sensors_,       battery_, time_, combined_};

    layOutSourceList();
    for (auto* section : sections_)
        section->checkState();
    selectItem(sections_.front()->sourceItem());
    resetFirstResponder();
}

void SectionManager::layOutSourceList() {
    double y = kSourceListTop;
    for (auto* section : sections_) {
        auto& item = section->sourceItem();
        item.origin = {kSourceListLeft, y};
        y += kSourceListRowHeight;
        if (sourceList_)
            sourceList_->addItem(item);
    }
}

void SectionManager::setupSections() {
    for (auto* section : sections_) {
        try {
            section->setup();
        } catch (const std::exception& error) {
            logSetupFailure(*section, error.what());
        } catch (...) {
            logSetupFailure(*section, "unknown exception");
        }
    }
}

void SectionManager::loadAllSections() {
    for (SectionController* section : std::initializer_list<SectionController*>{
             cpu_, memory_, disks_, network_, sensors_, battery_, time_, combined_, weather_}) {
        if (section)
            section->prepareToShow();
    }
}

void SectionManager::launchToSection(std::int64_t key) {
    const auto found = std::find_if(sections_.begin(), sections_.end(),
                                    [key](auto* section) { return section->combinedKey() == key; });
    if (found != sections_.end()) {
        selectItem((*found)->sourceItem());
        services_.overlay->close();
        services_.optionsPopup->close();
    }
    bringForward();
}

void SectionManager::selectItem(SourceListItem& item) {
    services_.fetchMenubarColor();
    services_.optionsPopup->close();
    if (container_)
        container_->removeAllSubviews();
    for (auto* section : sections_) {
        auto& sectionItem = section->sourceItem();
        if (&sectionItem == &item) {
            // The rules page lists their sensors and disks.
            if (section == notifications_) {
                sensors_->prepareToShow();
                disks_->prepareToShow();
            }
            section->prepareToShow();
            if (container_ && section->view())
                container_->addSubview(*section->view());
            continue;
        }
        if (sectionItem.selected)
            section->didClose();
        sectionItem.selected = false;
        sectionItem.setNeedsDisplay();
    }
    item.selected = true;
    item.setNeedsDisplay();
    if (window_)
        window_->makeFirstResponder(&item);
}

SectionController* SectionManager::selectedSection() const {
    const auto found = std::find_if(sections_.begin(), sections_.end(),
                                    [](auto* section) { return section->sourceItem().selected; });
    return found == sections_.end() ? nullptr : *found;
}

SectionController* SectionManager::sectionWithKey(std::int64_t sectionKey) const {
    const auto found =
        std::find_if(sections_.begin(), sections_.end(),
                     [sectionKey](auto* section) { return section->sectionKey() == sectionKey; });
    return found == sections_.end() ? nullptr : *found;
}

void SectionManager::previousSection() {
    auto* selected = selectedSection();
    if (!selected)
        return;
    const auto index = indexOfItem(&selected->sourceItem());
    if (index > 0)
        selectItem(sections_[index - 1]->sourceItem());
}

void SectionManager::nextSection() {
    auto* selected = selectedSection();
    if (!selected)
        return;
    const auto index = indexOfItem(&selected->sourceItem());
    if (index + 1 < sections_.size())
        selectItem(sections_[index + 1]->sourceItem());
}

std::size_t SectionManager::indexOfItem(const SourceListItem* item) const {
    for (std::size_t i = 0; i < sections_.size(); ++i) {
        if (&sections_[i]->sourceItem() == item)
            return i;
    }
    return 0;
}

void SectionManager::resetFirstResponder() {
    auto* selected = selectedSection();
    if (selected && window_)
        window_->makeFirstResponder(&selected->sourceItem());
}

void SectionManager::save() {
    for (auto* section : sections_)
        section->didClose();
}

void SectionManager::checkCombinedItems() {
    if (sections_.empty())
        return;
    SectionController* combined = sections_.back();
    const bool combinedOn = combined->isLoaded();
    const auto keys = CombinedController::combinedItemKeys();
    for (auto* section : sections_) {
        if (section == combined || section == notifications_)
            continue;
        auto& item = section->sourceItem();
        const bool inside =
            combinedOn && std::find(keys.begin(), keys.end(), section->combinedKey()) != keys.end();
        item.toggle.hidden = inside;
        item.combinedIcon.hidden = !inside;
        if (inside)
            section->unload();
        item.setNeedsDisplay();
    }
}

void SectionManager::refreshAllSections() {
    for (auto* section : sections_)
        section->loadedStateChange();
    checkCombinedItems();
}

void SectionManager::externalPreferenceChange(const Notification*) {
    CVBPreferences::sharedPreferences().clearCache();
    for (auto* section : sections_)
        section->externalNotification(nullptr);
    for (auto* section : sections_)
        section->checkState();
}

void SectionManager::extraStateChange(const Notification& notification) {
    const std::string extra = notification.userInfo["extra"].stringValue();
    if (extra.empty())
        return;
    for (auto* section : sections_) {
        if (section->stateNotificationKey() != extra)
            continue;
        CVBPreferences::sharedPreferences().clearCache();
        section->externalNotification(nullptr);
        section->checkState();
    }
    if (extra == "combined")
        checkCombinedItems();
}

void SectionManager::openFanEditor() {
    launchToSection(5);
    if (sensors_)
        sensors_->editFanControl();
    bringForward();
}

void SectionManager::bringForward() {
    services_.activator->bringForward();
}

} // namespace corvane
