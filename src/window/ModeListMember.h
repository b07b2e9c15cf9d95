#pragma once

#include "shell/BoundControls.h"

#include <cstdint>

namespace corvane {

// A switch whose state is whether a stored list holds one entry.
class MemberSwitch {
public:
    virtual ~MemberSwitch() = default;
    virtual bool checked() const = 0;
    virtual void userSetChecked(bool checked) = 0;
};

// A check box over a mode list: on while the list under its key holds an entry {"key": member}.
// Turning it on appends that entry; turning it off removes every entry of it, keeping the
// others and their settings as they are.
class ModeListMember : public BoundControl, public MemberSwitch {
public:
    ModeListMember(std::string prefKey, std::string notificationName, std::int64_t member,
                   BoundControlServices services = {});

    std::int64_t member() const { return member_; }
    bool checked() const override { return checked_; }
    void userSetChecked(bool checked) override;
    void updateValue() override;

private:
    std::int64_t member_;
    bool checked_ = false;
};

} // namespace corvane
