#include "clock/CityStatCollector.h"

#include "foundation/Log.h"
#include "foundation/MainQueue.h"
#include "foundation/Paths.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sqlite3.h>

namespace corvane {

namespace {

constexpr double kEarthRadiusKm = 6378.1;
constexpr double kRadiansPerDegree = 0.01745327;
constexpr double kBoxDegrees = 2;

constexpr const char* kIdentifierQuery = "SELECT * FROM cities WHERE identifier = ?1 LIMIT ?2";
constexpr const char* kClosestQuery =
    "SELECT * FROM cities WHERE latitude > ?1 AND latitude < ?2 AND longitude > ?3 AND "
    "longitude < ?4 ORDER BY distance(latitude, longitude, ?5, ?6) LIMIT ?7";

std::optional<double> argument(sqlite3_value* v) {
    if (sqlite3_value_type(v) == SQLITE_NULL)
        return std::nullopt;
    return sqlite3_value_double(v);
}

void sqlDistance(sqlite3_context* context, int count, sqlite3_value** values) {
    const auto km = count == 4 ? cityDistance(argument(values[0]), argument(values[1]),
                                              argument(values[2]), argument(values[3]))
                               : std::nullopt;
    km ? sqlite3_result_double(context, *km) : sqlite3_result_null(context);
}

// A search for rows where any of some columns starts with the match, as LIKE finds them: ASCII
// case ignored, in row order. LIKE with a bound pattern cannot use an index, so each column also
// gets a range on its NOCASE index that holds every row it can match; LIKE keeps the exact test.
// Matches with the wildcards "%" or "_" read every row. The SQL holds placeholders only.
class PrefixSearch {
public:
    explicit PrefixSearch(const std::string& match)
        : arguments_{Value(match + "%")} {
        std::string low = match;
        // NOCASE folds ASCII letters only, whatever the process's locale.
        for (char& c : low)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
        ranged_ = !low.empty() && low.find_first_of("%_") == std::string::npos &&
                  static_cast<unsigned char>(low.back()) < 0xFF;
        if (!ranged_)
            return;
        std::string high = low;
        ++high.back(); // above every text that starts with `low`, whatever case the next holds
        arguments_.emplace_back(low);
        arguments_.emplace_back(high);
    }

    // `column` starts with the match.
    std::string term(std::string_view column) const {
        const std::string c(column);
        if (!ranged_)
            return c + " LIKE ?1";
        return "(" + c + " >= ?2 COLLATE NOCASE AND " + c + " < ?3 COLLATE NOCASE AND " + c +
               " LIKE ?1)";
    }

    // "city, state" or "city state" starts with the match. Where the city is not itself a
    // match, it is the part of the match before a comma or blank: only those names are joined.
    std::string cityAndStateTerm(const std::string& match) {
        const std::string joined = "(city ||', '|| state LIKE ?1 OR city ||' '|| state LIKE ?1)";
        if (!ranged_)
            return joined;
        std::string names;
        for (std::size_t at = match.find_first_of(", "); at != std::string::npos;
             at = match.find_first_of(", ", at + 1)) {
            names += std::string(names.empty() ? "" : " OR ") + "city = ?" +
                     std::to_string(arguments_.size() + 1) + " COLLATE NOCASE";
            arguments_.emplace_back(match.substr(0, at));
        }
        return names.empty() ? std::string() : "((" + names + ") AND " + joined + ")";
    }

