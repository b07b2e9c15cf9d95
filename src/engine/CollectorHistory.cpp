#include "engine/CollectorHistory.h"

#include "engine/HistoryFiles.h"
#include "engine/StatCollector.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cmath>

namespace corvane {

CollectorHistory::CollectorHistory(StatCollector& collector)
    : collector_(collector) {}

CollectorHistory::~CollectorHistory() = default;

std::string CollectorHistory::tableName(const std::string& prefix, int tier) {
    return prefix + "_" + std::to_string(tier);
}

std::string CollectorHistory::itemTableName(const std::string& prefix, int tier) {
    return prefix + "_items_" + std::to_string(tier);
}

const std::string& CollectorHistory::text(const char* key) const {
    return collector_.config()[key].string();
}

std::shared_ptr<HistoryDatabase>
CollectorHistory::openFile(const std::filesystem::path& file) const {
    if (HistoryFiles* files = collector_.historyFiles())
        return files->open(file);
    return HistoryDatabase::open(file);
}

HistoryDatabase* CollectorHistory::databaseFor(int tier) const {
    return tier == kLongTermTier ? long_.get() : main_.get();
}

bool CollectorHistory::prepare() {
    const std::string& prefix = collector_.dbTablePrefix();
    const bool items = collector_.storageType() == StatCollector::kStorageItems;
    if (prefix.empty() || text("sqlCreate").empty() || (items && text("sqlCreateID").empty()))
        return false;
    if (!HistoryDatabase::validTableName(prefix)) {
        CVBLog("history table prefix \"%s\" refused; no history for it", prefix.c_str());
        return false;
    }
    main_ = openFile(collector_.dbpath());
    if (!main_)
        return false;
    const int tiers = collector_.tierCount();
    kept_.assign(static_cast<std::size_t>(tiers), false);
    for (int tier = 1; tier < std::min(tiers, kLongTermTier); ++tier)
        kept_[static_cast<std::size_t>(tier)] = prepareTier(tier);
    const bool hasLongTexts =
        !text("sqlCreateLong").empty() && (!items || !text("sqlCreateIDLong").empty());
    if (tiers > kLongTermTier && hasLongTexts) {
        long_ = openFile(collector_.dbpathLong());
        if (long_)
            kept_[kLongTermTier] = prepareTier(kLongTermTier);
    }

    for (int tier = 1; tier < std::min(tiers, kLongTermTier); ++tier) {
        if (kept_[static_cast<std::size_t>(tier)])
            loadCollectorTier(tier);
    }
    if (tiers > kLongTermTier && kept_[kLongTermTier]) {
        // The long-term log keeps its own 5-minute grid and numbers on from its newest row; the
        // time the process was away stays a gap in the log.
        collector_.checkNextTimeAtIndex(kLongTermTier);
        collector_.setID(long_->largestSample(tableName(prefix, kLongTermTier)), kLongTermTier);
    }
    for (const auto& item : collector_.immutableItems()) {
        if (loadItem(*item))
            collector_.itemLoadedValues(item);
    }
    return true;
}

bool CollectorHistory::prepareTier(int tier) {
    HistoryDatabase* db = databaseFor(tier);
    if (!db)
        return false;
    const std::string& prefix = collector_.dbTablePrefix();
    const bool longTerm = tier == kLongTermTier;
    const std::string table = tableName(prefix, tier);
    if (collector_.storageType() != StatCollector::kStorageItems) {
        if (!db->prepareTable(table, text(longTerm ? "sqlCreateLong" : "sqlCreate"),
                              text("sqlInsert")))
            return false;
        if (longTerm)
            db->execute("create index if not exists " + table + "_time on " + table + "(time)");
        collector_.dbTables_[static_cast<std::size_t>(tier)] = table;
        return true;
    }
    const std::string itemTable = itemTableName(prefix, tier);
    if (!db->prepareTable(table, text(longTerm ? "sqlCreateIDLong" : "sqlCreateID"),
                          text("sqlInsert")) ||
        !db->prepareTable(itemTable, text(longTerm ? "sqlCreateLong" : "sqlCreate"),
                          text("sqlInsertItem")))
        return false;
    // Beside the given tables, not in them: indexes for reading an item back and for
    // retention, which would otherwise scan every row of every item.
    db->execute("create index if not exists " + itemTable + "_uuid on " + itemTable +
                "(uuid, sample)");
    if (longTerm) {
        db->execute("create index if not exists " + table + "_time on " + table + "(time)");
        db->execute("create index if not exists " + itemTable + "_time on " + itemTable + "(time)");
    } else {
        db->execute("create index if not exists " + itemTable + "_sample on " + itemTable +
                    "(sample)");
    }
    collector_.dbTables_[static_cast<std::size_t>(tier)] = table;
    collector_.dbTablesItems_[static_cast<std::size_t>(tier)] = itemTable;
    return true;
}

void CollectorHistory::loadCollectorTier(int tier) {
    const std::string& table = collector_.dbTables_[static_cast<std::size_t>(tier)];
    const auto rows =
        main_->newestRows(table, text("sqlInsert"), collector_.config()["sqlInsertKeys"],
                          static_cast<int>(kMaximumSamples));
    if (rows.empty())
        return;
    for (auto row = rows.rbegin(); row != rows.rend(); ++row)
        collector_.addSample(*row, tier);
    sampleindexconfig& config = collector_.tierAt(tier);
    config.sampleID = rows.front()["sample"].doubleValue();
    config.time = rows.front()["time"].doubleValue();
    config.nextTime = config.time + config.interval;
    const double now = collector_.mainQueue().clock().now();
    if (config.time > now) {
        // Written while the clock was ahead: waiting for it would freeze the tier, so its
        // periods start afresh from now and only the numbering carries on.
        CVBLog("history: %s lies in the future; its periods start from now", table.c_str());
        config.nextTime = std::ceil(now) + config.interval;
        config.time = config.nextTime - config.interval;
    }
    CVBLog("history: %zu samples of %s read back", rows.size(), table.c_str());
}

bool CollectorHistory::loadItem(StatCollectorItem& item) {
    if (!main_ || collector_.storageType() != StatCollector::kStorageItems || item.key().empty())
        return false;
    item.setLoadingHistory(true);
    bool any = false;
    for (int tier = 1; tier < std::min(collector_.tierCount(), kLongTermTier); ++tier) {
        if (!kept_[static_cast<std::size_t>(tier)])
            continue;
        const auto rows =
            main_->newestRows(collector_.dbTablesItems_[static_cast<std::size_t>(tier)],
                              text("sqlInsertItem"), collector_.config()["sqlInsertItemKeys"],
                              static_cast<int>(kMaximumSamples), item.key());
        for (auto row = rows.rbegin(); row != rows.rend(); ++row)
            item.addSample(*row, tier);
        any = any || !rows.empty();
    }
    item.setLoadingHistory(false);
    item.setLoadedHistory(true);
    return any;
}

void CollectorHistory::write(int tier, const Value& sample, const std::vector<Value>& itemRows) {
    if (tier < 0 || static_cast<std::size_t>(tier) >= kept_.size() ||
        !kept_[static_cast<std::size_t>(tier)])
        return;
    HistoryDatabase* db = databaseFor(tier);
    const bool items = collector_.storageType() == StatCollector::kStorageItems;
    const std::string& table = collector_.dbTables_[static_cast<std::size_t>(tier)];
    const std::string& itemTable = collector_.dbTablesItems_[static_cast<std::size_t>(tier)];
    db->beginBatch();
    db->insert(table, text("sqlInsert"), collector_.config()["sqlInsertKeys"], sample);
    if (items) {
        for (const Value& row : itemRows)
            db->insert(itemTable, text("sqlInsertItem"), collector_.config()["sqlInsertItemKeys"],
                       row);
    }
    if (tier == kLongTermTier) {
        const double cut = collector_.mainQueue().clock().now() - kLongTermRetention;
        db->deleteRowsBeforeTime(table, cut);
        if (items)
            db->deleteRowsBeforeTime(itemTable, cut);
    } else {
        const double cut = sample["sample"].doubleValue() - static_cast<double>(kMaximumSamples);
        if (cut > 0) {
            db->deleteRowsUpToSample(table, cut);
            if (items)
                db->deleteRowsUpToSample(itemTable, cut);
        }
    }
    db->commitBatch();
}

void CollectorHistory::beginBatch() {
    if (main_)
        main_->beginBatch();
    if (long_)
        long_->beginBatch();
}

void CollectorHistory::commitBatch() {
    if (main_)
        main_->commitBatch();
    if (long_)
        long_->commitBatch();
}

} // namespace corvane
