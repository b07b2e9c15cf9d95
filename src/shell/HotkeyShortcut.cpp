#include "shell/HotkeyShortcut.h"

namespace corvane {

Value HotkeyShortcut::archived() const {
    return Value::dict({{"keyCode", keyCode}, {"modifiers", modifiers}, {"display", display}});
}

std::optional<HotkeyShortcut> HotkeyShortcut::unarchived(const Value& value) {
    if (!value.isDictionary() || !value["keyCode"].isNumber())
        return std::nullopt;
    return HotkeyShortcut{value["keyCode"].integerValue(), value["modifiers"].integerValue(),
                          value["display"].stringValue()};
}

} // namespace corvane
