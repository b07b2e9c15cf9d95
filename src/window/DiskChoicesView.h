#pragma once

#include "shell/DisksController.h"
#include "window/WindowServices.h"

#include <functional>
#include <gtkmm.h>
#include <memory>
#include <vector>

namespace corvane {

// The disks page's choices: the volumes the panel item shows, the volumes and the disks'
// activity the dropdown lists, and "Reset Disk Filtering". The switches are built again when
// a disk event changes the volumes; the ticks are put on screen again every two seconds.
class DiskChoicesView final : public Gtk::Box {
public:
    explicit DiskChoicesView(WindowServices& services);
    ~DiskChoicesView() override;

private:
    // A switch in `group` that shows `isOn` and hands a change to `set`, which answers false
    // when the change was not stored.
    void addSwitch(Gtk::Widget& group, const std::string& title, const std::string& subtitle,
                   std::function<bool()> isOn, std::function<bool(bool)> set);
    void addPanelGroups(const Value& available);
    void addDropdownGroup();
    void build();
    void refresh();

    WindowServices& services_;
    DiskManager& manager_;
    std::unique_ptr<DiskChoices> choices_;
    std::vector<std::function<void()>> shows_;
    std::unique_ptr<DiskChoiceWatcher> watcher_;
    sigc::connection timer_;
    bool showing_ = false;
};

} // namespace corvane
