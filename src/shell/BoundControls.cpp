#include "shell/BoundControls.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"

#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

BoundControlServices resolved(BoundControlServices services) {
    if (!services.distributedCenter)
        services.distributedCenter = &DistributedNotificationCenter::defaultCenter();
    if (!services.center || !services.queue) {
        const auto& environment = CVBPreferences::sharedPreferences().environment();
        if (!services.center)
            services.center = environment.center;
        if (!services.queue)
            services.queue = environment.queue;
    }
    if (!services.isMenubarDark)
        services.isMenubarDark = [] { return CVBPreferences::sharedPreferences().isMenubarDark(); };
    return services;
}

} // namespace

BoundControl::BoundControl(std::string prefKey, std::string notificationName,
                           BoundControlServices services)
    : prefKey_(std::move(prefKey))
    , notificationName_(std::move(notificationName))
    , services_(resolved(std::move(services))) {
    // Imports and resets replace settings underneath every open page.
    if (services_.center)
        imported_ = services_.center->addObserver(kImportedPreferencesNotification,
                                                  [this](const Notification&) { updateValue(); });
}

BoundControl::~BoundControl() = default;

void BoundControl::addTarget(Action selector) {
    if (selector)
        targets_.push_back(std::move(selector));
}

void BoundControl::commit(const Value& value) {
    if (!store(value)) {
        updateValue(); // shows what the settings hold instead of what was refused
        return;
    }
    post();
    callTargets();
}

bool BoundControl::store(const Value& value) {
    const std::string key = prefKey();
    if (key.empty())
        return true;
    if (CVBPreferences::sharedPreferences().setObject(value, key))
        return true;
    // The other processes would re-read a value that is not there; the store logged why.
    CVBLog("%s not stored; the other programs are not told", key.c_str());
    return false;
}

void BoundControl::callTargets() {
    // A target may add another; that one waits for the next change.
    const std::size_t count = targets_.size();
    for (std::size_t i = 0; i < count; ++i)
        targets_[i](*this);
}

void BoundControl::post() {
    if (notificationName_.empty())
        return;
    services_.distributedCenter->postNotificationName(
        notificationName_, notificationUserInfo(),
        DistributedNotificationCenter::DeliverImmediately);
}

bool BoundControl::isMenubarDark() const {
    return services_.isMenubarDark();
}

// Check box.

void CVBCheckbox::userSetChecked(bool checked) {
    checked_ = checked;
    commit(Value(checked ? 1 : 0));
}

void CVBCheckbox::updateValue() {
    checked_ = CVBBoolForKey(prefKey());
}

// Pop-up button.

CVBPopUpButton::CVBPopUpButton(std::string prefKey, std::string notificationName, Kind kind,
                               BoundControlServices services)
    : BoundControl(std::move(prefKey), std::move(notificationName), std::move(services))
    , kind_(kind) {}

void CVBPopUpButton::setItems(std::vector<Item> items) {
    items_ = std::move(items);
    selected_.reset();
}

void CVBPopUpButton::addItemWithTitle(std::string title, Value representedObject) {
    items_.push_back({std::move(title), std::move(representedObject)});
}

std::string CVBPopUpButton::titleOfSelectedItem() const {
    return selected_ ? items_[*selected_].title : std::string();
}

void CVBPopUpButton::selectItemAtIndex(std::size_t index) {
    if (index < items_.size())
        selected_ = index;
    else
        selected_.reset();
}

void CVBPopUpButton::userSelectItemAtIndex(std::size_t index) {
    if (index >= items_.size()) {
        CVBLog("pop-up %s has no item %zu", prefKey().c_str(), index);
        return;
    }
    selected_ = index;
    commit(storedValue(index));
}

void CVBPopUpButton::updateValue() {
    const Value& stored = CVBObjectForKey(prefKey());
    selected_.reset();
    for (std::size_t i = 0; i < items_.size(); ++i) {
        if (itemMatches(i, stored)) {
            selected_ = i;
            return;
        }
    }
}

