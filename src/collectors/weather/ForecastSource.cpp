#include "collectors/weather/ForecastSource.h"

#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"

namespace corvane {

namespace {

ForecastPlace placeOfRecord(const Value& record) {
    const Value& location = record["metadata"]["location"];
    return {location["identifier"].stringValue(), location["name"].stringValue(),
            location["latitude"].doubleValue(), location["longitude"].doubleValue()};
}

} // namespace

ForecastSource::ForecastSource(const Clock& clock, Settings settings,
                               std::function<void(const Value&)> changed)
    : clock_(clock)
    , settings_(std::move(settings))
    , changed_(std::move(changed))
    , session_(makeWebSession(settings_.tlsDatabase)) {
    restore();
}

ForecastSource::~ForecastSource() = default;

std::filesystem::path ForecastSource::defaultStateFile() {
    return Paths::stateDirectory() / "weather-forecast.json";
}

void ForecastSource::restore() {
    if (settings_.stateFile.empty())
        return;
    const auto text = readFileContents(settings_.stateFile);
    if (!text)
        return;
    Value kept = parseJson(*text, settings_.stateFile.string());
    if (kept["source"].stringValue() != forecast::kSource || !kept["currently"].isDictionary()) {
        CVBLog("Weather: ignored the kept forecast in %s", settings_.stateFile.c_str());
        return;
    }
    record_ = std::move(kept);
    place_ = placeOfRecord(record_);
    lastAttempt_ = record_["fetched"].doubleValue();
}

void ForecastSource::setPlace(std::optional<ForecastPlace> place) {
    if (place == place_)
        return;
    request_.cancel();
    place_ = std::move(place);
    lastAttempt_ = -1;
    if (!record_.isNull()) {
        record_ = Value();
        publish();
    }
    fetch();
}

void ForecastSource::networkChanged(bool online) {
    online_ = online;
    request_.cancel(); // what is in flight may answer for the old network
    if (online)
        fetch();
}

void ForecastSource::didWake() {
    request_.cancel();
    fetch();
}

void ForecastSource::refresh() {
    if (lastAttempt_ < 0 || clock_.now() - lastAttempt_ >= kMinimumInterval)
        fetch();
}

void ForecastSource::fetch() {
    if (!online_ || request_.active() || !place_)
        return;
    lastAttempt_ = clock_.now();
    request_ = WebRequest(session_.get(), settings_.url + forecastQuery(*place_),
                          {forecast::kLongestAnswer},
                          [this](std::optional<std::string> answer, std::string failure) {
                              finished(std::move(answer), failure);
                          });
}

void ForecastSource::finished(std::optional<std::string> answer, const std::string& failure) {
    std::optional<Value> record;
    if (!answer)
        CVBLog("Weather: the forecast: %s", failure.c_str());
    else if (place_)
        record = forecastRecordFromAnswer(*answer, *place_, clock_.now());
    if (!record) {
        markStale();
        return;
    }
    record_ = std::move(*record);
    if (!settings_.stateFile.empty()) {
        std::error_code ignored;
        std::filesystem::create_directories(settings_.stateFile.parent_path(), ignored);
        writeFileAtomically(settings_.stateFile, toJson(record_));
    }
    publish();
}

void ForecastSource::markStale() {
    if (record_.isNull() || record_["stale"].boolValue())
        return;
    record_.set("stale", true);
    publish();
}

void ForecastSource::publish() {
    if (changed_)
        changed_(record_);
}

} // namespace corvane
