#pragma once

#include "foundation/NotificationCenter.h"
#include "foundation/Value.h"
#include "shell/WeatherController.h"
#include "window/WindowServices.h"

#include <gtkmm.h>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// The Weather page's place and provider: a search whose rows choose the place ("Current
// Location" first), the personal station search, and the provider popup.
class WeatherPageView final : public Gtk::Box {
public:
    WeatherPageView(WindowServices& services, WeatherController& controller);

private:
    Gtk::Widget& locationGroup();
    Gtk::Widget& stationRow();
    void showStationRow();
    Gtk::Widget& providerGroup();
    // Rebuilt from the controller when its search or provider list changes.
    void showRows();
    void showProviders();
    void choose(const Value& record);

    WindowServices& services_;
    WeatherController& controller_;
    std::shared_ptr<WeatherController::Listeners> listeners_;
    Gtk::Widget* locationGroup_ = nullptr;
    Gtk::Widget* providerGroup_ = nullptr;
    Gtk::Widget* stationGroup_ = nullptr;
    Observation stationsChanged_;
    std::vector<Gtk::Widget*> rows_;
    Gtk::SearchEntry* search_ = nullptr;
    Gtk::Entry* station_ = nullptr;
    Gtk::DropDown* providers_ = nullptr;
    // The provider key of each popup entry, in the popup's order.
    std::vector<std::string> providerKeys_;
    bool showingProviders_ = false;
    bool rowsPending_ = false;
};

} // namespace corvane
