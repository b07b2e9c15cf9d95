#pragma once

#include "collectors/weather/WebRequest.h"
#include "foundation/OutsideServices.h"
#include "foundation/Value.h"

#include <functional>
#include <string>

namespace corvane {

class CVBPreferences;

// The forecast providers the weather service offers, for the section's popup. The list is
// asked for past any cache and stored in "Weather_AvailableProviders" only when it differs
// from what is stored; until one was received the built-in list stands in. A service that
// cannot be reached keeps what is stored and says so in failureMessage().
class ProviderList {
public:
    static constexpr const char* kStoredKey = "Weather_AvailableProviders";
    static constexpr const char* kChosenKey = "Weather_ProviderKey";
    static constexpr const char* kPath = "/corvanebar/v2/providers/";

    struct Settings {
        // Scheme and host of the weather service; empty: none is set up, nothing is asked.
        std::string serviceURL = outsideServiceURL(OutsideService::WeatherService);
        GTlsDatabase* tlsDatabase = nullptr;
    };

    // `changed` runs when the popup's items may have changed (a new list, or a failure).
    ProviderList(CVBPreferences& preferences, Settings settings, std::function<void()> changed);

    static Value fallbackProviders();

    // updateAvailableProviders.
    void update();
    bool fetching() const { return request_.active(); }

    // The stored list, else the built-in one.
    Value providers() const;
    // "Automatic" (key "") and a separator ({"separator": true}), then one {"name", "key"} per
    // provider.
    Value popupItems() const;
    // The popup item that "Weather_ProviderKey" picks; 0 (Automatic) for an unknown key.
    std::size_t selectedIndex() const;
    // Empty, or why the list could not be had, as the page shows it.
    const std::string& failureMessage() const { return failure_; }

    // A provider list in an answer: an array of {"name", "key"} texts; null for anything else.
    static Value providersFromAnswer(const std::string& answer);

private:
    void finished(std::optional<std::string> answer, const std::string& failure);

    CVBPreferences& preferences_;
    Settings settings_;
    std::function<void()> changed_;
    GObjectRef<SoupSession> session_;
    WebRequest request_;
    std::string failure_;
};

} // namespace corvane
