#include "window/WindowPage.h"

#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "drawing/DrawingContext.h"
#include "drawing/GraphColors.h"
#include "preferences/SectionNotifications.h"
#include "shell/LayoutEditorModel.h"
#include "shell/NetworkController.h"
#include "shell/SectionController.h"
#include "shell/TimeController.h"
#include "shell/WeatherController.h"
#include "window/AdwRows.h"
#include "window/BatteryListMember.h"
#include "window/DiskChoicesView.h"
#include "window/LayoutEditor.h"
#include "window/NetworkPageParts.h"
#include "window/PreviewArea.h"
#include "window/SensorListView.h"
#include "window/SourceListView.h"
#include "window/TimePageView.h"
#include "window/WeatherPageView.h"

namespace corvane {

struct WindowPage::LayoutParts {
    LayoutEditorModel model;
};

namespace {

constexpr int kPageMargin = 24;
constexpr int kPageWidth = 640;
constexpr const char* kDropdownGroup = "Dropdown";

} // namespace

WindowPage::WindowPage(const std::string& xibName, SectionController& owner,
                       WindowServices& services)
    : SectionPage(xibName)
    , description_(pageDescriptionFor(xibName))
    , owner_(owner)
    , services_(services)
    , controls_(std::make_unique<PageControls>(
          description_, BoundControlServices{&services.distributed, nullptr, nullptr, {}}))
    , root_(std::make_unique<Gtk::ScrolledWindow>()) {
    root_->set_child(description_.placeholder ? placeholder() : controlsPage());
    root_->set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    root_->set_hexpand(true);
    root_->set_vexpand(true);
    controls_->setRefreshed([this] { showValues(); });
}

WindowPage::~WindowPage() {
    // The widgets refer to the controls and the layout model: they go first, and the parent's
    // reference would keep them past this.
    if (auto* parent = dynamic_cast<Gtk::Box*>(root_->get_parent()))
        parent->remove(*root_);
    root_.reset();
    widgets_.clear();
}

Gtk::Widget& WindowPage::controlsPage() {
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 18);
    box->set_margin(kPageMargin);
    box->set_size_request(kPageWidth, -1);
    box->set_halign(Gtk::Align::CENTER);
    addHeader(*box, services_.translate(owner_.sectionName()));
    if (!description_.item.empty())
        addPreview(*box);
    if (description_.layoutEditor)
        addLayoutEditor(*box);
    if (auto* time = dynamic_cast<TimeController*>(&owner_))
        box->append(*Gtk::make_managed<TimePageView>(services_, *time));
    if (auto* weather = dynamic_cast<WeatherController*>(&owner_))
        box->append(*Gtk::make_managed<WeatherPageView>(services_, *weather));
    // Which sensors and volumes are shown comes before how they look.
    if (name() == "Sensors")
        box->append(*Gtk::make_managed<SensorListView>(services_));
    if (name() == "Disks")
        box->append(*Gtk::make_managed<DiskChoicesView>(services_));
    addGroups(*box);
    if (name() == "Battery")
        addBatteryList(*box);
    if (name() == "Network")
        addNetworkParts(*box, *controls_, widgets_, services_,
                        dynamic_cast<NetworkController*>(&owner_));
    if (name() == "General")
        addGeneralCommands(*box);
    if (description_.dropdownEditors)
        addDropdownButtons(*box);
    return *box;
}

Gtk::Widget& WindowPage::placeholder() {
    return adw::statusPage(
        themedIconForSourceItem(owner_.sourceItem().icon),
        services_.translate(owner_.sectionName()),
        services_.translate(description_.summary) + "\n\n" +
            services_.translate("The settings of this section come in a later version. Its panel "
                                "item can be switched on and off in the list on the left."));
}

void WindowPage::addHeader(Gtk::Box& box, const std::string& title) {
    auto* heading = Gtk::make_managed<Gtk::Label>(title);
    heading->add_css_class("title-1");
    heading->set_halign(Gtk::Align::START);
    box.append(*heading);
    if (description_.summary.empty())
        return;
    auto* summary = Gtk::make_managed<Gtk::Label>(services_.translate(description_.summary));
    summary->set_wrap(true);
    summary->set_xalign(0);
    summary->set_max_width_chars(60);
    box.append(*summary);
}

void WindowPage::addPreview(Gtk::Box& box) {
    auto& group = adw::group(services_.translate("Preview"),
                             services_.translate("On a light and on a dark panel, live."));
    auto* preview = Gtk::make_managed<PreviewArea>(description_.item, services_.preferences,
                                                   services_.artwork, services_.engine);
    preview->set_halign(Gtk::Align::START);
    setAccessibleLabel(*preview, services_.translate("Preview of the panel item"));
    adw::addToGroup(group, *preview);
    preview_ = preview;
    box.append(group);
}

