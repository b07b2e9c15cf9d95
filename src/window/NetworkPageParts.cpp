#include "window/NetworkPageParts.h"

#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/ping/PingAddressTest.h"
#include "foundation/OutsideServices.h"
#include "preferences/SectionNotifications.h"
#include "shell/NetworkController.h"
#include "text/CVBTranslations.h"
#include "window/AdwRows.h"
#include "window/NetworkControls.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr const char* kDisabledBlocksKey = "Network_DropdownOrderDisabled";
constexpr const char* kPublicAddressBlock = "public-ip";

// The choice among the offered addresses, and a field for one's own with a test and a save,
// side by side at the end of one row.
// The test's answer is never told once the widget is gone: the test goes with it.
class NetworkAddressEditor final : public Gtk::Box {
public:
    NetworkAddressEditor(NetworkStatusAddress& control, MainQueue& queue,
                         ControlWidget::Translate translate)
        : Gtk::Box(Gtk::Orientation::HORIZONTAL, 6)
        , control_(control)
        , translate_(std::move(translate))
        , test_(queue) {
        set_valign(Gtk::Align::CENTER);
        std::vector<Glib::ustring> titles(NetworkStatusAddress::offeredAddresses().begin(),
                                          NetworkStatusAddress::offeredAddresses().end());
        titles.emplace_back(translate_("Custom Address..."));
        choice_ = Gtk::make_managed<Gtk::DropDown>(titles);
        choice_->property_selected().signal_changed().connect([this] { chosen(); });
        setAccessibleLabel(*choice_, translate_("Address to ping"));
        field_->set_placeholder_text("example.org");
        field_->set_width_chars(14);
        field_->signal_activate().connect([this] { test(); });
        setAccessibleLabel(*field_, translate_("Custom address"));
        auto* testButton = Gtk::make_managed<Gtk::Button>(translate_("Test"));
        testButton->signal_clicked().connect([this] { test(); });
        auto* saveButton = Gtk::make_managed<Gtk::Button>(translate_("Save"));
        saveButton->signal_clicked().connect([this] { save(); });
        result_->add_css_class("dim-label");
        append(*result_);
        append(*choice_);
        append(*field_);
        append(*testButton);
        append(*saveButton);

        control_.setShown([this] { show(); });
        show();
    }
    ~NetworkAddressEditor() override { control_.setShown({}); }

private:
    void show() {
        showing_ = true;
        const auto& offered = NetworkStatusAddress::offeredAddresses();
        const auto at = std::find(offered.begin(), offered.end(), control_.address());
        choice_->set_selected(static_cast<guint>(at - offered.begin()));
        if (control_.custom())
            field_->set_text(control_.address());
        field_->set_sensitive(control_.custom());
        showing_ = false;
    }

    void chosen() {
        const guint selected = choice_->get_selected();
        const auto& offered = NetworkStatusAddress::offeredAddresses();
        if (showing_ || selected == GTK_INVALID_LIST_POSITION)
            return;
        if (selected < offered.size()) {
            control_.userSaveAddress(offered[selected]);
            result_->set_text("");
            return;
        }
        // One's own address is stored once it is saved.
        field_->set_sensitive(true);
        field_->grab_focus();
    }

    void test() {
        result_->set_text(translate_("Testing..."));
        test_.test(field_->get_text().raw(), [this](bool answered) {
            result_->set_text(translate_(answered ? "Answers" : "No answer"));
        });
    }

    void save() {
        test_.cancel();
        result_->set_text(control_.userSaveAddress(field_->get_text().raw()) ? translate_("Saved")
                                                                             : "");
    }

    NetworkStatusAddress& control_;
    ControlWidget::Translate translate_;
    PingAddressTest test_;
    Gtk::DropDown* choice_ = nullptr;
    Gtk::Entry* field_ = Gtk::make_managed<Gtk::Entry>();
    Gtk::Label* result_ = Gtk::make_managed<Gtk::Label>();
    bool showing_ = false;
};

// The host of the public-address service, for the user to know whom the switch lets ask.
std::string hostOf(const std::string& url) {
    auto start = url.find("://");
    start = start == std::string::npos ? 0 : start + 3;
    return url.substr(start, url.find('/', start) - start);
}

