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
    // The colour the panel item draws with for a colour key that holds none.
    using ThemeColor = std::function<Color()>;
    // How long a slider rests before its value is stored: a drag moves it at every step.
    static constexpr unsigned kSliderSettleMilliseconds = 250;

    ControlWidget(BoundRow& row, Translate translate, ThemeColor themeColor = {});
    ~ControlWidget();
    ControlWidget(const ControlWidget&) = delete;
    ControlWidget& operator=(const ControlWidget&) = delete;
    Gtk::Widget& widget() { return *widget_; }
    void show();

private:
    Gtk::Widget* makeSwitch();
    Gtk::Widget* makeDropDown();
    Gtk::Widget* makeColors();
    Gtk::Widget* makeSlider();
    Gtk::ColorButton* makeColorButton(CVBColorWell& well, const std::string& name);
    Color shownColor(const CVBColorWell& well) const;
    // Stores the slider's resting value now, if it has not been.
    void settleSlider();

    BoundRow& row_;
    Translate translate_;
    ThemeColor themeColor_;
    sigc::connection sliderTimer_;
    std::function<void()> sliderWrite_;
    Gtk::Widget* widget_ = nullptr;
    std::vector<std::function<void()>> shows_;
    // Set while values are put on screen, so that the widgets' change signals store nothing.
    bool showing_ = false;
};

} // namespace corvane
