#pragma once

#include "collectors/weather/ForecastRecord.h"
#include "collectors/weather/WebRequest.h"
#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/OutsideServices.h"
#include "foundation/Value.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

using SoupSession = struct _SoupSession;
using GTlsDatabase = struct _GTlsDatabase;

namespace corvane {

// The forecast of one place from the public forecast service: fetched when the place, the
// network or the machine's wakefulness changes, otherwise at most every 15 minutes, never while
// offline. The last good record is kept in a file, so a restart shows it at once and does not
// ask again before its time. A failed fetch keeps the record and marks it "stale"; it never
// replaces good numbers with doubtful ones. Main queue only.
class ForecastSource {
public:
    static constexpr double kMinimumInterval = 15 * 60;

    struct Settings {
        std::string url = outsideServiceURL(OutsideService::Forecast);
        GTlsDatabase* tlsDatabase = nullptr; // nullptr: the system's trust store
        std::filesystem::path stateFile;     // empty: nothing kept across runs
    };

    ForecastSource(const Clock& clock, Settings settings,
                   std::function<void(const Value&)> changed);
    ~ForecastSource();
    ForecastSource(const ForecastSource&) = delete;
    ForecastSource& operator=(const ForecastSource&) = delete;

    // The place to forecast; nullopt while it is not known (a current location not found yet).
    // A new place forgets the old one's record.
    void setPlace(std::optional<ForecastPlace> place);
    // A new network, or none: fetch now when online.
    void networkChanged(bool online);
    // The machine woke: what is kept may be hours old.
    void didWake();
    // Called now and then: fetch when the last attempt is 15 minutes old.
    void refresh();

    // The record (see ForecastRecord.h), or null before the first good answer.
    const Value& record() const { return record_; }
    bool fetching() const { return request_.active(); }

    // <state>/weather-forecast.json.
    static std::filesystem::path defaultStateFile();

private:
    void fetch();
    void finished(std::optional<std::string> answer, const std::string& failure);
    void markStale();
    void publish();
    void restore();

    const Clock& clock_;
    Settings settings_;
    std::function<void(const Value&)> changed_;
    GObjectRef<SoupSession> session_;
    std::optional<ForecastPlace> place_;
    bool online_ = false;
    double lastAttempt_ = -1;
    Value record_;
    WebRequest request_;
};

} // namespace corvane