    std::string sql(const std::vector<std::string>& terms) const {
        std::string where;
        for (const std::string& t : terms)
            if (!t.empty())
                where += (where.empty() ? "" : " OR ") + t;
        // "+rowid": ordered by row as a full scan would be, but without inviting the planner to
        // read every row in that order in the hope of stopping early.
        return "SELECT * FROM cities WHERE " + where + " ORDER BY +rowid LIMIT ?" +
               std::to_string(arguments_.size() + 1);
    }
    const std::vector<Value>& arguments() const { return arguments_; }

private:
    std::vector<Value> arguments_;
    bool ranged_ = false;
};

Value columnValue(sqlite3_stmt* s, int column) {
    switch (sqlite3_column_type(s, column)) {
    case SQLITE_INTEGER:
        return Value(static_cast<std::int64_t>(sqlite3_column_int64(s, column)));
    case SQLITE_FLOAT:
        return Value(sqlite3_column_double(s, column));
    case SQLITE_TEXT:
        return Value(std::string(reinterpret_cast<const char*>(sqlite3_column_text(s, column)),
                                 static_cast<std::size_t>(sqlite3_column_bytes(s, column))));
    default:
        return Value();
    }
}

// The other spellings of a saint's name: "st john" also looks for "Saint john" and
// "St. john". After "st." the rest keeps its leading blank, so "St %@" has two: kept as
// the search has always done it.
std::vector<std::string> saintForms(const std::string& match) {
    std::string lower = match;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower.starts_with("st "))
        return {"Saint " + match.substr(3), "St. " + match.substr(3)};
    if (lower.starts_with("st."))
        return {"Saint" + match.substr(3), "St " + match.substr(3)};
    if (lower.starts_with("saint "))
        return {"St. " + match.substr(6), "St " + match.substr(6)};
    return {};
}

} // namespace

std::optional<double> cityDistance(std::optional<double> lat1, std::optional<double> lon1,
                                   std::optional<double> lat2, std::optional<double> lon2) {
    if (!lat1 || !lon1 || !lat2 || !lon2)
        return std::nullopt;
    const double a = *lat1 * kRadiansPerDegree, b = *lon1 * kRadiansPerDegree;
    const double c = *lat2 * kRadiansPerDegree, d = *lon2 * kRadiansPerDegree;
    // Rounding can take the cosine of a point with itself just past 1.
    const double cosine = std::clamp(
        std::sin(a) * std::sin(c) + std::cos(a) * std::cos(c) * std::cos(d - b), -1.0, 1.0);
    return std::acos(cosine) * kEarthRadiusKm;
}

CityStatCollector::CityStatCollector(MainQueue& queue, std::filesystem::path databasePath)
    : queue_(queue)
    , databasePath_(std::move(databasePath)) {}

CityStatCollector::~CityStatCollector() {
    worker_.sync([this] {
        sqlite3_close(database_);
        database_ = nullptr;
        open_ = false;
    });
}

std::filesystem::path CityStatCollector::defaultDatabasePath() {
    if (const char* path = std::getenv("CORVANEBAR_CITIES_DB"); path && *path)
        return path;
    const auto installed = Paths::dataDirectory() / "cities.db";
    std::error_code error;
    if (std::filesystem::exists(installed, error))
        return installed;
#ifdef CVB_CITIES_DB_BUILD_PATH
    return CVB_CITIES_DB_BUILD_PATH;
#else
    return installed;
#endif
}

template <class Work>
auto CityStatCollector::onWorker(Work work) {
    decltype(work()) result{};
    worker_.sync([&] {
        busy_ = true;
        if (openIfNeeded())
            result = work();
        lastUse_ = queue_.clock().now();
        busy_ = false;
    });
    return result;
}

