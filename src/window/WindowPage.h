#pragma once

#include "shell/SectionPage.h"
#include "shell/SectionPageFactory.h"
#include "window/ControlWidgets.h"
#include "window/PageControls.h"
#include "window/PageDescription.h"
#include "window/WindowServices.h"

#include <gtkmm.h>
#include <memory>
#include <vector>

namespace corvane {

class PreviewArea;
class SectionController;

// A section's page in the window: its bound controls, their widgets, the preview and the
// editors, built from the section's page table.
class WindowPage final : public SectionPage {
public:
    WindowPage(const std::string& xibName, SectionController& owner, WindowServices& services);
    ~WindowPage() override;

    Gtk::Widget& widget() { return *root_; }
    PageControls& controls() { return *controls_; }
    // Null on pages without a panel item.
    PreviewArea* preview() const { return preview_; }
    // Puts the stored values on screen again, the hotkey button's title included.
    void showValues();

private:
    // The page of a section with settings; the page of one whose settings are still to come.
    Gtk::Widget& controlsPage();
    Gtk::Widget& placeholder();
    void addHeader(Gtk::Box& box, const std::string& title);
    void addPreview(Gtk::Box& box);
    void addLayoutEditor(Gtk::Box& box);
    void addGroups(Gtk::Box& box);
    void addDropdownButtons(Gtk::Box& box);
    // Which of the connected batteries the panel item lists.
    void addBatteryList(Gtk::Box& box);
    void addGeneralCommands(Gtk::Box& box);

    PageDescription description_;
    SectionController& owner_;
    WindowServices& services_;
    std::unique_ptr<PageControls> controls_;
    std::vector<std::unique_ptr<ControlWidget>> widgets_;
    std::unique_ptr<Gtk::ScrolledWindow> root_;
    PreviewArea* preview_ = nullptr;
    Gtk::Button* hotkeyButton_ = nullptr;
    Gtk::Widget* dropdownGroup_ = nullptr;
    // The element rows' model behind the embedded editor, on pages that have one.
    struct LayoutParts;
    std::unique_ptr<LayoutParts> layout_;
};

// Makes the window's pages for the registry.
class WindowPageFactory final : public SectionPageFactory {
public:
    explicit WindowPageFactory(WindowServices& services)
        : services_(services) {}
    std::unique_ptr<SectionPage> loadPage(const std::string& xibName,
                                          SectionController& owner) override;

private:
    WindowServices& services_;
};

} // namespace corvane
