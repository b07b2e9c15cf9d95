#include "collectors/weather/LocationSearch.h"

#include "clock/CityStatCollector.h"
#include "collectors/weather/WebRequest.h"
#include "foundation/Json.h"
#include "foundation/Log.h"

#include <cstdlib>
#include <libsoup/soup.h>

namespace corvane {

namespace {

std::int64_t identifierOf(const Value& value) {
    if (value.isString())
        return std::strtoll(value.string().c_str(), nullptr, 10);
    return value.isNumber() ? value.integerValue() : -1;
}

} // namespace

// A connection being made; cut from its search when that closes first.
struct LocationSearch::Connecting {
    LocationSearch* owner;
    GObjectRef<GCancellable> cancellable = GObjectRef<GCancellable>::adopt(g_cancellable_new());

    static void connected(GObject* session, GAsyncResult* result, gpointer data) {
        auto* connecting = static_cast<Connecting*>(data);
        GError* error = nullptr;
        SoupWebsocketConnection* socket =
            soup_session_websocket_connect_finish(SOUP_SESSION(session), result, &error);
        LocationSearch* owner = connecting->owner;
        delete connecting;
        if (!owner) {
            if (socket)
                g_object_unref(socket);
        } else {
            owner->connecting_ = nullptr;
            if (socket)
                owner->didOpen(socket);
            else
                CVBLog("Weather: the place search cannot connect: %s", error->message);
        }
        g_clear_error(&error);
    }
};

LocationSearch::LocationSearch(MainQueue& queue, Settings settings, CityStatCollector* cities,
                               std::function<void()> rowsChanged)
    : queue_(queue)
    , settings_(std::move(settings))
    , cities_(cities)
    , rowsChanged_(std::move(rowsChanged))
    , session_(makeWebSession(settings_.tlsDatabase))
    , stationSession_(makeWebSession(settings_.tlsDatabase, 60)) {
    resetSearchResults();
}

LocationSearch::~LocationSearch() {
    closeSocket();
}

bool LocationSearch::socketOpen() const {
    return socket_ && soup_websocket_connection_get_state(socket_) == SOUP_WEBSOCKET_STATE_OPEN;
}

std::string LocationSearch::queryText(const std::string& text) {
    std::string query = text;
    for (char& c : query)
        if (c == ',')
            c = ' ';
    for (auto at = query.find("  "); at != std::string::npos; at = query.find("  ", at))
        query.erase(at, 1);
    return query;
}

std::string LocationSearch::rowTitle(const Value& result) {
    std::string title = result["name"].stringValue();
    for (const char* key : {"state", "country"})
        if (const std::string part = result[key].stringValue(); !part.empty())
            title += ", " + part;
    return title;
}

Value LocationSearch::resultOfCity(const Value& row) {
    return Value::dict({{"name", row["city"]},
                        {"state", row["state"]},
                        {"country", row["country"]},
                        {"tz", row["timezone"]},
                        {"identifier", row["identifier"]},
                        {"latitude", row["latitude"]},
                        {"longitude", row["longitude"]},
                        {"plain", row["city_plain"]}});
}

void LocationSearch::searchFieldChanged(const std::string& text) {
    text_ = text;
    const bool longEnough = g_utf8_strlen(text.c_str(), -1) >= long(kShortestQuery);
    if (settings_.url.empty()) {
        if (longEnough && cities_)
            searchCities();
        else
            resetSearchResults();
    } else if (!hasSocket()) {
        openSocket();
        if (!longEnough)
            resetSearchResults();
    } else if (longEnough) {
        sendSearchQuery();
    } else {
        resetSearchResults();
    }
}

void LocationSearch::resetSearchResults() {
    ++searchID_;
    rows_ = Value::array({Value::dict({{"title", "Current Location"}, {"record", Value::dict()}})});
    if (rowsChanged_)
        rowsChanged_();
}

void LocationSearch::openSocket() {
    SoupMessage* message = soup_message_new("GET", settings_.url.c_str());
    if (!message) {
        CVBLog("Weather: not a usable address of the place search: %s", settings_.url.c_str());
        return;
    }
    connecting_ = new Connecting{this};
    soup_session_websocket_connect_async(session_.get(), message, nullptr, nullptr,
                                         G_PRIORITY_DEFAULT, connecting_->cancellable.get(),
                                         &Connecting::connected, connecting_);
    g_object_unref(message);
}

void LocationSearch::didOpen(SoupWebsocketConnection* socket) {
    socket_ = socket;
    g_signal_connect(
        socket_, "message",
        G_CALLBACK(+[](SoupWebsocketConnection*, gint type, GBytes* bytes, gpointer data) {
            if (type != SOUP_WEBSOCKET_DATA_TEXT)
                return;
            auto* self = static_cast<LocationSearch*>(data);
            gsize size = 0;
            const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
            std::string frame(text ? text : "", size);
            std::weak_ptr<bool> alive = self->alive_;
            self->queue_.async([self, alive, frame = std::move(frame)] {
                if (!alive.expired())
                    self->received(frame);
            });
        }),
        this);
    g_signal_connect(socket_, "closed", G_CALLBACK(+[](SoupWebsocketConnection*, gpointer data) {
                         static_cast<LocationSearch*>(data)->closeSocket();
                     }),
                     this);
    if (g_utf8_strlen(text_.c_str(), -1) >= long(kShortestQuery))
        sendSearchQuery();
}

void LocationSearch::sendSearchQuery() {
    ++searchID_;
    if (socketOpen()) {
        const Value frame =
            Value::dict({{"query", queryText(text_)}, {"identifier", std::to_string(searchID_)}});
        soup_websocket_connection_send_text(socket_, toJson(frame).c_str());
    }
    if (timeout_)
        queue_.cancel(*timeout_);
    std::weak_ptr<bool> alive = alive_;
    timeout_ = queue_.after(kIdleClose, [this, alive] {
        if (!alive.expired()) {
            timeout_.reset();
            closeSocket();
        }
    });
}

void LocationSearch::received(const std::string& frame) {
    const Value answer = parseJson(frame, "a place search answer");
    if (identifierOf(answer["identifier"]) != searchID_ || !answer["results"].isArray())
        return;
    showResults(searchID_, answer["results"]);
}

void LocationSearch::showResults(std::int64_t identifier, const Value& results) {
    if (identifier != searchID_)
        return;
    rows_ = Value::array();
    for (const Value& result : results.arrayItems())
        if (result.isDictionary())
            rows_.append(Value::dict({{"title", rowTitle(result)}, {"record", result}}));
    if (rowsChanged_)
        rowsChanged_();
}

void LocationSearch::searchCities() {
    const std::int64_t identifier = ++searchID_;
    std::weak_ptr<bool> alive = alive_;
    cities_->search(
        text_, [this, alive, identifier](const CityStatCollector::Rows& found, const std::string&) {
            if (alive.expired())
                return;
            Value results = Value::array();
            for (const Value& row : found)
                results.append(resultOfCity(row));
            showResults(identifier, results);
        });
}

void LocationSearch::stationSearch(const std::string& station) {
    const std::int64_t identifier = ++searchID_;
    if (settings_.stationURL.empty())
        return;
    gchar* escaped = g_uri_escape_string(station.c_str(), nullptr, FALSE);
    const std::string url = settings_.stationURL + "/aq?query=" + escaped;
    g_free(escaped);
    std::weak_ptr<bool> alive = alive_;
    stationRequest_ = WebRequest(
        stationSession_.get(), url, {},
        [this, alive, identifier, station](std::optional<std::string> answer, std::string) {
            if (answer && !alive.expired())
                queue_.async([this, alive, identifier, station, text = std::move(*answer)] {
                    if (!alive.expired())
                        showStations(identifier, station, text);
                });
        });
}

void LocationSearch::showStations(std::int64_t identifier, const std::string& station,
                                  const std::string& answer) {
    if (identifier != searchID_)
        return;
    Value results = Value::array();
    const Value json = parseJson(answer, "a station search answer");
    for (const Value& entry : json["RESULTS"].arrayItems()) {
        const std::string name = entry["name"].stringValue();
        if (name.substr(0, name.find(',')) != station)
            continue;
        Value result = entry;
        result.set("wu-station-id", station);
        result.set("identifier", static_cast<std::int64_t>(queue_.clock().now()));
        results.append(std::move(result));
    }
    rows_ = Value::array();
    for (const Value& result : results.arrayItems())
        rows_.append(Value::dict({{"title", result["name"]}, {"record", result}}));
    if (rowsChanged_)
        rowsChanged_();
}

void LocationSearch::closeSocket() {
    if (connecting_) {
        connecting_->owner = nullptr;
        g_cancellable_cancel(connecting_->cancellable.get());
        connecting_ = nullptr;
    }
    if (timeout_) {
        queue_.cancel(*timeout_);
        timeout_.reset();
    }
    if (SoupWebsocketConnection* socket = std::exchange(socket_, nullptr)) {
        g_signal_handlers_disconnect_by_data(socket, this);
        if (soup_websocket_connection_get_state(socket) == SOUP_WEBSOCKET_STATE_OPEN)
            soup_websocket_connection_close(socket, SOUP_WEBSOCKET_CLOSE_NORMAL, nullptr);
        g_object_unref(socket);
    }
}

} // namespace corvane