Value CVBPopUpButton::notificationUserInfo() const {
    if (notificationKey().empty())
        return {};
    return Value::dict({{"key", notificationKey()}});
}

Value CVBPopUpButton::storedValue(std::size_t index) const {
    const Item& item = items_[index];
    switch (kind_) {
    case Kind::StringBased:
        return Value(item.title);
    case Kind::RepresentedObject:
        // Readers take these with CVBIntegerForKey; a real would not compare equal in peers.
        if (item.representedObject.isNumber())
            return Value(item.representedObject.integerValue());
        return item.representedObject;
    case Kind::NumberInTitle:
        return Value(Value(item.title).integerValue());
    case Kind::Index:
        break;
    }
    return Value(static_cast<std::int64_t>(index));
}

// Compares as the readers of the key read it, so a missing value selects what a reader sees.
bool CVBPopUpButton::itemMatches(std::size_t index, const Value& stored) const {
    switch (kind_) {
    case Kind::StringBased:
        return stored.stringValue() == items_[index].title;
    case Kind::RepresentedObject:
        return storedValue(index).numericallyEquals(stored);
    case Kind::NumberInTitle:
    case Kind::Index:
        break;
    }
    return storedValue(index).integerValue() == stored.integerValue();
}

// Colour well.

CVBColorWell::~CVBColorWell() {
    if (!pendingPost_)
        return;
    queue()->cancel(*pendingPost_);
    settle();
}

std::string CVBColorWell::prefKey() const {
    std::string key = BoundControl::prefKey();
    if (darkMode_ && !key.empty() && isMenubarDark())
        key += "-Dark";
    return key;
}

void CVBColorWell::userSetColor(const Color& color) {
    color_ = color;
    // Every step of a drag shows at once in this process; the disk is written once it settles.
    const std::string key = prefKey();
    if (!key.empty())
        CVBPreferences::sharedPreferences().setObjectDeferred(Value(stringFromColor(color)), key);
    callTargets();
    postLater();
}

void CVBColorWell::updateValue() {
    const std::string key = prefKey();
    if (defaultColor_ && CVBObjectForKey(key).isNull())
        color_ = *defaultColor_;
    else
        color_ = CVBColorForKey(key);
}

void CVBColorWell::postLater() {
    MainQueue* mainQueue = queue();
    if (!mainQueue) {
        settle();
        return;
    }
    if (pendingPost_)
        mainQueue->cancel(*pendingPost_);
    pendingPost_ = mainQueue->after(kPostDelay, [this] {
        pendingPost_.reset();
        settle();
    });
}

void CVBColorWell::settle() {
    // The other processes re-read on the post: the value must be on disk before it goes out.
    if (CVBPreferences::hasSharedPreferences() &&
        !CVBPreferences::sharedPreferences().synchronize()) {
        CVBLog("colour %s not written; the other programs are not told", prefKey().c_str());
        return;
    }
    post();
}

// Slider.

CVBSlider::CVBSlider(std::string prefKey, std::string notificationName, double minValue,
                     double maxValue, BoundControlServices services)
    : BoundControl(std::move(prefKey), std::move(notificationName), std::move(services))
    , minValue_(std::min(minValue, maxValue))
    , maxValue_(std::max(minValue, maxValue))
    , value_(minValue_) {}

void CVBSlider::setDoubleValue(double value) {
    // NaN from a damaged value shows at the minimum rather than poisoning the stored value.
    value_ = std::isnan(value) ? minValue_ : std::clamp(value, minValue_, maxValue_);
}

void CVBSlider::userSetDoubleValue(double value) {
    setDoubleValue(value);
    commit(Value(value_));
}

void CVBSlider::updateValue() {
    setDoubleValue(CVBDoubleForKey(prefKey()));
}

} // namespace corvane
