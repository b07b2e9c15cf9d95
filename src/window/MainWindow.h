#pragma once

#include "shell/SectionViewContainer.h"
#include "window/SourceListView.h"

#include <gtkmm.h>
#include <string>
#include <vector>

namespace corvane {

class WindowPage;

// The settings window: the source list with the version labels under it at the left, the
// selected section's page at the right, the application menu in the header bar.
class MainWindow final : public Gtk::ApplicationWindow, public SectionViewContainer {
public:
    explicit MainWindow(SourceListView::Select select);

    SourceListView& sourceList() { return sourceList_; }
    void removeAllSubviews() override;
    void addSubview(SectionPage& page) override;
    // The page on screen; null before the first.
    WindowPage* currentPage() const { return current_; }

    void setMenu(const Glib::RefPtr<Gio::MenuModel>& menu);
    // The footer: the version of this program and of the background parts that answered.
    void setVersionLabels(const std::vector<std::string>& labels);

private:
    SourceListView sourceList_;
    Gtk::Box content_;
    Gtk::Box footer_;
    Gtk::MenuButton menuButton_;
    WindowPage* current_ = nullptr;
};

} // namespace corvane
