#include "window/DialogOverlay.h"

#include "shell/DropdownHotkeyController.h"
#include "shell/DropdownOrderController.h"
#include "text/CVBTranslations.h"
#include "window/AdwRows.h"
#include "window/InstallerPage.h"

namespace corvane {

namespace {

Gtk::Label* wrappedLabel(const std::string& text) {
    auto* label = Gtk::make_managed<Gtk::Label>(text);
    label->set_wrap(true);
    label->set_xalign(0);
    label->set_max_width_chars(50);
    return label;
}

} // namespace

DialogOverlay::DialogOverlay(Gtk::Window& parent, InstallerPage& installer,
                             std::function<std::string(const std::string&)> translate)
    : parent_(parent)
    , installer_(installer)
    , tr_(std::move(translate)) {}

DialogOverlay::~DialogOverlay() = default;

void DialogOverlay::showWithView(SectionPage& view) {
    OverlayController::showWithView(view);
    Gtk::Widget* content = nullptr;
    if (view.name() == "DropdownOrder")
        content = orderEditor();
    else if (view.name() == "DropdownHotkey")
        content = hotkeyEditor();
    else if (view.name() == "Install")
        content = installPage();
    if (!content) {
        OverlayController::removeOverlay();
        return;
    }
    dialog_ = std::make_unique<Gtk::Window>();
    dialog_->set_transient_for(parent_);
    dialog_->set_modal(true);
    dialog_->set_title(view.accessibilityLabel.empty() ? view.name() : view.accessibilityLabel);
    content->set_margin(18);
    dialog_->set_child(*content);
    dialog_->signal_close_request().connect(
        [this] {
            OverlayController::removeOverlay();
            if (closed_)
                closed_();
            return false;
        },
        false);
    dialog_->present();
}

void DialogOverlay::removeOverlay() {
    OverlayController::removeOverlay();
    if (dialog_) {
        dialog_->hide();
        // A button of the dialog may be what asked; it goes once its handler has returned.
        std::shared_ptr<Gtk::Window> closing(dialog_.release());
        Glib::signal_idle().connect_once([closing] {});
    }
    if (closed_)
        closed_();
}

Gtk::Box* DialogOverlay::buttonRow(
    std::initializer_list<std::pair<std::string, std::function<void()>>> buttons) {
    auto* row = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 6);
    row->set_halign(Gtk::Align::END);
    for (const auto& [title, action] : buttons) {
        auto* button = Gtk::make_managed<Gtk::Button>(title);
        button->signal_clicked().connect(action);
        row->append(*button);
    }
    return row;
}

Gtk::Widget* DialogOverlay::orderEditor() {
    auto& order = DropdownOrderController::sharedOrderController();
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 12);
    if (order.orderview.items.empty())
        box->append(*wrappedLabel(tr_("This section's dropdown has no blocks to arrange yet.")));
    for (auto& item : order.orderview.items) {
        auto* check = Gtk::make_managed<Gtk::CheckButton>(item.title);
        check->set_active(!item.disabled);
        check->signal_toggled().connect([&item, check] { item.disabled = !check->get_active(); });
        box->append(*check);
    }
    box->append(*buttonRow({{order.resetButton.title, [&order] { order.resetButton.click(); }},
                            {tr_("Cancel"), [&order] { order.cancelButton.click(); }},
                            {order.saveButton.title, [&order] { order.saveButton.click(); }}}));
    return box;
}

Gtk::Widget* DialogOverlay::hotkeyEditor() {
    auto& hotkey = DropdownHotkeyController::sharedHotkeyController();
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 12);
    box->append(*wrappedLabel(formattedString(
        tr_("Press the keys that open the %@ dropdown. Backspace clears the hotkey."),
        hotkey.sectionName)));
    const std::string none = tr_("No hotkey");
    auto* shown = Gtk::make_managed<Gtk::Label>(hotkey.shortcut ? hotkey.shortcut->display : none);
    shown->add_css_class("title-2");
    shown->set_focusable(true);
    setAccessibleLabel(*shown, tr_("Hotkey"));
    box->append(*shown);
    auto keys = Gtk::EventControllerKey::create();
    keys->signal_key_pressed().connect(
        [&hotkey, shown, none](guint keyval, guint keycode, Gdk::ModifierType state) {
            const guint modifiers =
                static_cast<guint>(state) & gtk_accelerator_get_default_mod_mask();
            if (keyval == GDK_KEY_BackSpace && modifiers == 0) {
                hotkey.shortcut.reset();
                shown->set_text(none);
                return true;
            }
            // A shortcut needs a modifier, or it would steal a key from every program; a
            // modifier alone is no shortcut yet.
            const bool modifierKey = keyval >= GDK_KEY_Shift_L && keyval <= GDK_KEY_Hyper_R;
            if (modifiers == 0 || modifierKey)
                return false;
            const auto accelerator =
                gtk_accelerator_get_label(keyval, static_cast<GdkModifierType>(modifiers));
            hotkey.shortcut = HotkeyShortcut{static_cast<std::int64_t>(keycode),
                                             static_cast<std::int64_t>(modifiers), accelerator};
            g_free(accelerator);
            shown->set_text(hotkey.shortcut->display);
            return true;
        },
        false);
    box->add_controller(keys);
    box->append(*buttonRow({{tr_("Cancel"), [&hotkey] { hotkey.cancelButton.click(); }},
                            {tr_("Save"), [&hotkey] { hotkey.saveButton.click(); }}}));
    return box;
}

Gtk::Widget* DialogOverlay::installPage() {
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 12);
    auto* text = wrappedLabel(installer_.state().description());
    box->append(*text);
    auto* enable = Gtk::make_managed<Gtk::Button>(tr_("Enable and Start"));
    enable->add_css_class("suggested-action");
    enable->signal_clicked().connect([this, text] {
        const std::string error = installer_.enableAndStart();
        text->set_text(error.empty() ? installer_.state().description()
                                     : formattedString(tr_("The status items could not be "
                                                           "enabled: %@"),
                                                       error));
    });
    auto* row = buttonRow({{tr_("Close"), [this] { removeOverlay(); }}});
    row->prepend(*enable);
    box->append(*row);
    return box;
}

} // namespace corvane
