#pragma once

#include <cstdlib>
#include <string>

namespace corvane {

// The hosts of the services outside this machine, in one place. Each can be replaced through
// its environment variable, so that tests and packagers point it elsewhere.
// An empty address means the service is not set up here: its users fall back or stay quiet.
enum class OutsideService {
    PublicAddress,
    Forecast,
    WeatherService,
    LocationSearch,
    StationSearch,
};

inline std::string outsideServiceURL(OutsideService service) {
    struct Entry {
        const char* variable;
        const char* url;
    };
    static constexpr Entry kEntries[] = {
        // One line of text: the address the request came from.
        {"CORVANEBAR_PUBLIC_ADDRESS_URL", "https://api.ipify.org/"},
        // The forecast: JSON, no account needed.
        {"CORVANEBAR_FORECAST_URL", "https://api.open-meteo.com/v1/forecast"},
        // The weather section's own service (the provider list), its place search over a
        // WebSocket and the personal stations' autocomplete: deployment settings, none by default.
        {"CORVANEBAR_WEATHER_URL", ""},
        {"CORVANEBAR_LOCATION_SEARCH_URL", ""},
        {"CORVANEBAR_STATION_SEARCH_URL", ""},
    };
    const Entry& entry = kEntries[static_cast<int>(service)];
    const char* override = std::getenv(entry.variable);
    return override && *override ? override : entry.url;
}

} // namespace corvane
