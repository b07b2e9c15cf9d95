#pragma once

#include "foundation/NotificationCenter.h"
#include "foundation/Value.h"
#include "shell/SectionButton.h"
#include "shell/SectionPage.h"
#include "shell/SourceListItem.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

class SectionManager;
struct SectionServices;
class ExtraLayoutItem;
class GenericLayoutContainer;

// One section of the settings window: its entry in the source list with the switch of its
// panel item, its page (built the first time it is shown), and its dropdown order and hotkey
// buttons. Subclasses override the hooks; each has a default here.
//
// Two-phase: construct, then `initWithXib`, so that the hooks it calls are the subclass's.
class SectionController {
public:
    explicit SectionController(SectionManager& manager);
    virtual ~SectionController();
    SectionController(const SectionController&) = delete;
    SectionController& operator=(const SectionController&) = delete;

    virtual void initWithXib(std::string xibName, std::int64_t key);

    // Hooks.
    virtual std::string sectionName() const { return {}; }
    virtual std::optional<std::string> bundleName() const { return std::nullopt; }
    virtual std::string stateNotificationKey() const { return {}; }
    virtual std::optional<std::string> hotkeyPreferenceKey() const { return std::nullopt; }
    virtual void setupIcon();
    virtual void prepareInterface() {}
    // Builds the page once: loads it, `prepareInterface`, labels it, `setup`.
    virtual void prepareToShow();
    virtual void setup();
    // The page goes out of sight (another section or the window closing).
    virtual void didClose() {}
    virtual void prepareDropdownOrderView();
    virtual void highlightLayoutItemOverride(ExtraLayoutItem* item,
                                             GenericLayoutContainer* container, bool override);
    virtual void highlightLayoutItem(ExtraLayoutItem* item, GenericLayoutContainer* container);
    virtual void resetTextAttributes() {}
    virtual void updateLayoutSelectors() {}
    virtual void updateOptions() {}
    // Settings changed in another process; null when no particular notification says which.
    virtual void externalNotification(const Notification* notification) { (void)notification; }
    virtual void importedPreferences();
    // The switch was flipped; its state is the one wanted. False when the settings could not be
    // written: nothing was posted and the switch shows the stored state again.
    virtual bool toggle(const SectionSwitch& sender);
    virtual void checkState();
    virtual void setState(bool state);
    virtual void loadedStateChange() { checkState(); }

    // Whether the section's panel item is on; the argument is ignored, as callers pass anything.
    bool isLoaded(const Value& ignored = {}) const;
    // Turns the switch off without acting on it.
    void unload();
    // With Combined on, the items it holds are no separate panel items. False when the
    // settings could not be written.
    bool removeCombinedItems();
    // The entry of `menubarItems` whose "key" is `key`; null when none.
    const Value* menubarItemWithKey(std::int64_t key) const;
    // {"keys": [...], "resetKey": ..., "notification": name}
    void resetSettings(const Value& settings);

    void editDropdownOrder();
    void saveDropdownOrder();
    void resetDropdownOrder();
    void cancelDropdownOrder();
    void editDropdownHotkey();
    void saveDropdownHotkey();
    void cancelDropdownHotkey();
    virtual void removeTooltip() {}
    void layoutContainerBeganDrag(GenericLayoutContainer* container);

    SourceListItem& sourceItem() { return sourceItem_; }
    const SourceListItem& sourceItem() const { return sourceItem_; }
    // Null until the page was shown once.
    SectionPage* view() const { return view_.get(); }
    Value& menubarItems() { return menubarItems_; }
    std::int64_t sectionKey() const { return sectionKey_; }
    std::int64_t combinedKey() const { return combinedKey_; }
    void setCombinedKey(std::int64_t key) { combinedKey_ = key; }
    const std::string& xibName() const { return xibName_; }
    bool loadedInterface() const { return loadedInterface_; }
    SectionButton& dropdownHotkeyButton() { return dropdownHotkeyButton_; }
    SectionButton& dropdownOrderButton() { return dropdownOrderButton_; }

protected:
    SectionManager& manager() const { return manager_; }
    SectionServices& services() const;
    // Posts to the other processes at once, without user information.
    void postDistributed(const std::string& name) const;
    void updateHotkeyButtonTitle();
    // What `setState` does, for a section whose switch means something other than its panel
    // item: the switch changes (and is redrawn) only when it differs; `updateOptions` always.
    void showSwitchState(bool on);

private:
    // Changes "StatusItems-Order" in one step against what is stored now, so that switches
    // flipped by other processes at the same time are kept. `change` answers whether it
    // changed the list; it must not read the settings.
    bool updateOrder(const std::function<bool(std::vector<std::int64_t>&)>& change);
    // This section's item on or off in `order`; Combined takes its items or gives them back.
    bool switchOrder(std::vector<std::int64_t>& order, bool on,
                     const std::vector<std::int64_t>& combinedKeys) const;
    // The panel items of the sections Combined shows, by its mode lists' keys, in their order.
    std::vector<std::int64_t> itemsOfCombined(const std::vector<std::int64_t>& combinedKeys) const;

    SectionManager& manager_;
    SourceListItem sourceItem_;
    std::unique_ptr<SectionPage> view_;
    Value menubarItems_ = Value::array();
    std::int64_t sectionKey_ = 0;
    std::int64_t combinedKey_ = 0;
    SectionButton dropdownHotkeyButton_;
    SectionButton dropdownOrderButton_;
    std::string xibName_;
    bool loadedInterface_ = false;
    Observation importObservation_;
};

} // namespace corvane
