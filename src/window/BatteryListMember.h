#pragma once

#include "window/ModeListMember.h"

#include <functional>
#include <vector>

namespace corvane {

// A switch over the list of batteries the panel item shows: on while the list names this
// battery. An absent, empty or unreadable list shows every battery, so turning one off stores
// the others that are connected, and a list naming every connected battery is removed again.
// Records of batteries not connected now stay in the list.
class BatteryListMember final : public BoundControl, public MemberSwitch {
public:
    // `record` is {"internal": true} or {"key": ...}; `connected` gives the records of the
    // batteries there now, in the collector's order.
    BatteryListMember(std::string prefKey, std::string notificationName, Value record,
                      std::function<std::vector<Value>()> connected,
                      BoundControlServices services = {});

    bool checked() const override { return checked_; }
    void userSetChecked(bool checked) override;
    void updateValue() override;

    // The record a battery is stored by.
    static Value recordOf(bool internal, const std::string& key);

private:
    // The stored list, or every connected battery where nothing is stored.
    Value shownList() const;

    Value record_;
    std::function<std::vector<Value>()> connected_;
    bool checked_ = false;
};

} // namespace corvane
