#pragma once

#include "window/PageControls.h"

#include <functional>
#include <gtkmm.h>
#include <vector>

namespace corvane {

// The widget of one bound row: a switch, a drop-down, colour buttons or a slider. It hands
// what the user does to the row's controls; `show` puts their current values on screen
// without storing anything. The row outlives the widget.
class ControlWidget {
public:
    // Titles of the page's language.
    using Translate = std::function<std::string(const std::string&)>;

    ControlWidget(BoundRow& row, Translate translate);
    Gtk::Widget& widget() { return *widget_; }
    void show();

private:
    Gtk::Widget* makeSwitch();
    Gtk::Widget* makeDropDown();
    Gtk::Widget* makeColors();
    Gtk::Widget* makeSlider();
    Gtk::ColorButton* makeColorButton(CVBColorWell& well, const std::string& name);

    BoundRow& row_;
    Translate translate_;
    Gtk::Widget* widget_ = nullptr;
    std::vector<std::function<void()>> shows_;
    // Set while values are put on screen, so that the widgets' change signals store nothing.
    bool showing_ = false;
};

} // namespace corvane
