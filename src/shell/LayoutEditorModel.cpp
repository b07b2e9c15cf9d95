#include "shell/LayoutEditorModel.h"

#include "foundation/Log.h"
#include "foundation/TextParsing.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceCommands.h"
#include "preferences/SectionNotifications.h"
#include "preferences/SettingsFile.h"
#include "shell/ApplicationText.h"
#include "text/CVBTranslations.h"

#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

constexpr const char* kExternalChangeNotification = "CorvaneBarExternalChange";

// Codes were stored as text by older versions ("100"); anything that is not a whole number is
// no code at all, rather than the 0 a loose reading would make of it.
std::optional<std::int64_t> codeOf(const Value& value) {
    if (value.isInteger())
        return value.integerValue();
    if (value.isReal() && std::isfinite(value.doubleValue()) &&
        std::floor(value.doubleValue()) == value.doubleValue())
        return value.integerValue();
    if (value.isString())
        return parseInteger(trimmed(value.string()));
    return std::nullopt;
}

// "an integer", "a dictionary"
std::string kindText(const Value& value) {
    const std::string name = Value::kindName(value.kind());
    return (name.front() == 'i' ? "an " : "a ") + name;
}

std::string counted(std::size_t count) {
    return count == 1 ? "1 element" : std::to_string(count) + " elements";
}

} // namespace

// Rows.

bool GenericLayoutContainer::hasItemWithKey(std::int64_t key) const {
    return std::any_of(items_.begin(), items_.end(),
                       [key](const ExtraLayoutItem& item) { return item.key == key; });
}

std::string GenericLayoutContainer::preferenceValue() const {
    std::string value;
    for (const auto& item : items_) {
        if (item.hidden || item.uuid.empty())
            continue;
        value += (value.empty() ? "" : ",") + item.uuid;
    }
    return value;
}

void GenericLayoutContainer::insertItem(ExtraLayoutItem item, std::size_t index) {
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(std::min(index, items_.size())),
                  std::move(item));
}

ExtraLayoutItem GenericLayoutContainer::takeItem(std::size_t index) {
    ExtraLayoutItem item = std::move(items_.at(index));
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
    return item;
}

void GenericLayoutContainer::addItemToDefaultIndex(ExtraLayoutItem item) {
    const auto at = std::find_if(items_.begin(), items_.end(), [&item](const ExtraLayoutItem& i) {
        return i.defaultIndex > item.defaultIndex;
    });
    items_.insert(at, std::move(item));
}

// The model.

LayoutEditorModel::LayoutEditorModel(std::string section, CVBPreferences& preferences,
                                     DistributedNotificationCenter& center)
    : preferences_(preferences)
    , center_(center) {
    if (auto layout = LayoutCatalogue::setupLayoutItems(section, applicationText(preferences))) {
        layout_ = std::move(*layout);
    } else {
        CVBLog("layout editor: no section \"%s\"; its rows stay empty", section.c_str());
        layout_.section = std::move(section);
    }
    active_ = ExtraLayoutContainerActive(layout_.allowedMultiples);
    available_ = ExtraLayoutContainerAvailable(layout_.allowedMultiples);
    if (layout_.modeKey.empty())
        return;
    // Another window or command may have written the key since this process read it.
    preferences_.resetValueForKey(layout_.modeKey);
    updateLayoutItems();
    updateAvailableItems();
    observe();
}

LayoutEditorModel::~LayoutEditorModel() = default;

void LayoutEditorModel::updateLayoutItems() {
    active_.removeAllItems();
    const Value& stored = preferences_.objectForKey(layout_.modeKey);
    const Value modes = preferences_.menubarModesForKey(layout_.modeKey);
    if (!modes.isArray()) {
        // Left as it is: the panel item reads it as empty too, and the user may want it back.
        CVBLog("%s holds %s, not a list of elements; the layout editor shows an empty row and "
               "keeps the value until the row is changed",
               layout_.modeKey.c_str(), kindText(stored).c_str());
        return;
    }
    for (std::size_t i = 0; i < modes.size(); ++i) {
        if (auto item = itemForEntry(modes[i], i))
            active_.appendItem(std::move(*item));
    }
}

