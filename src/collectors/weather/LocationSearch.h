#pragma once

#include "collectors/weather/WebRequest.h"
#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/OutsideServices.h"
#include "foundation/Value.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

using SoupSession = struct _SoupSession;
using SoupWebsocketConnection = struct _SoupWebsocketConnection;
using GTlsDatabase = struct _GTlsDatabase;

namespace corvane {

class CityStatCollector;

// The place search of the weather section: each change of the search text asks the location
// service over one WebSocket, numbering its questions, so that answers to older typing are
// dropped. The socket closes after a minute without a question. Without a service the local
// cities database answers instead. Main queue only.
class LocationSearch {
public:
    static constexpr double kIdleClose = 60;
    static constexpr std::size_t kShortestQuery = 3;

    struct Settings {
        // wss://host/; empty: no service is set up.
        std::string url = outsideServiceURL(OutsideService::LocationSearch);
        GTlsDatabase* tlsDatabase = nullptr;
        // Scheme and host of the personal stations' autocomplete; empty: none.
        std::string stationURL = outsideServiceURL(OutsideService::StationSearch);
    };

    // `cities` answers when there is no service; it may be null. `rowsChanged` runs after
    // each change of rows().
    LocationSearch(MainQueue& queue, Settings settings, CityStatCollector* cities,
                   std::function<void()> rowsChanged);
    ~LocationSearch();
    LocationSearch(const LocationSearch&) = delete;
    LocationSearch& operator=(const LocationSearch&) = delete;

    // searchFieldChanged:
    void searchFieldChanged(const std::string& text);
    // wuStationSearch: the personal station named exactly `station`, by the autocomplete
    // service. Its rows replace the list as a place search's do.
    void stationSearch(const std::string& station);
    // Only "Current Location", with an empty record; answers still on their way are dropped.
    void resetSearchResults();

    // Each {"title": text, "record": the result, empty for the current location}.
    const Value& rows() const { return rows_; }
    std::int64_t searchID() const { return searchID_; }
    bool hasSocket() const { return socket_ || connecting_; }
    bool socketOpen() const;
    // Whether a personal station search has a service to ask.
    bool stationSearchAvailable() const { return !settings_.stationURL.empty(); }

    // The query as sent: each "," a blank, each double blank one blank.
    static std::string queryText(const std::string& text);
    // "name", then ", state" and ", country" where not empty.
    static std::string rowTitle(const Value& result);
    // A row of the cities database as the service would have answered it.
    static Value resultOfCity(const Value& row);

private:
    struct Connecting;
    void openSocket();
    void didOpen(SoupWebsocketConnection* socket);
    void sendSearchQuery();
    void received(const std::string& frame);
    void showResults(std::int64_t identifier, const Value& results);
    void searchCities();
    void closeSocket();
    void showStations(std::int64_t identifier, const std::string& station,
                      const std::string& answer);

    MainQueue& queue_;
    Settings settings_;
    CityStatCollector* cities_;
    std::function<void()> rowsChanged_;
    GObjectRef<SoupSession> session_;
    std::string text_;
    std::int64_t searchID_ = 0;
    Value rows_;
    SoupWebsocketConnection* socket_ = nullptr; // a reference of ours
    Connecting* connecting_ = nullptr;          // the connection being made, if any
    GObjectRef<SoupSession> stationSession_;
    WebRequest stationRequest_;
    std::optional<MainQueue::TimerId> timeout_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace corvane