void addRow(Gtk::Widget& group, PageControls& controls,
            std::vector<std::unique_ptr<ControlWidget>>& widgets, WindowServices& services,
            ControlDescription description, std::unique_ptr<BoundControl> control,
            const std::string& subtitle = {}) {
    const std::string title = services.translate(description.title);
    BoundRow& row = controls.addRow(std::move(description), std::move(control));
    auto widget = std::make_unique<ControlWidget>(row, services.translate);
    adw::addToGroup(group, adw::actionRow(title, &widget->widget(), subtitle));
    widgets.push_back(std::move(widget));
}

void addInterfaces(Gtk::Box& box, PageControls& controls,
                   std::vector<std::unique_ptr<ControlWidget>>& widgets, WindowServices& services,
                   NetworkController* owner) {
    using Kind = ControlDescription::Kind;
    const BoundControlServices bound{&services.distributed, nullptr, nullptr, {}};
    auto& network = NetworkStatCollectorLinux::sharedNetworkCollector(services.engine);
    const auto items = network.services();
    std::vector<NetworkServiceName> names;
    for (const auto& item : items)
        names.emplace_back(item->key(), item->name);
    // Hides the internal bridge the first time, and forgets a chosen service that is gone.
    if (owner)
        owner->servicesRebuilt(names);

    auto& group = adw::group(services.translate("Interfaces"),
                             services.translate("The switches show each service in the dropdown or "
                                                "hide it. Those there when the page opened."));
    constexpr const char* kPrimaryKey = "Network_PrimaryInterface";
    addRow(group, controls, widgets, services, {Kind::Choice, kPrimaryKey, "Rates count", {}},
           std::make_unique<NetworkInterfaceChoice>(notificationForKey(kPrimaryKey), names, bound));
    for (const auto& item : items) {
        std::string subtitle =
            item->bsd.empty() ? services.translate("No interface now") : item->bsd;
        if (!item->hardware.empty())
            subtitle += " · " + item->hardware;
        addRow(
            group, controls, widgets, services,
            {Kind::Member, "FilteringNetwork", item->name.empty() ? item->key() : item->name, {}},
            std::make_unique<NetworkServiceShown>(notificationForKey("FilteringNetwork"),
                                                  item->key(), bound),
            subtitle);
    }
    if (items.empty())
        adw::addToGroup(
            group, adw::actionRow(services.translate("No network service is set up."), nullptr));
    box.append(group);
}

} // namespace

void addNetworkParts(Gtk::Box& box, PageControls& controls,
                     std::vector<std::unique_ptr<ControlWidget>>& widgets, WindowServices& services,
                     NetworkController* owner) {
    using Kind = ControlDescription::Kind;
    const BoundControlServices bound{&services.distributed, nullptr, nullptr, {}};
    addInterfaces(box, controls, widgets, services, owner);

    auto& reach = adw::group(services.translate("Internet check"),
                             services.translate("The status dot takes the colour of no internet "
                                                "while this address does not answer."));
    constexpr const char* kAddressKey = "Network_StatusAddress";
    auto address = std::make_unique<NetworkStatusAddress>(notificationForKey(kAddressKey), bound);
    NetworkStatusAddress& addressControl = *address;
    controls.addRow({Kind::Choice, kAddressKey, "Address to ping", {}}, std::move(address));
    adw::addToGroup(reach,
                    adw::actionRow(services.translate("Address to ping"),
                                   Gtk::make_managed<NetworkAddressEditor>(
                                       addressControl, services.engine.queue, services.translate)));
    box.append(reach);

    auto& publicGroup = adw::group(services.translate("Public address"));
    addRow(publicGroup, controls, widgets, services,
           {Kind::Member, kDisabledBlocksKey, "Show the public address in the dropdown", {}},
           std::make_unique<NetworkDropdownBlock>(kDisabledBlocksKey,
                                                  notificationForKey(kDisabledBlocksKey),
                                                  kPublicAddressBlock, bound),
           formattedString(services.translate("Asked of %@ when the network changes, and at "
                                              "most every ten minutes."),
                           hostOf(outsideServiceURL(OutsideService::PublicAddress))));
    box.append(publicGroup);
}

} // namespace corvane
