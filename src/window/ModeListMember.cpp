#include "window/ModeListMember.h"

#include "preferences/CVBPreferences.h"

namespace corvane {

namespace {

bool isEntryOf(const Value& mode, std::int64_t member) {
    const Value* key = mode.find("key");
    return key && key->integerValue() == member;
}

} // namespace

ModeListMember::ModeListMember(std::string prefKey, std::string notificationName,
                               std::int64_t member, BoundControlServices services)
    : BoundControl(std::move(prefKey), std::move(notificationName), std::move(services))
    , member_(member) {}

void ModeListMember::userSetChecked(bool checked) {
    const Value modes = CVBPreferences::sharedPreferences().menubarModesForKey(prefKey());
    Value list = Value::array();
    bool present = false;
    for (const Value& mode : modes.arrayItems()) {
        if (!isEntryOf(mode, member_))
            list.append(mode);
        else if (checked && !present)
            list.append(mode); // kept once, with its settings
        present = present || isEntryOf(mode, member_);
    }
    if (checked && !present)
        list.append(Value::dict({{"key", member_}}));
    checked_ = checked;
    commit(list);
}

void ModeListMember::updateValue() {
    checked_ = false;
    // Held here: the loop must not walk the array of a temporary.
    const Value modes = CVBPreferences::sharedPreferences().menubarModesForKey(prefKey());
    for (const Value& mode : modes.arrayItems())
        checked_ = checked_ || isEntryOf(mode, member_);
}

} // namespace corvane
