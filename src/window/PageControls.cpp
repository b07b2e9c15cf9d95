#include "window/PageControls.h"

#include "preferences/CVBPreferences.h"
#include "preferences/SectionNotifications.h"
#include "preferences/SettingsFile.h"
#include "window/ModeListMember.h"

namespace corvane {

namespace {

using Kind = ControlDescription::Kind;

constexpr const char* kExternalChangeNotification = "CorvaneBarExternalChange";

std::vector<CVBPopUpButton::Item> itemsOf(const ControlDescription& description) {
    std::vector<CVBPopUpButton::Item> items;
    for (const auto& title : description.choices)
        items.push_back({title, {}});
    return items;
}

} // namespace

PageControls::PageControls(const PageDescription& page, BoundControlServices services) {
    if (!services.distributedCenter)
        services.distributedCenter = &DistributedNotificationCenter::defaultCenter();
    if (!services.center)
        services.center = CVBPreferences::sharedPreferences().environment().center;
    const Value& defaults = CVBPreferences::sharedPreferences().defaults();
    for (const auto& group : page.groups) {
        for (const auto& description : group.rows) {
            BoundRow row{description, makeControl(description, description.key, services), nullptr};
            const std::string darkKey = description.key + "-Dark";
            if (description.kind == Kind::Color && defaults.contains(darkKey))
                row.dark = makeControl(description, darkKey, services);
            rows_.push_back(std::move(row));
        }
    }
    observe(services);
    for (auto& row : rows_) {
        row.control->updateValue();
        if (row.dark)
            row.dark->updateValue();
    }
}

PageControls::~PageControls() = default;

std::unique_ptr<BoundControl>
PageControls::makeControl(const ControlDescription& description, const std::string& key,
                          const BoundControlServices& services) const {
    std::string notification = notificationForKey(key);
    switch (description.kind) {
    case Kind::Switch:
        return std::make_unique<CVBCheckbox>(key, std::move(notification), services);
    case Kind::Choice:
    case Kind::Number: {
        const auto kind = description.kind == Kind::Choice ? CVBPopUpButton::Kind::Index
                                                           : CVBPopUpButton::Kind::NumberInTitle;
        auto popup = std::make_unique<CVBPopUpButton>(key, std::move(notification), kind, services);
        popup->setItems(itemsOf(description));
        return popup;
    }
    case Kind::Color:
        return std::make_unique<CVBColorWell>(key, std::move(notification), services);
    case Kind::Opacity:
        return std::make_unique<OpacitySlider>(key, std::move(notification), services);
    case Kind::Member:
        return std::make_unique<ModeListMember>(key, std::move(notification), description.member,
                                                services);
    }
    return nullptr;
}

void PageControls::observe(const BoundControlServices& services) {
    observations_.push_back(services.distributedCenter->addObserver(
        kExternalChangeNotification, [this](const Notification&) { reload(); }));
    observations_.push_back(services.distributedCenter->addObserver(
        kResetPreferencesAppNotification, [this](const Notification& notification) {
            const Value& key = notification.userInfo["key"];
            if (key.isString())
                reloadKey(key.string());
        }));
    // The controls read their values themselves on an import; the widgets follow here.
    if (services.center)
        observations_.push_back(services.center->addObserver(
            kImportedPreferencesNotification, [this](const Notification&) { reload(); }));
}

BoundRow& PageControls::addRow(ControlDescription description,
                               std::unique_ptr<BoundControl> control) {
    control->updateValue();
    rows_.push_back({std::move(description), std::move(control), nullptr});
    return rows_.back();
}

BoundRow* PageControls::rowForKey(const std::string& key) {
    for (auto& row : rows_) {
        if (row.control->prefKey() == key || (row.dark && row.dark->prefKey() == key))
            return &row;
    }
    return nullptr;
}

void PageControls::reload() {
    for (auto& row : rows_) {
        for (BoundControl* control : {row.control.get(), row.dark.get()}) {
            if (!control)
                continue;
            CVBRefreshKey(control->prefKey());
            control->updateValue();
        }
    }
    if (refreshed_)
        refreshed_();
}

void PageControls::reloadKey(const std::string& key) {
    bool found = false;
    // Several rows may edit one key (the members of a mode list).
    for (auto& row : rows_) {
        for (BoundControl* control : {row.control.get(), row.dark.get()}) {
            if (!control || control->prefKey() != key)
                continue;
            if (!found)
                CVBRefreshKey(key);
            found = true;
            control->updateValue();
        }
    }
    if (found && refreshed_)
        refreshed_();
}

} // namespace corvane
