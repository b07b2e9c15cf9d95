#pragma once

#include <functional>
#include <string>

namespace corvane {

// A push button of a section page, such as "Edit Hotkey".
struct SectionButton {
    std::string title;
    double fontSize = 0;
    bool semibold = false;
    std::function<void()> action;

    void click() {
        if (action)
            action();
    }
};

} // namespace corvane
