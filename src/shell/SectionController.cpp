#include "shell/SectionController.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"
#include "shell/CombinedController.h"
#include "shell/DropdownHotkeyController.h"
#include "shell/DropdownOrderController.h"
#include "shell/SectionManager.h"
#include "text/CVBTranslations.h"

#include <algorithm>
#include <cctype>

namespace corvane {

namespace {

constexpr const char* kOrderKey = "StatusItems-Order";
constexpr std::int64_t kCombinedKey = 8;

std::string prefsString(std::string_view key) {
    return HLVLocalizedString(key, std::nullopt, "prefs");
}

Value integerList(const std::vector<std::int64_t>& keys) {
    Value list = Value::array();
    for (auto key : keys)
        list.append(key);
    return list;
}

} // namespace

SectionController::SectionController(SectionManager& manager)
    : manager_(manager) {}

SectionController::~SectionController() = default;

SectionServices& SectionController::services() const {
    return manager_.services();
}

void SectionController::initWithXib(std::string xibName, std::int64_t key) {
    sectionKey_ = key;
    combinedKey_ = key;
    sourceItem_ = SourceListItem{};
    xibName_ = std::move(xibName);
    menubarItems_ = Value::array();

    const std::string name = prefsString(sectionName());
    sourceItem_.label.text = name;
    sourceItem_.label.alignment = textAlignmentForLanguage();
    setupIcon();
    sourceItem_.toggle.title = formattedString(prefsString("Toggle %@"), name);
    sourceItem_.toggle.action = [this](const SectionSwitch& sender) { toggle(sender); };
    setState(isLoaded());
    importObservation_ = services().center->addObserver(
        kImportedPreferencesNotification, [this](const Notification&) { importedPreferences(); });
}

void SectionController::setupIcon() {
    std::string name = xibName_;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    sourceItem_.icon = "prefs-sourcelist-icon-" + name;
    sourceItem_.selectedIcon = sourceItem_.icon + "-selected";
}

void SectionController::prepareToShow() {
    if (loadedInterface_)
        return;
    loadedInterface_ = true;
    view_ = services().pages->loadPage(xibName_, *this);
    if (!view_)
        view_ = std::make_unique<SectionPage>(xibName_);
    prepareInterface();
    view_->accessibilityLabel =
        formattedString(prefsString("%@ settings"), prefsString(sectionName()));
    setup();
}

void SectionController::setup() {
    for (SectionButton* button : {&dropdownHotkeyButton_, &dropdownOrderButton_}) {
        button->fontSize = 12;
        button->semibold = true;
    }
    dropdownHotkeyButton_.action = [this] { editDropdownHotkey(); };
    dropdownOrderButton_.action = [this] { editDropdownOrder(); };
    updateHotkeyButtonTitle();
}

void SectionController::updateHotkeyButtonTitle() {
    const auto key = hotkeyPreferenceKey();
    const auto shortcut = key ? HotkeyShortcut::unarchived(CVBObjectForKey(*key)) : std::nullopt;
    dropdownHotkeyButton_.title =
        shortcut ? formattedString(prefsString("Edit Hotkey: %@"), shortcut->display)
                 : prefsString("Edit Hotkey");
}

void SectionController::importedPreferences() {
    updateHotkeyButtonTitle();
}

void SectionController::prepareDropdownOrderView() {
    services().overlay->removeOverlay();
}

void SectionController::highlightLayoutItemOverride(ExtraLayoutItem*, GenericLayoutContainer*,
                                                    bool) {}

void SectionController::highlightLayoutItem(ExtraLayoutItem* item,
                                            GenericLayoutContainer* container) {
    highlightLayoutItemOverride(item, container, false);
}

bool SectionController::isLoaded(const Value&) const {
    CVBRefreshKey(kOrderKey);
    const auto order = statusItemOrder();
    return std::find(order.begin(), order.end(), sectionKey_) != order.end();
}

void SectionController::toggle(const SectionSwitch& sender) {
    CVBRefreshKey(kOrderKey);
    auto order = statusItemOrder();
    const auto found = std::find(order.begin(), order.end(), sectionKey_);
    if (sender.on) {
        if (found == order.end()) {
            // A leading -1 stays in front.
            const auto at = (!order.empty() && order.front() == -1) ? 1 : 0;
            order.insert(order.begin() + at, sectionKey_);
            CVBSetObjectForKey(integerList(order), kOrderKey);
        }
    } else {
        order.erase(std::remove(order.begin(), order.end(), sectionKey_), order.end());
        CVBSetObjectForKey(integerList(order), kOrderKey);
    }
    if (sectionKey_ == kCombinedKey)
        removeCombinedItems();

    const char* name = sender.on ? "CorvaneBarEnableStatusItem" : "CorvaneBarDisableStatusItem";
    postDistributed(name);
    services().center->post(name, {}, Value::dict({{"item", sectionKey_}}));
}

void SectionController::removeCombinedItems() {
    auto order = statusItemOrder();
    if (std::find(order.begin(), order.end(), kCombinedKey) == order.end())
        return;
    for (auto key : CombinedController::combinedItemKeys())
        order.erase(std::remove(order.begin(), order.end(), key), order.end());
    CVBSetObjectForKey(integerList(order), kOrderKey);
}

void SectionController::checkState() {
    setState(isLoaded());
}

void SectionController::setState(bool state) {
    showSwitchState(state);
}

void SectionController::showSwitchState(bool on) {
    if (sourceItem_.toggle.on != on) {
        sourceItem_.toggle.on = on;
        sourceItem_.setNeedsDisplay();
    }
    updateOptions();
}

void SectionController::unload() {
    sourceItem_.toggle.on = false;
}

const Value* SectionController::menubarItemWithKey(std::int64_t key) const {
    for (const Value& item : menubarItems_.arrayItems()) {
        if (const Value* itemKey = item.find("key"); itemKey && itemKey->integerValue() == key)
            return &item;
    }
    return nullptr;
}

void SectionController::resetSettings(const Value& settings) {
    for (const Value& key : settings["keys"].arrayItems()) {
        CVBRemoveObjectForKey(key.stringValue() + "-Dark");
        CVBRemoveObjectForKey(key.stringValue());
    }
    // Twice, as the other processes have always been told.
    const std::string notification = settings["notification"].stringValue();
    if (!notification.empty()) {
        postDistributed(notification);
        postDistributed(notification);
    }
    services().optionsPopup->updateValues();
    resetTextAttributes();
    updateLayoutSelectors();
}

void SectionController::editDropdownOrder() {
    prepareDropdownOrderView();
    auto& order = DropdownOrderController::sharedOrderController();
    order.resetButton.title = prefsString("Reset");
    order.saveButton.title = prefsString("Save");
    order.resetButton.action = [this] { resetDropdownOrder(); };
    order.saveButton.action = [this] { saveDropdownOrder(); };
    order.cancelButton.action = [this] { cancelDropdownOrder(); };
    services().overlay->showWithView(order.view);
}

void SectionController::saveDropdownOrder() {
    services().overlay->removeOverlay();
    auto& order = DropdownOrderController::sharedOrderController();
    if (order.preferencyKey.empty()) {
        CVBLog("%s has no dropdown order to save", sectionName().c_str());
        return;
    }
    const std::string value = order.orderview.preferenceValue();
    if (value == order.orderview.preferenceValueDefault())
        CVBRemoveObjectForKey(order.preferencyKey);
    else
        CVBSetObjectForKey(Value(value), order.preferencyKey);
    if (!order.preferencyKeyDisabled.empty())
        CVBSetObjectForKey(Value(order.orderview.preferenceValueDisabled()),
                           order.preferencyKeyDisabled);
    postDistributed(order.notificationName);
}

void SectionController::resetDropdownOrder() {
    auto& order = DropdownOrderController::sharedOrderController();
    if (!order.preferencyKey.empty())
        CVBRemoveObjectForKey(order.preferencyKey);
    if (!order.preferencyKeyDisabled.empty())
        CVBRemoveObjectForKey(order.preferencyKeyDisabled);
    postDistributed(order.notificationName);
    const std::string settingsNotification = order.settingsReset["notification"].stringValue();
    for (const Value& key : order.settingsReset["keys"].arrayItems()) {
        CVBRemoveObjectForKey(key.stringValue());
        postDistributed(settingsNotification);
    }
    for (const auto& row : order.settingsItems) {
        if (row.updateValue)
            row.updateValue();
    }
    postDistributed("CorvaneBarGlobalDisplayChange");

    auto& view = order.orderview;
    view.items = view.unsorted;
    view.sortItems(CVBObjectForKey(order.preferencyKey).stringValue(),
                   CVBObjectForKey(order.preferencyKeyDisabled).stringValue());
    view.layoutItems();
}

void SectionController::cancelDropdownOrder() {
    services().overlay->removeOverlay();
}

void SectionController::editDropdownHotkey() {
    auto& hotkey = DropdownHotkeyController::sharedHotkeyController();
    hotkey.sectionName = sectionName();
    hotkey.saveButton.action = [this] { saveDropdownHotkey(); };
    hotkey.cancelButton.action = [this] { cancelDropdownHotkey(); };
    const auto key = hotkeyPreferenceKey();
    hotkey.shortcut = key ? HotkeyShortcut::unarchived(CVBObjectForKey(*key)) : std::nullopt;
    services().overlay->showWithView(hotkey.view);
}

void SectionController::saveDropdownHotkey() {
    services().overlay->removeOverlay();
    const auto key = hotkeyPreferenceKey();
    if (!key)
        return;
    const auto& shortcut = DropdownHotkeyController::sharedHotkeyController().shortcut;
    if (shortcut) {
        CVBSetObjectForKey(shortcut->archived(), *key);
        dropdownHotkeyButton_.title =
            formattedString(prefsString("Edit Hotkey: %@"), shortcut->display);
    } else {
        CVBRemoveObjectForKey(*key);
        dropdownHotkeyButton_.title = prefsString("Edit Hotkey");
    }
    postDistributed("CorvaneBarChangedHotkey");
}

void SectionController::cancelDropdownHotkey() {
    services().overlay->removeOverlay();
}

void SectionController::layoutContainerBeganDrag(GenericLayoutContainer*) {
    // A tooltip left over an item being dragged would cover the drop target.
    removeTooltip();
}

void SectionController::postDistributed(const std::string& name) const {
    if (name.empty())
        return;
    services().distributedCenter->postNotificationName(
        name, {}, DistributedNotificationCenter::DeliverImmediately);
}

} // namespace corvane
