#include "shell/SectionController.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"
#include "shell/ApplicationText.h"
#include "shell/CombinedController.h"
#include "shell/DropdownHotkeyController.h"
#include "shell/DropdownOrderController.h"
#include "shell/SectionManager.h"

#include <algorithm>
#include <cctype>

namespace corvane {

namespace {

constexpr const char* kOrderKey = "StatusItems-Order";
constexpr std::int64_t kCombinedKey = 8;

TextContext sectionText() {
    return applicationText(CVBPreferences::sharedPreferences());
}

std::string prefsString(std::string_view key) {
    return HLVLocalizedString(sectionText(), key, std::nullopt, "prefs");
}

Value integerList(const std::vector<std::int64_t>& keys) {
    Value list = Value::array();
    for (auto key : keys)
        list.append(key);
    return list;
}

// Whether any was there.
bool removeKeys(std::vector<std::int64_t>& order, const std::vector<std::int64_t>& keys) {
    const auto size = order.size();
    for (auto key : keys)
        order.erase(std::remove(order.begin(), order.end(), key), order.end());
    return order.size() != size;
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
    sourceItem_.label.alignment = textAlignmentForLanguage(sectionText());
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

bool SectionController::toggle(const SectionSwitch& sender) {
    // Read before the update: the change runs under the settings file's lock.
    const auto combinedKeys = sectionKey_ == kCombinedKey ? CombinedController::combinedItemKeys()
                                                          : std::vector<std::int64_t>();
    const bool stored = updateOrder([&](std::vector<std::int64_t>& order) {
        return switchOrder(order, sender.on, combinedKeys);
    });
    if (!stored) {
        CVBLog("%s: the panel item could not be switched %s; the settings cannot be written",
               sectionName().c_str(), sender.on ? "on" : "off");
        checkState();
        return false;
    }
    const char* name = sender.on ? "CorvaneBarEnableStatusItem" : "CorvaneBarDisableStatusItem";
    postDistributed(name);
    services().center->post(name, {}, Value::dict({{"item", sectionKey_}}));
    return true;
}

bool SectionController::updateOrder(const std::function<bool(std::vector<std::int64_t>&)>& change) {
    auto& preferences = CVBPreferences::sharedPreferences();
    const Value builtIn = preferences.defaults()[kOrderKey];
    auto orderOf = [&](const Value& stored) {
        std::vector<std::int64_t> order;
        for (const Value& key : (stored.isNull() ? builtIn : stored).arrayItems())
            order.push_back(key.integerValue());
        return order;
    };
    // Nothing to change is nothing to write, which succeeds where the settings are read-only.
    if (auto now = orderOf(preferences.objectForKey(kOrderKey, false)); !change(now))
        return true;
    return preferences.updateObjectForKey(kOrderKey, [&](const Value& stored) {
        auto order = orderOf(stored);
        // Unchanged, it stays as stored: an old list of text is not rewritten as numbers.
        return change(order) ? integerList(order) : stored;
    });
}

bool SectionController::switchOrder(std::vector<std::int64_t>& order, bool on,
                                    const std::vector<std::int64_t>& combinedKeys) const {
    const auto found = std::find(order.begin(), order.end(), sectionKey_);
    const bool combined = sectionKey_ == kCombinedKey;
    if (!on) {
        const auto position = found - order.begin();
        const bool wasOn = found != order.end();
        order.erase(std::remove(order.begin(), order.end(), sectionKey_), order.end());
        // What Combined showed comes back where Combined stood, rather than vanishing.
        if (combined && wasOn) {
            auto at = order.begin() + position;
            for (auto key : itemsOfCombined(combinedKeys)) {
                if (std::find(order.begin(), order.end(), key) == order.end())
                    at = order.insert(at, key) + 1;
            }
        }
        return wasOn;
    }
    bool changed = false;
    if (found == order.end()) {
        // A leading -1 stays in front.
        const auto at = (!order.empty() && order.front() == -1) ? 1 : 0;
        order.insert(order.begin() + at, sectionKey_);
        changed = true;
    }
    if (combined)
        changed = removeKeys(order, combinedKeys) || changed;
    return changed;
}

std::vector<std::int64_t>
SectionController::itemsOfCombined(const std::vector<std::int64_t>& combinedKeys) const {
    std::vector<std::int64_t> items;
    for (auto key : combinedKeys) {
        for (const auto* section : manager_.sections()) {
            const auto item = section->sectionKey();
            if (section->combinedKey() == key && item > 0 && item != kCombinedKey)
                items.push_back(item);
        }
    }
    return items;
}

bool SectionController::removeCombinedItems() {
    const auto keys = CombinedController::combinedItemKeys();
    return updateOrder([&](std::vector<std::int64_t>& order) {
        return std::find(order.begin(), order.end(), kCombinedKey) != order.end() &&
               removeKeys(order, keys);
    });
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
