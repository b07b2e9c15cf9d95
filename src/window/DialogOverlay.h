#pragma once

#include "shell/OverlayController.h"

#include <functional>
#include <gtkmm.h>
#include <memory>

namespace corvane {

class InstallerPage;

// The sheet over the window: a modal dialog for the dropdown order and hotkey editors and the
// installer page, by the name of the page it is asked to show.
class DialogOverlay final : public OverlayController {
public:
    // `translate` gives the editors' words in the window's language.
    DialogOverlay(Gtk::Window& parent, InstallerPage& installer,
                  std::function<std::string(const std::string&)> translate);
    ~DialogOverlay() override;

    void showWithView(SectionPage& view) override;
    void removeOverlay() override;
    // Runs after the dialog went away, so the page shows what the editor stored.
    void setClosed(std::function<void()> closed) { closed_ = std::move(closed); }
    Gtk::Window* dialog() const { return dialog_.get(); }

private:
    Gtk::Widget* orderEditor();
    Gtk::Widget* hotkeyEditor();
    Gtk::Widget* installPage();
    Gtk::Box*
    buttonRow(std::initializer_list<std::pair<std::string, std::function<void()>>> buttons);

    Gtk::Window& parent_;
    InstallerPage& installer_;
    std::function<std::string(const std::string&)> tr_;
    std::unique_ptr<Gtk::Window> dialog_;
    std::function<void()> closed_;
};

} // namespace corvane