std::optional<ExtraLayoutItem> LayoutEditorModel::itemForEntry(const Value& entry,
                                                               std::size_t index) const {
    const char* key = layout_.modeKey.c_str();
    if (!entry.isDictionary()) {
        CVBLog("%s: entry %zu is %s, not a dictionary; the layout editor leaves it out", key,
               index + 1, kindText(entry).c_str());
        return std::nullopt;
    }
    const auto code = codeOf(entry[layout_.codeField]);
    const ExtraLayoutItem* known = code ? layout_.itemWithKey(*code) : nullptr;
    if (!known) {
        CVBLog("%s: entry %zu has the code %s, which no element of the %s item has; the "
               "layout editor leaves it out",
               key, index + 1, entry[layout_.codeField].description().c_str(),
               layout_.title.c_str());
        return std::nullopt;
    }
    ExtraLayoutItem item = *known;
    item.settings = entry;
    item.settings.erase(layout_.codeField);
    if (const Value& uuid = entry["uuid"]; uuid.isString())
        item.uuid = uuid.string();
    return item;
}

void LayoutEditorModel::updateAvailableItems() {
    available_.removeAllItems();
    if (!layout_.drawnHere)
        return;
    for (const auto& item : layout_.items) {
        if (item.hasCode() && (layout_.copies(item) || !active_.hasItemWithKey(item.key)))
            available_.appendItem(item);
    }
}

Value LayoutEditorModel::modeList() const {
    Value modes = Value::array();
    for (const auto& item : active_.layoutItems())
        modes.append(item.entry(layout_.codeField));
    return modes;
}

LayoutEditorModel::Result LayoutEditorModel::add(std::int64_t code,
                                                 std::optional<std::size_t> position) {
    if (auto readOnly = refuseIfReadOnly())
        return *readOnly;
    const auto& offered = available_.layoutItems();
    const auto found = std::find_if(offered.begin(), offered.end(),
                                    [code](const ExtraLayoutItem& i) { return i.key == code; });
    if (found == offered.end()) {
        if (const ExtraLayoutItem* known = layout_.itemWithKey(code))
            return refused(itemDescription(*known) + " is in the row already and stands once");
        return refused("the " + layout_.title + " item has no element " + std::to_string(code));
    }
    const std::size_t at = position.value_or(active_.size());
    if (at > active_.size())
        return refused("position " + std::to_string(at + 1) + " is past the end of the row, " +
                       positionText(active_.size()));
    const auto index = static_cast<std::size_t>(found - offered.begin());
    // The copy that stays is the catalogue's own, so a placed element's settings never leak
    // into the next one placed.
    ExtraLayoutItem item = layout_.copies(*found) ? *found : available_.takeItem(index);
    active_.insertItem(std::move(item), at);
    return layoutContainerUpdated();
}

LayoutEditorModel::Result LayoutEditorModel::remove(std::size_t index) {
    if (auto readOnly = refuseIfReadOnly())
        return *readOnly;
    if (index >= active_.size())
        return refused("the row has no element " + std::to_string(index + 1) + ", " +
                       positionText(active_.size()));
    ExtraLayoutItem item = active_.takeItem(index);
    if (!layout_.copies(item) && !available_.hasItemWithKey(item.key)) {
        const ExtraLayoutItem* fresh = layout_.itemWithKey(item.key);
        available_.addItemToDefaultIndex(fresh ? *fresh : item);
    }
    return layoutContainerUpdated();
}

LayoutEditorModel::Result LayoutEditorModel::move(std::size_t from, std::size_t to) {
    if (auto readOnly = refuseIfReadOnly())
        return *readOnly;
    const std::size_t count = active_.size();
    if (from >= count || to >= count)
        return refused("the row has no element " + std::to_string((from >= count ? from : to) + 1) +
                       ", " + positionText(count));
    if (from == to)
        return {};
    ExtraLayoutItem item = active_.takeItem(from);
    active_.insertItem(std::move(item), to);
    return layoutContainerUpdated();
}