void WindowPage::addLayoutEditor(Gtk::Box& box) {
    auto& group = adw::group(services_.translate("Menu bar item"),
                             services_.translate("Drag elements between the rows to choose "
                                                 "what the panel item shows."));
    layout_.reset(new LayoutParts{
        LayoutEditorModel(description_.item, services_.preferences, services_.distributed)});
    auto* editor = Gtk::make_managed<LayoutEditor>(layout_->model);
    adw::addToGroup(group, *editor);
    box.append(group);
}

void WindowPage::addGroups(Gtk::Box& box) {
    auto& rows = controls_->rows();
    const auto themeColor = [&services = services_] {
        return defaultColorForTheme(
            DrawingContext::forHost(services.preferences, services.artwork).withDark(false));
    };
    std::size_t next = 0;
    for (const auto& groupDescription : description_.groups) {
        auto& group = adw::group(services_.translate(groupDescription.title));
        if (groupDescription.title == kDropdownGroup)
            dropdownGroup_ = &group;
        for (std::size_t i = 0; i < groupDescription.rows.size(); ++i, ++next) {
            auto widget =
                std::make_unique<ControlWidget>(rows[next], services_.translate, themeColor);
            adw::addToGroup(group, adw::actionRow(services_.translate(rows[next].description.title),
                                                  &widget->widget()));
            widgets_.push_back(std::move(widget));
        }
        box.append(group);
    }
}

void WindowPage::addBatteryList(Gtk::Box& box) {
    constexpr const char* kKey = "Battery_MenubarItems";
    auto& batteries = BatteryStatCollectorLinux::sharedBatteryCollector(services_.engine);
    const auto connected = [&batteries] {
        std::vector<Value> records;
        for (const auto& battery : batteries.batteries())
            records.push_back(BatteryListMember::recordOf(
                battery->type == BatteryStatCollectorItem::InternalBattery, battery->key()));
        return records;
    };
    auto& group = adw::group(services_.translate("Batteries in the panel item"),
                             services_.translate("Those connected when the page opened."));
    const auto present = batteries.batteries();
    for (const auto& battery : present) {
        const bool internal = battery->type == BatteryStatCollectorItem::InternalBattery;
        std::string title = internal ? services_.translate("Internal battery") : battery->name;
        if (title.empty())
            title = battery->key();
        auto control = std::make_unique<BatteryListMember>(
            kKey, notificationForKey(kKey), BatteryListMember::recordOf(internal, battery->key()),
            connected, BoundControlServices{&services_.distributed, nullptr, nullptr, {}});
        BoundRow& row = controls_->addRow({ControlDescription::Kind::Member, kKey, title, {}},
                                          std::move(control));
        auto widget = std::make_unique<ControlWidget>(row, services_.translate);
        adw::addToGroup(group, adw::actionRow(title, &widget->widget()));
        widgets_.push_back(std::move(widget));
    }
    if (present.empty())
        adw::addToGroup(group,
                        adw::actionRow(services_.translate("No battery is connected."), nullptr));
    box.append(group);
}

void WindowPage::addDropdownButtons(Gtk::Box& box) {
    // The editors join the page's own dropdown settings, if it has a group of them.
    const bool joined = dropdownGroup_ != nullptr;
    auto& group = joined ? *dropdownGroup_ : adw::group(services_.translate(kDropdownGroup));
    auto* order = Gtk::make_managed<Gtk::Button>(services_.translate("Edit"));
    order->signal_clicked().connect([this] { owner_.dropdownOrderButton().click(); });
    adw::addToGroup(group, adw::actionRow(services_.translate("Order of the dropdown"), order));
    hotkeyButton_ = Gtk::make_managed<Gtk::Button>(owner_.dropdownHotkeyButton().title);
    hotkeyButton_->signal_clicked().connect([this] { owner_.dropdownHotkeyButton().click(); });
    adw::addToGroup(group, adw::actionRow(services_.translate("Hotkey"), hotkeyButton_));
    if (!joined)
        box.append(group);
}

void WindowPage::addGeneralCommands(Gtk::Box& box) {
    auto& files = adw::group(services_.translate("Settings"));
    const std::pair<const char*, const std::function<void()>*> commands[] = {
        {"Export Settings...", &services_.exportSettings},
        {"Import Settings...", &services_.importSettings},
        {"Reset Settings...", &services_.resetSettings},
        {"Status Items...", &services_.showInstall},
    };
    for (const auto& [title, action] : commands) {
        auto* button = Gtk::make_managed<Gtk::Button>(services_.translate("Open"));
        button->signal_clicked().connect([action = action] {
            if (*action)
                (*action)();
        });
        adw::addToGroup(files, adw::actionRow(services_.translate(title), button));
    }
    box.append(files);
}

void WindowPage::showValues() {
    for (auto& widget : widgets_)
        widget->show();
    if (hotkeyButton_)
        hotkeyButton_->set_label(owner_.dropdownHotkeyButton().title);
    if (preview_)
        preview_->queue_draw();
}

std::unique_ptr<SectionPage> WindowPageFactory::loadPage(const std::string& xibName,
                                                         SectionController& owner) {
    return std::make_unique<WindowPage>(xibName, owner, services_);
}

} // namespace corvane
