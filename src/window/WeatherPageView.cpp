#include "window/WeatherPageView.h"

#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"
#include "window/AdwRows.h"

#include <adwaita.h>

namespace corvane {

namespace {

// The cities database answers with up to a thousand places; the first few are what is wanted.
constexpr std::size_t kShownRows = 10;
constexpr const char* kStationsDisabledKey = "Weather_PWSDisabled";
constexpr const char* kStationsChangedNotification = "CorvaneBarWeatherPWSChanged";

// A screen reader announces the text inside an entry, which takes the focus, not the entry.
void nameText(Gtk::Widget& entry, const std::string& label) {
    setAccessibleLabel(entry, label);
    for (Gtk::Widget* child = entry.get_first_child(); child; child = child->get_next_sibling())
        if (GTK_IS_TEXT(child->gobj()))
            setAccessibleLabel(*child, label);
}

AdwPreferencesGroup* preferencesGroup(Gtk::Widget& group) {
    return ADW_PREFERENCES_GROUP(group.gobj());
}

} // namespace

WeatherPageView::WeatherPageView(WindowServices& services, WeatherController& controller)
    : Gtk::Box(Gtk::Orientation::VERTICAL, 18)
    , services_(services)
    , controller_(controller) {
    append(locationGroup());
    append(stationRow());
    append(providerGroup());
    // The application menu turns stations off and on while the page is open.
    showStationRow();
    stationsChanged_ = services_.distributed.addObserver(
        kStationsChangedNotification, [this](const Notification&) {
            // Another process may have written it: this one's cached read is stale.
            services_.preferences.resetValueForKey(kStationsDisabledKey);
            showStationRow();
        });
    // Changes come from the network and the cities database; rows are rebuilt once the
    // handler that caused them has returned, as a click may have started it.
    listeners_ = std::make_shared<WeatherController::Listeners>();
    listeners_->providersChanged = [this] { showProviders(); };
    listeners_->rowsChanged = [this] {
        if (!std::exchange(rowsPending_, true))
            Glib::signal_idle().connect_once(sigc::mem_fun(*this, &WeatherPageView::showRows));
    };
    controller_.setListeners(listeners_);
    showRows();
}

Gtk::Widget& WeatherPageView::locationGroup() {
    locationGroup_ = &adw::group(services_.translate("Place"), controller_.locationLabel());
    search_ = Gtk::make_managed<Gtk::SearchEntry>();
    search_->property_placeholder_text() = services_.translate("City, state or country");
    search_->set_hexpand(true);
    nameText(*search_, services_.translate("Search for a place"));
    adw_preferences_group_set_header_suffix(preferencesGroup(*locationGroup_),
                                            search_->Gtk::Widget::gobj());
    search_->signal_search_changed().connect(
        [this] { controller_.search().searchFieldChanged(search_->get_text()); });
    return *locationGroup_;
}

void WeatherPageView::showStationRow() {
    stationGroup_->set_visible(
        !services_.preferences.objectForKey(kStationsDisabledKey).boolValue());
}

Gtk::Widget& WeatherPageView::stationRow() {
    auto& group = adw::group(services_.translate("Personal weather station"));
    stationGroup_ = &group;
    auto* box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, 6);
    station_ = Gtk::make_managed<Gtk::Entry>();
    station_->set_width_chars(14);
    station_->set_placeholder_text("KCASANFR1234");
    auto* find = Gtk::make_managed<Gtk::Button>(services_.translate("Find"));
    const auto search = [this] {
        if (!station_->get_text().empty())
            controller_.search().stationSearch(station_->get_text());
    };
    station_->signal_activate().connect(search);
    find->signal_clicked().connect(search);
    box->append(*station_);
    box->append(*find);
    const bool available = controller_.search().stationSearchAvailable();
    box->set_sensitive(available);
    const std::string title = services_.translate("Station ID");
    const std::string subtitle =
        available ? "Its name must match exactly." : "No station search service is set up.";
    adw::addToGroup(group, adw::actionRow(title, box, services_.translate(subtitle)));
    nameText(*station_, title);
    return group;
}

Gtk::Widget& WeatherPageView::providerGroup() {
    providerGroup_ = &adw::group(services_.translate("Provider"),
                                 services_.translate("Used by the weather service where one is "
                                                     "set up; the forecast shown here comes from "
                                                     "Open-Meteo."));
    providers_ = Gtk::make_managed<Gtk::DropDown>();
    providers_->property_selected().signal_changed().connect([this] {
        const auto chosen = providers_->get_selected();
        if (!showingProviders_ && chosen < providerKeys_.size())
            controller_.selectProvider(providerKeys_[chosen]);
    });
    adw::addToGroup(*providerGroup_, adw::actionRow(services_.translate("Provider"), providers_));
    showProviders();
    return *providerGroup_;
}

void WeatherPageView::showProviders() {
    const ProviderList& list = controller_.providers();
    const Value items = list.popupItems();
    std::vector<Glib::ustring> titles;
    providerKeys_.clear();
    guint selected = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        // A drop-down has no separators: "Automatic" simply comes first.
        if (items[i]["separator"].boolValue())
            continue;
        if (i == list.selectedIndex())
            selected = static_cast<guint>(titles.size());
        titles.emplace_back(services_.translate(items[i]["name"].stringValue()));
        providerKeys_.push_back(items[i]["key"].stringValue());
    }
    showingProviders_ = true;
    providers_->set_model(Gtk::StringList::create(titles));
    providers_->set_selected(selected);
    showingProviders_ = false;
    if (!list.failureMessage().empty())
        adw_preferences_group_set_description(preferencesGroup(*providerGroup_),
                                              list.failureMessage().c_str());
}

void WeatherPageView::showRows() {
    rowsPending_ = false;
    for (Gtk::Widget* row : rows_)
        adw_preferences_group_remove(preferencesGroup(*locationGroup_), row->gobj());
    rows_.clear();
    for (const Value& row : controller_.search().rows().arrayItems()) {
        if (rows_.size() == kShownRows)
            break;
        const Value& record = row["record"];
        const std::string title =
            record.empty() ? services_.translate("Current Location") : row["title"].stringValue();
        auto* button = Gtk::make_managed<Gtk::Button>(services_.translate("Choose"));
        button->signal_clicked().connect([this, record] { choose(record); });
        rows_.push_back(&adw::actionRow(title, button));
        adw::addToGroup(*locationGroup_, *rows_.back());
    }
    if (rows_.empty()) {
        rows_.push_back(&adw::actionRow(services_.translate("No place of that name"), nullptr));
        adw::addToGroup(*locationGroup_, *rows_.back());
    }
}

void WeatherPageView::choose(const Value& record) {
    controller_.selectCity(record);
    adw_preferences_group_set_description(preferencesGroup(*locationGroup_),
                                          controller_.locationLabel().c_str());
    // As the chooser closing: the search starts afresh, which also rebuilds the rows.
    search_->set_text("");
    controller_.search().resetSearchResults();
}

} // namespace corvane
