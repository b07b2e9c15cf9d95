#pragma once

#include "clock/SerialWorker.h"
#include "foundation/Value.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace corvane {

class MainQueue;

// Great-circle kilometres as the database's `distance` function computes them; nothing when
// an argument is missing.
std::optional<double> cityDistance(std::optional<double> lat1, std::optional<double> lon1,
                                   std::optional<double> lat2, std::optional<double> lon2);

// Searches and nearest-city questions on the read-only cities database. All database work runs
// on one worker thread; answers of the asynchronous calls come back on the main queue. The
// database is opened on first use and closed after 10 idle seconds.
class CityStatCollector {
public:
    using Rows = std::vector<Value>; // each a dictionary of one row's columns
    using SearchCallback = std::function<void(const Rows& rows, const std::string& match)>;
    using CityCallback = std::function<void(const std::optional<Value>& city)>;

    static constexpr int kDefaultLimit = 1000;
    static constexpr double kIdleSeconds = 10;

    // `queue` must outlive the collector.
    CityStatCollector(MainQueue& queue, std::filesystem::path databasePath);
    ~CityStatCollector();
    CityStatCollector(const CityStatCollector&) = delete;
    CityStatCollector& operator=(const CityStatCollector&) = delete;

    // "cities.db" of the installed data, else the one this build generated.
    static std::filesystem::path defaultDatabasePath();

    // The city within 2 degrees closest to the point, or nothing; blocks the caller.
    std::optional<Value> closestCity(double latitude, double longitude);
    void asyncClosestCity(double latitude, double longitude, CityCallback callback);

    // Queues a search; it replaces one still waiting, but one already running still reports.
    // An empty match only clears what waits.
    void search(const std::string& match, SearchCallback callback, int limit = kDefaultLimit);
    // The rows of a search, in the order of its queries, duplicates included.
    Rows citiesWithMatch(const std::string& match, int limit = kDefaultLimit);
    Rows citiesWithStateMatch(const std::string& match);
    std::optional<Value> cityWithIdentifier(const std::string& identifier);

    // Closes the database when it has been idle long enough; the timer calls it.
    void closeIfNotInUse();
    bool isOpen() const { return open_.load(); }

private:
    struct Request {
        std::string match;
        int limit = kDefaultLimit;
        SearchCallback callback;
    };
    bool openIfNeeded();
    Rows query(const std::string& sql, const std::vector<Value>& arguments, int limit);
    void runSearchQueue();
    void scheduleIdleCheck();
    template <class Work>
    auto onWorker(Work work);

    MainQueue& queue_;
    std::filesystem::path databasePath_;
    sqlite3* database_ = nullptr; // used on the worker only
    std::atomic<bool> open_{false};
    std::atomic<bool> busy_{false};
    std::atomic<double> lastUse_{0};
    // On the main queue.
    std::optional<Request> waiting_;
    bool searching_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    SerialWorker worker_;
};

} // namespace corvane
