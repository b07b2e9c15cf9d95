#include "window/DiskChoicesView.h"

#include "collectors/disks/DiskSystem.h"
#include "collectors/disks/MenubarDisks.h"
#include "window/AdwRows.h"

namespace corvane {

namespace {

constexpr unsigned kRefreshSeconds = 2;

DiskManager& sampledManager(const EngineContext& engine) {
    auto& disks = DiskSystem::shared(engine);
    if (disks.manager().stucture().empty())
        disks.sampleNow();
    return disks.manager();
}

// The dropdown's name of a group: its disk's, or what kind of volumes it holds.
std::string groupTitle(const DiskStructureGroup& group, const WindowServices& services) {
    if (group.bsd == "_network")
        return services.translate("Network");
    if (group.bsd == "_removable")
        return services.translate("Removable");
    if (group.bsd == "_notmounted")
        return services.translate("Not Mounted");
    return group.physicalDiskName && !group.physicalDiskName->empty() ? *group.physicalDiskName
                                                                      : group.bsd;
}

} // namespace

DiskChoicesView::DiskChoicesView(WindowServices& services)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 18)
    , services_(services)
    , manager_(sampledManager(services.engine))
    , choices_(
          std::make_unique<DiskChoices>(services.preferences, manager_, &services.distributed)) {
    build();
    // Block uevents and mount-table changes, as the status program follows them.
    DiskSystem::shared(services.engine).startMonitoring();
    watcher_ = std::make_unique<DiskChoiceWatcher>(manager_, [this] { build(); });
    timer_ = Glib::signal_timeout().connect_seconds(
        [this] {
            refresh();
            return true;
        },
        kRefreshSeconds);
}

DiskChoicesView::~DiskChoicesView() {
    watcher_.reset();
    timer_.disconnect();
}

void DiskChoicesView::addSwitch(Gtk::Widget& group, const std::string& title,
                                const std::string& subtitle, std::function<bool()> isOn,
                                std::function<bool(bool)> set) {
    auto* toggle = Gtk::make_managed<Gtk::Switch>();
    toggle->property_active().signal_changed().connect([this, toggle, set = std::move(set)] {
        if (!showing_ && !set(toggle->get_active()))
            refresh(); // refused or not stored: back to what is stored
    });
    shows_.push_back([toggle, isOn = std::move(isOn)] { toggle->set_active(isOn()); });
    adw::addToGroup(group, adw::actionRow(title, toggle, subtitle));
}

void DiskChoicesView::addPanelGroups(const Value& available) {
    for (const Value& section : available.arrayItems()) {
        auto& group = adw::group(services_.translate(section["header"].stringValue()),
                                 services_.translate("Shown in the panel item; at least one is."));
        for (const Value& volume : section["items"].arrayItems()) {
            const std::string key = volume["key"].stringValue();
            addSwitch(
                group, volume["name"].stringValue(), {},
                [this, key] { return choices_->inPanel(key); },
                [this, key](bool on) { return choices_->setInPanel(key, on); });
        }
        append(group);
    }
}

void DiskChoicesView::addDropdownGroup() {
    auto& group = adw::group(services_.translate("In the dropdown"),
                             services_.translate("The volumes and the disks' activity it lists."));
    for (const DiskStructureGroup& disk : manager_.stucture()) {
        const std::string where = groupTitle(disk, services_);
        for (const DiskStructurePartition& volume : disk.partitions) {
            const std::string key = volume.key;
            addSwitch(
                group, volume.name, where, [this, key] { return choices_->volumeShown(key); },
                [this, key](bool on) { return choices_->setVolumeShown(key, on); });
        }
    }
    for (const auto& disk : manager_.activity().disks()) {
        const std::string key = disk->key();
        addSwitch(
            group, disk->name.empty() ? key : disk->name, services_.translate("Activity"),
            [this, key] { return choices_->activityShown(key); },
            [this, key](bool on) { return choices_->setActivityShown(key, on); });
    }
    auto* reset = Gtk::make_managed<Gtk::Button>(services_.translate("Reset"));
    reset->signal_clicked().connect([this] {
        choices_->resetFiltering();
        refresh();
    });
    adw::addToGroup(group, adw::actionRow(services_.translate("Reset Disk Filtering"), reset,
                                          services_.translate("Lists every volume and disk.")));
    append(group);
}

void DiskChoicesView::build() {
    shows_.clear();
    while (auto* child = get_first_child())
        remove(*child);
    addPanelGroups(menubar_disks::availableDisks(manager_.stucture()));
    addDropdownGroup();
    refresh();
}

void DiskChoicesView::refresh() {
    showing_ = true;
    for (const auto& show : shows_)
        show();
    showing_ = false;
}

} // namespace corvane
