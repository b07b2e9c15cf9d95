#include "window/ControlWidgets.h"

#include "preferences/CVBPreferences.h"
#include "text/CVBTranslations.h"
#include "window/AdwRows.h"
#include "window/ModeListMember.h"

#include <utility>

namespace corvane {

namespace {

using Kind = ControlDescription::Kind;

Gdk::RGBA rgbaOf(const Color& color) {
    Gdk::RGBA rgba;
    rgba.set_rgba(color.red, color.green, color.blue, color.alpha);
    return rgba;
}

} // namespace

ControlWidget::ControlWidget(BoundRow& row, Translate translate, ThemeColor themeColor)
    : row_(row)
    , translate_(std::move(translate))
    , themeColor_(std::move(themeColor)) {
    switch (row.description.kind) {
    case Kind::Switch:
    case Kind::Member:
        widget_ = makeSwitch();
        break;
    case Kind::Choice:
    case Kind::Number:
        widget_ = makeDropDown();
        break;
    case Kind::Color:
        widget_ = makeColors();
        break;
    case Kind::Opacity:
        widget_ = makeSlider();
        break;
    }
    show();
}

ControlWidget::~ControlWidget() {
    // The last move of a slider is kept when the page goes before it rested.
    settleSlider();
}

void ControlWidget::show() {
    showing_ = true;
    for (const auto& shown : shows_)
        shown();
    showing_ = false;
}

Gtk::Widget* ControlWidget::makeSwitch() {
    auto* toggle = Gtk::make_managed<Gtk::Switch>();
    BoundControl* control = row_.control.get();
    auto* member = dynamic_cast<MemberSwitch*>(control);
    auto* checkbox = dynamic_cast<CVBCheckbox*>(control);
    toggle->property_active().signal_changed().connect([this, toggle, member, checkbox] {
        if (showing_)
            return;
        if (member)
            member->userSetChecked(toggle->get_active());
        else if (checkbox)
            checkbox->userSetChecked(toggle->get_active());
        show(); // a refused write shows the stored state again
    });
    shows_.push_back([toggle, member, checkbox] {
        toggle->set_active(member ? member->checked() : checkbox && checkbox->checked());
    });
    return toggle;
}

Gtk::Widget* ControlWidget::makeDropDown() {
    auto* popup = dynamic_cast<CVBPopUpButton*>(row_.control.get());
    std::vector<Glib::ustring> titles;
    for (const auto& item : popup->items())
        titles.emplace_back(row_.description.kind == Kind::Choice ? translate_(item.title)
                                                                  : item.title);
    auto* dropDown = Gtk::make_managed<Gtk::DropDown>(titles);
    dropDown->property_selected().signal_changed().connect([this, dropDown, popup] {
        if (showing_ || dropDown->get_selected() == GTK_INVALID_LIST_POSITION)
            return;
        popup->userSelectItemAtIndex(dropDown->get_selected());
        show();
    });
    shows_.push_back([dropDown, popup] {
        const auto selected = popup->indexOfSelectedItem();
        dropDown->set_selected(selected ? static_cast<guint>(*selected)
                                        : GTK_INVALID_LIST_POSITION);
    });
    return dropDown;
}

Gtk::ColorButton* ControlWidget::makeColorButton(CVBColorWell& well, const std::string& name) {
    auto* button = Gtk::make_managed<Gtk::ColorButton>();
    button->set_use_alpha(true);
    button->set_title(name);
    setAccessibleLabel(*button, name);
    button->signal_color_set().connect([button, &well] {
        const Gdk::RGBA rgba = button->get_rgba();
        well.userSetColor(
            Color{rgba.get_red(), rgba.get_green(), rgba.get_blue(), rgba.get_alpha()});
    });
    shows_.push_back([this, button, &well] { button->set_rgba(rgbaOf(shownColor(well))); });
    return button;
}

Color ControlWidget::shownColor(const CVBColorWell& well) const {
    // A graph colour the user never chose is the theme's, not the black of an empty well.
    if (themeColor_ && CVBObjectForKey(well.prefKey()).isNull())
        return themeColor_();
    return well.color();
}

Gtk::Widget* ControlWidget::makeColors() {
    const std::string title = translate_(row_.description.title);
    auto& light = dynamic_cast<CVBColorWell&>(*row_.control);
    if (!row_.dark)
        return makeColorButton(light, title);
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 6);
    box->append(*makeColorButton(light, formattedString(translate_("%@, light panel"), title)));
    auto& dark = dynamic_cast<CVBColorWell&>(*row_.dark);
    box->append(*makeColorButton(dark, formattedString(translate_("%@, dark panel"), title)));
    return box;
}

Gtk::Widget* ControlWidget::makeSlider() {
    auto& slider = dynamic_cast<CVBSlider&>(*row_.control);
    auto* scale = Gtk::make_managed<Gtk::Scale>(Gtk::Orientation::HORIZONTAL);
    scale->set_range(slider.minValue(), slider.maxValue());
    scale->set_increments(0.05, 0.1);
    scale->set_digits(2);
    scale->set_size_request(180, -1);
    scale->signal_value_changed().connect([this, scale, &slider] {
        if (showing_)
            return;
        // Each setting written is posted to every process: one write when the slider rests.
        sliderWrite_ = [&slider, value = scale->get_value()] { slider.userSetDoubleValue(value); };
        sliderTimer_.disconnect();
        sliderTimer_ = Glib::signal_timeout().connect(
            [this] {
                settleSlider();
                return false;
            },
            kSliderSettleMilliseconds);
    });
    shows_.push_back([scale, &slider] { scale->set_value(slider.doubleValue()); });
    return scale;
}

void ControlWidget::settleSlider() {
    sliderTimer_.disconnect();
    if (auto write = std::exchange(sliderWrite_, nullptr))
        write();
}

} // namespace corvane
