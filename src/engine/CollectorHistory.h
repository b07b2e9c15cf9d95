#pragma once

#include "engine/HistoryDatabase.h"
#include "foundation/Value.h"

#include <memory>
#include <string>
#include <vector>

namespace corvane {

class StatCollector;
class StatCollectorItem;

// A collector's share of the history files of a logging process.
//
// Tier 0 lives only in memory: a second ring is rebuilt within ten minutes. Tiers 1 to 7 go to
// `dbpath`, one table per tier named "<dbTablePrefix>_<tier>" (for storage type 2 that is the
// table of sample identifiers, and "<dbTablePrefix>_items_<tier>" holds the item rows). Each
// keeps what its ring spans: rows more than 602 identifiers behind the newest are dropped.
// The long-term log (tier 8) goes to `dbpathLong` under the same names and keeps a year.
// At start the newest 602 rows of each tier are read back into the rings through the adding
// operations, and the tier's clock continues from the newest row, so that the time the
// process was away is filled as a gap. Item rows are read back when the item is created.
class CollectorHistory {
public:
    static constexpr double kLongTermRetention = 365.0 * 86400.0;

    explicit CollectorHistory(StatCollector& collector);
    ~CollectorHistory();
    CollectorHistory(const CollectorHistory&) = delete;
    CollectorHistory& operator=(const CollectorHistory&) = delete;

    // Opens the files, makes the tables and reads the rings back. False when there is nothing
    // to keep or the main file cannot be used; the reason is logged.
    bool prepare();
    // One finished period of a tier; item rows only for items that exist.
    void write(int tier, const Value& sample, const std::vector<Value>& itemRows);
    // Reads an item's rows into its rings; true when any row was read.
    bool loadItem(StatCollectorItem& item);

    void beginBatch();
    void commitBatch();

    static std::string tableName(const std::string& prefix, int tier);
    static std::string itemTableName(const std::string& prefix, int tier);

private:
    HistoryDatabase* databaseFor(int tier) const;
    bool prepareTier(int tier);
    void loadCollectorTier(int tier);
    const std::string& text(const char* key) const;

    StatCollector& collector_;
    std::shared_ptr<HistoryDatabase> openFile(const std::filesystem::path& file) const;

    std::shared_ptr<HistoryDatabase> main_;
    std::shared_ptr<HistoryDatabase> long_;
    std::vector<bool> kept_; // by tier: whether the tier has its tables
};

} // namespace corvane