bool CityStatCollector::openIfNeeded() {
    if (database_)
        return true;
    sqlite3* db = nullptr;
    const int status = sqlite3_open_v2(databasePath_.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    if (status != SQLITE_OK) {
        CVBLog("cities: cannot open %s: %s", databasePath_.c_str(),
               db ? sqlite3_errmsg(db) : sqlite3_errstr(status));
        sqlite3_close(db);
        return false;
    }
    sqlite3_create_function(db, "distance", 4, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                            sqlDistance, nullptr, nullptr);
    database_ = db;
    open_ = true;
    lastUse_ = queue_.clock().now();
    scheduleIdleCheck();
    return true;
}

void CityStatCollector::scheduleIdleCheck() {
    std::weak_ptr<bool> alive = alive_;
    queue_.after(kIdleSeconds, [this, alive] {
        if (alive.lock())
            closeIfNotInUse();
    });
}

void CityStatCollector::closeIfNotInUse() {
    worker_.async([this] {
        if (!database_)
            return;
        if (busy_ || queue_.clock().now() - lastUse_ < kIdleSeconds) {
            scheduleIdleCheck();
            return;
        }
        sqlite3_close(database_);
        database_ = nullptr;
        open_ = false;
    });
}

// Words from the user go in as bound parameters, never into the SQL text, so that an
// apostrophe ("St. John's") cannot break the statement; the rows are those of the text form.
CityStatCollector::Rows CityStatCollector::query(const std::string& sql,
                                                 const std::vector<Value>& arguments, int limit) {
    Rows rows;
    sqlite3_stmt* s = nullptr;
    if (sqlite3_prepare_v2(database_, sql.c_str(), -1, &s, nullptr) != SQLITE_OK) {
        CVBLog("cities: %s", sqlite3_errmsg(database_));
        return rows;
    }
    int index = 1;
    for (const Value& a : arguments) {
        if (a.isString())
            sqlite3_bind_text(s, index++, a.stringValue().c_str(), -1, SQLITE_TRANSIENT);
        else
            sqlite3_bind_double(s, index++, a.doubleValue());
    }
    sqlite3_bind_int(s, index, limit);
    while (sqlite3_step(s) == SQLITE_ROW) {
        Value row = Value::dict();
        for (int c = 0; c < sqlite3_column_count(s); ++c)
            row.set(sqlite3_column_name(s, c), columnValue(s, c));
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(s);
    return rows;
}

std::optional<Value> CityStatCollector::closestCity(double latitude, double longitude) {
    if (!std::isfinite(latitude) || !std::isfinite(longitude))
        return std::nullopt;
    const Rows rows = onWorker([&] {
        return query(kClosestQuery,
                     {latitude - kBoxDegrees, latitude + kBoxDegrees, longitude - kBoxDegrees,
                      longitude + kBoxDegrees, latitude, longitude},
                     1);
    });
    return rows.empty() ? std::nullopt : std::optional<Value>(rows.front());
}

void CityStatCollector::asyncClosestCity(double latitude, double longitude, CityCallback callback) {
    std::weak_ptr<bool> alive = alive_;
    worker_.async([this, alive, latitude, longitude, callback = std::move(callback)] {
        auto city = closestCity(latitude, longitude);
        queue_.async([alive, city = std::move(city), callback] {
            if (alive.lock())
                callback(city);
        });
    });
}

CityStatCollector::Rows CityStatCollector::citiesWithMatch(const std::string& match, int limit) {
    return onWorker([&] {
        PrefixSearch first(match);
        const std::string cityAndState = first.cityAndStateTerm(match);
        Rows rows = query(first.sql({first.term("city_plain"), first.term("state"),
                                     first.term("city"), cityAndState}),
                          first.arguments(), limit);
        if (rows.size() < static_cast<std::size_t>(kDefaultLimit)) {
            const PrefixSearch country(match);
            Rows countries =
                query(country.sql({country.term("country")}), country.arguments(), limit);
            rows.insert(rows.end(), countries.begin(), countries.end());
        }
        for (const std::string& form : saintForms(match)) {
            const PrefixSearch saint(form);
            Rows saints = query(saint.sql({saint.term("city"), saint.term("city_plain")}),
                                saint.arguments(), limit);
            rows.insert(rows.end(), saints.begin(), saints.end());
        }
        return rows;
    });
}

CityStatCollector::Rows CityStatCollector::citiesWithStateMatch(const std::string& match) {
    return onWorker([&] {
        const PrefixSearch state(match);
        return query(state.sql({state.term("state")}), state.arguments(), kDefaultLimit);
    });
}

std::optional<Value> CityStatCollector::cityWithIdentifier(const std::string& identifier) {
    const Rows rows = onWorker([&] { return query(kIdentifierQuery, {Value(identifier)}, 1); });
    return rows.empty() ? std::nullopt : std::optional<Value>(rows.front());
}

void CityStatCollector::search(const std::string& match, SearchCallback callback, int limit) {
    if (match.empty()) {
        waiting_.reset();
        return;
    }
    waiting_ = Request{match, limit, std::move(callback)};
    if (!searching_)
        runSearchQueue();
}

void CityStatCollector::runSearchQueue() {
    if (!waiting_) {
        searching_ = false;
        return;
    }
    searching_ = true;
    auto request = std::make_shared<Request>(std::move(*waiting_));
    waiting_.reset();
    std::weak_ptr<bool> alive = alive_;
    worker_.async([this, alive, request] {
        auto rows = std::make_shared<Rows>(citiesWithMatch(request->match, request->limit));
        queue_.async([this, alive, request, rows] {
            if (!alive.lock())
                return;
            request->callback(*rows, request->match);
            runSearchQueue();
        });
    });
}

} // namespace corvane
