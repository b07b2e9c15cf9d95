#pragma once

namespace corvane {

// The small popup of an item's options on a section page. Without a window there is none.
class OptionsPopupController {
public:
    virtual ~OptionsPopupController() = default;
    virtual void close() {}
    // Shows the stored values again, after a reset.
    virtual void updateValues() {}
};

} // namespace corvane