LayoutEditorModel::Result LayoutEditorModel::setSpacerWidth(std::size_t index, std::int64_t width) {
    if (auto readOnly = refuseIfReadOnly())
        return *readOnly;
    if (index >= active_.size())
        return refused("the row has no element " + std::to_string(index + 1) + ", " +
                       positionText(active_.size()));
    ExtraLayoutItem& item = active_.itemAt(index);
    if (!item.resizable)
        return refused(itemDescription(item) + " has no width to set");
    if (width < item.minimumWidth || width > item.maximumWidth)
        return refused("a width of " + std::to_string(width) + " points is outside " +
                       std::to_string(item.minimumWidth) + " to " +
                       std::to_string(item.maximumWidth));
    if (item.width() == width && item.settings.contains("width"))
        return {};
    item.settings.set("width", Value(width));
    return layoutContainerUpdated();
}

LayoutEditorModel::Result LayoutEditorModel::layoutContainerUpdated() {
    posted_.clear();
    if (!preferences_.setObject(modeList(), layout_.modeKey)) {
        // The store logged why; the rows go back to what the settings hold.
        updateLayoutItems();
        updateAvailableItems();
        notifyChanged();
        return {Outcome::NotStored, layout_.modeKey + " could not be stored"};
    }
    announce();
    notifyChanged();
    return {};
}

// As a settings command does after a write: the key's own notifications for the status item
// and the agent, then the one a settings window re-reads the key on.
void LayoutEditorModel::announce() {
    const auto names = postKeyChanged(center_, layout_.modeKey);
    posted_.insert(posted_.end(), names.begin(), names.end());
}

LayoutEditorModel::Result LayoutEditorModel::refused(std::string reason) const {
    return {Outcome::Refused, std::move(reason)};
}

std::optional<LayoutEditorModel::Result> LayoutEditorModel::refuseIfReadOnly() const {
    if (layout_.modeKey.empty())
        return refused("there is no section \"" + layout_.section + "\"");
    if (!layout_.drawnHere)
        return refused("this version does not draw the " + layout_.title +
                       " item yet, so its elements cannot be placed");
    return std::nullopt;
}

std::string LayoutEditorModel::positionText(std::size_t count) const {
    return count == 0 ? std::string("which is empty")
                      : "which holds " + counted(count) + " (1 to " + std::to_string(count) + ")";
}

void LayoutEditorModel::observe() {
    const auto hear = [this](const Notification& n) { heard(n); };
    for (const std::string& name :
         {notificationForKey(layout_.modeKey), std::string(kResetPreferencesAppNotification),
          std::string(kExternalChangeNotification)})
        observations_.push_back(center_.addObserver(name, hear));
    // Imports and resets in this process replace the settings underneath the rows.
    if (NotificationCenter* local = preferences_.environment().center)
        observations_.push_back(local->addObserver(kImportedPreferencesNotification, hear));
}

void LayoutEditorModel::heard(const Notification& notification) {
    // The section's other keys come with the same notification.
    const Value& key = notification.userInfo["key"];
    if (key.isString() && key.string() != layout_.modeKey)
        return;
    reload();
}

void LayoutEditorModel::reload() {
    if (layout_.modeKey.empty())
        return;
    preferences_.resetValueForKey(layout_.modeKey);
    // Its own posts come back to it, when the rows show what is stored already.
    if (preferences_.objectForKey(layout_.modeKey) == modeList())
        return;
    updateLayoutItems();
    updateAvailableItems();
    notifyChanged();
}

void LayoutEditorModel::notifyChanged() {
    if (changed_)
        changed_();
}

std::string LayoutEditorModel::itemDescription(const ExtraLayoutItem& item,
                                               std::string_view widthFormat) {
    if (item.resizable)
        return item.title + ", " + formattedString(widthFormat, std::to_string(item.width()));
    return item.title;
}

} // namespace corvane
