#pragma once

#include "collectors/weather/LocationSearch.h"
#include "collectors/weather/ProviderList.h"
#include "shell/SectionController.h"

#include <functional>
#include <memory>
#include <string_view>

namespace corvane {

class CityStatCollector;
class CVBPreferences;
class MainQueue;

// The weather of a chosen place: the provider, the place (found through the place search) and
// the units. The forecast itself is fetched by the status program, which each change is told.
class WeatherController : public SectionController {
public:
    static constexpr const char* kLocationsKey = "Weather_Locations";
    static constexpr const char* kChangedNotification = "CorvaneBarWeatherPreferencesChanged";
    static constexpr const char* kCurrentLocation = "-7";

    // What the section talks to; left empty, the outside services' settings, the process's
    // preferences and main queue, and the installed cities database.
    struct Client {
        ProviderList::Settings providers;
        LocationSearch::Settings search;
        CVBPreferences* preferences = nullptr;
        MainQueue* queue = nullptr;
        CityStatCollector* cities = nullptr;
    };

    explicit WeatherController(SectionManager& manager);
    WeatherController(SectionManager& manager, Client client);
    ~WeatherController() override;

    void initWithXib(std::string xibName, std::int64_t key) override;
    std::string sectionName() const override { return "Weather"; }
    std::string stateNotificationKey() const override { return "weather"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Weather_Hotkey"; }
    // Asks for the provider list each time the page is built.
    void setup() override;

    // The moon form of the icon by night: before 6 and from 18 on, by the local hour.
    void updateIcon();
    void updateIcon(int hour);

    ProviderList& providers();
    LocationSearch& search();
    // What the page redraws: the provider popup after a new list or a failure, the search rows
    // after each change. They are heard while their owner keeps them; the page may go after
    // this section, so it never has to tell it.
    struct Listeners {
        std::function<void()> providersChanged;
        std::function<void()> rowsChanged;
    };
    void setListeners(std::weak_ptr<const Listeners> listeners) {
        listeners_ = std::move(listeners);
    }

    // The provider popup's choice: "" is Automatic.
    void selectProvider(const std::string& key);
    // A row of the search: a result with an "identifier", or the current location without.
    void selectCity(const Value& result);
    // "Location: Berlin, Germany", or "Location: Current Location", in the chosen language.
    std::string locationLabel();
    // A text of the "prefs" table in the chosen language.
    std::string localized(std::string_view key);

    // The stored form of a search result ("tz" becomes "timezone").
    static Value locationRecordForResult(const Value& result);

private:
    CVBPreferences& preferences();
    void post(const char* key);

    Client client_;
    std::unique_ptr<MainQueue> ownQueue_;
    std::unique_ptr<CityStatCollector> ownCities_;
    std::weak_ptr<const Listeners> listeners_;
    std::unique_ptr<ProviderList> providers_;
    std::unique_ptr<LocationSearch> search_;
};

} // namespace corvane
