#pragma once

#include "engine/EngineContext.h"
#include "engine/SampleRecords.h"
#include "engine/SampleRing.h"
#include "engine/StatCollectorBase.h"
#include "engine/StatCollectorDelegate.h"
#include "engine/StatCollectorItem.h"
#include "foundation/MainQueue.h"
#include "foundation/NotificationCenter.h"
#include "foundation/Value.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace corvane {

class CollectorHistory;

// A monitored quantity: tiers of timed samples, the items inside it, the listeners, and in a
// logging build the one-second cycle and the history database. Everything runs on the main
// queue of its context.
class StatCollector : public StatCollectorBase {
public:
    using UpdaterBlock = std::function<void(StatCollector&)>;
    using ItemPointer = std::shared_ptr<StatCollectorItem>;

    // Storage types: where the values of a sample live.
    static constexpr std::int64_t kStorageCollector = 1;
    static constexpr std::int64_t kStorageItems = 2;

    StatCollector(const EngineContext& context, std::int64_t sampleCount);
    ~StatCollector() override;
    StatCollector(const StatCollector&) = delete;
    StatCollector& operator=(const StatCollector&) = delete;

    static std::int64_t sampleCount() { return 0; }

    MainQueue& mainQueue() const { return queue_; }
    HistoryFiles* historyFiles() const { return historyFiles_; }
    int tierCount() const { return tierCount_; }
    // A build with more than the live tier runs the logging cycle and keeps history.
    bool loggingBuild() const { return tierCount_ > 1; }

    // Tiers.
    sampleindexconfig* sampleIndex() { return sampleIndex_.data(); }
    sampleindexconfig sampleIndex(int tier) const;
    samplepeaks* samplePeaks() { return samplePeaks_.data(); }
    // The ring of tier 0 or 1; nothing for any other type.
    statsample* storageForType(int type) const;
    statsample sampleAtIndex(std::int64_t index, int type) const;
    virtual statsample sampleWithIdentifier(std::uint64_t identifier, int type) const;
    double lastTimeForType(int type) const;
    // Whether the newest sample of the live tier holds a measurement: false before the first
    // sample and when the machine could not be read. For collectors that hold their values.
    bool hasReading() const;
    std::uint64_t lastIDForType(int type) const;
    virtual std::uint64_t lowestSampleForStorageType(int type) const;
    double idForInterval(int interval) const;
    void setID(double sampleID, int interval);
    void setUpdated(bool updated, int interval);
    bool updatedForInterval(int interval) const;

    // Adding. The identifier comes from "sample" or "id" (the later wins), else the newest plus
    // one; a sample that is not newer than the newest is refused. Nothing here allocates.
    void addSample(const Value& sample, int storageIndex);
    void addSampleAtIndex(const Value& sample, int storageIndex, std::int64_t index);
    void addSampleWithID(const Value& sample, int storageIndex, std::uint64_t sampleID);
    void addSample(const Value& sample, int storageIndex, std::uint64_t sampleID,
                   std::int64_t index);

    // Reading by rule.
    Value averagesForIndex(int tier) const;
    virtual Value historyItemForIndex(int tier) const;
    Value historyItemsForIndex(int tier) const;
    Value historySampleForIndex(int tier) const;
    bool indexesBelowValue(std::span<const int> indexes, double value, double forTime) const;
    bool indexesAboveValue(std::span<const int> indexes, double value, double forTime) const;

    void clearStorageForType(int type);
    void clearAllStorages() { clearStorageForType(0); }
    void freeFullStorage();
    Value emptySampleWithIdentifier(double identifier, double time) const;

    // The cycle.
    virtual void startLogging();
    void updateSamplesAndLogging();
    void _updateSamplesAndLogging();
    virtual void updateStats();
    virtual void updateStatsForSequence(std::int64_t sequence);
    virtual bool shouldUpdateStateForSequence(std::int64_t sequence);
    virtual bool threadedUpdating() const { return false; }
    virtual double updateFrequencyForVersion(std::int64_t version) const;
    virtual Value overview() const { return {}; }
    void resetUpdateSequence();
    void updateHistory();
    void setNeedsUpdate() { needsUpdate_ = true; }
    // Tells each delegate that new samples are in, as updateStats does at its end; at once, or
    // on the main queue for a collector that updates off it.
    void notifyUpdated();

    // Tiers' clocks and gap filling.
    void checkNextTimeAtIndex(int tier);
    void fillGaps();
    void fillGapsAtIndex(int tier);
    void insertSampleWithIndex(int tier);
    void addLongTermSample(const Value& sample);

    // Sleep and wake: nothing is written to the history during the first minute after a wake.
    void sleep();
    void wake();
    void enableDatabase();

    // Items.
    // A new, bare item of this collector's item class; collectors with their own items override.
    virtual ItemPointer itemClassInstance() const;
    std::vector<ItemPointer> immutableItems() const { return items_; }
    const std::vector<ItemPointer>& items() const { return items_; }
    ItemPointer itemWithKey(const Value& key, bool temporary);
    virtual ItemPointer itemWithKey(const Value& key) { return itemWithKey(key, false); }
    ItemPointer newItemWithKey(const std::string& key);
    ItemPointer newItemWithKey2(const std::string& key);
    void sort();
    bool removeOldItems();
    void itemLoadedValues(const ItemPointer& item);
    void notifyChildrenChanged();

    // Selection: item keys joined by "|"; nothing when none is selected.
    void addSelectionKeyItem(const std::string& key);
    void removeSelectionKeyItem(const std::string& key);
    const std::optional<std::string>& selectionKey() const { return selectionKey_; }
    void setSelectionKey(std::optional<std::string> key) { selectionKey_ = std::move(key); }

    // Delegates are not owned; one removes itself before it goes.
    void addDelegate(StatCollectorDelegate* delegate);
    void removeDelegate(StatCollectorDelegate* delegate);
    const std::vector<StatCollectorDelegate*>& delegates() const { return delegates_; }

    // Stops the cycle at its next beat and drops the delegates; there is no restart.
    virtual void cleanup();

    // Properties.
    Value& config() { return config_; }
    const Value& config() const { return config_; }
    std::int64_t storageType() const { return storageType_; }
    std::int64_t sampleValueCount() const { return sampleValueCount_; }
    std::int64_t session() const { return session_; }
    std::int64_t updateSequence() const { return updateSequence_; }
    std::int64_t protocolVersion() const { return protocolVersion_; }
    void setProtocolVersion(std::int64_t version) { protocolVersion_ = version; }
    const std::string& dbTablePrefix() const { return dbTablePrefix_; }
    void setDbTablePrefix(std::string prefix) { dbTablePrefix_ = std::move(prefix); }
    // The history files; a logging build starts with history.sqlite and history-long.sqlite in
    // the state directory. Set them before startLogging.
    const std::filesystem::path& dbpath() const { return dbpath_; }
    void setDbpath(std::filesystem::path path) { dbpath_ = std::move(path); }
    const std::filesystem::path& dbpathLong() const { return dbpathLong_; }
    void setDbpathLong(std::filesystem::path path) { dbpathLong_ = std::move(path); }
    // Table names by tier; empty where the tier keeps no table.
    const std::vector<std::string>& dbTables() const { return dbTables_; }
    const std::vector<std::string>& dbTablesItems() const { return dbTablesItems_; }
    ItemPointer activeItem() const { return activeItem_; }
    void setActiveItem(ItemPointer item) { activeItem_ = std::move(item); }
    bool enabled() const { return enabled_; }
    void setEnabled(bool flag) { enabled_ = flag; }
    bool databaseEnabled() const { return databaseEnabled_; }
    void setDatabaseEnabled(bool flag) { databaseEnabled_ = flag; }
    bool preparedDatabase() const { return preparedDatabase_; }
    bool automaticSampleUpdates() const { return automaticSampleUpdates_; }
    void setAutomaticSampleUpdates(bool flag) { automaticSampleUpdates_ = flag; }
    bool usesSmallSamples() const { return usesSmallSamples_; }
    void setUsesSmallSamples(bool flag) { usesSmallSamples_ = flag; }
    bool temporary() const { return temporary_; }
    void setTemporary(bool flag) { temporary_ = flag; }
    bool stopped() const { return stopped_; }
    bool newSession() const { return newSession_; }
    void setNewSession(bool flag) { newSession_ = flag; }
    bool needsUpdate() const { return needsUpdate_; }
    void setNeedsUpdate(bool flag) { needsUpdate_ = flag; }
    bool childrenChanged() const { return childrenChanged_; }
    void setChildrenChanged(bool flag) { childrenChanged_ = flag; }
    const UpdaterBlock& updaterBlock() const { return updaterBlock_; }
    void setUpdaterBlock(UpdaterBlock block) { updaterBlock_ = std::move(block); }
    const UpdaterBlock& updaterFinishBlock() const { return updaterFinishBlock_; }
    void setUpdaterFinishBlock(UpdaterBlock block) { updaterFinishBlock_ = std::move(block); }
    const UpdaterBlock& defaultUpdaterBlock() const { return defaultUpdaterBlock_; }
    void setDefaultUpdaterBlock(UpdaterBlock block) { defaultUpdaterBlock_ = std::move(block); }

protected:
    void setStorageType(std::int64_t type) { storageType_ = type; }
    // A collector whose samples are differences of counters reads the counters that its next
    // sample is measured from, and answers true; the cycle then gives it a whole second before
    // its first sample. The base reads nothing and answers false.
    virtual bool takeBaseline() { return false; }

private:
    friend class CollectorHistory;

    bool validTier(int tier) const { return tier >= 0 && tier < tierCount_; }
    sampleindexconfig& tierAt(int tier) { return sampleIndex_[static_cast<std::size_t>(tier)]; }
    const sampleindexconfig& tierAt(int tier) const {
        return sampleIndex_[static_cast<std::size_t>(tier)];
    }
    void armBeat(double delay,
                 void (StatCollector::*beat)() = &StatCollector::updateSamplesAndLogging);
    // The first beat after startLogging: a baseline for a collector that takes one, else a
    // beat like any other.
    void firstBeat();
    // The delay until the live tier's nextTime; a clock that jumped or a beat that slipped aims
    // at the next whole second instead.
    double delayToNextBeat();
    void notifyDelegatesUpdated();
    void prepareDatabase();
    void addItemsSample(const Value& sample, int tier, std::vector<Value>* itemRows);
    ItemPointer makeItem(const std::string& key, bool logCreation);
    template <class Task>
    void later(double delay, Task task, MainQueue::TimerId* id = nullptr);

    MainQueue& queue_;
    HistoryFiles* historyFiles_;
    int tierCount_;
    std::int64_t sampleValueCount_;
    std::vector<sampleindexconfig> sampleIndex_;
    std::vector<SampleRing> rings_;
    std::array<samplepeaks, 8> samplePeaks_{};
    SampleRing emptyValueRing_;

    Value config_;
    std::vector<ItemPointer> items_;
    std::vector<StatCollectorDelegate*> delegates_;
    ItemPointer activeItem_;
    std::optional<std::string> selectionKey_;
    std::string dbTablePrefix_;
    std::filesystem::path dbpath_;
    std::filesystem::path dbpathLong_;
    std::vector<std::string> dbTables_;
    std::vector<std::string> dbTablesItems_;
    std::unique_ptr<CollectorHistory> history_;

    std::int64_t storageType_ = kStorageCollector;
    std::int64_t session_ = 0;
    std::int64_t updateSequence_ = 0;
    std::int64_t protocolVersion_ = 0;
    bool usesSmallSamples_ = false;
    bool preparedDatabase_ = false;
    bool temporary_ = false;
    bool databaseEnabled_ = true;
    bool enabled_ = true;
    bool newSession_ = false;
    bool stopped_ = false;
    bool automaticSampleUpdates_ = true;
    bool needsUpdate_ = false;
    bool childrenChanged_ = false;

    UpdaterBlock defaultUpdaterBlock_;
    UpdaterBlock updaterBlock_;
    UpdaterBlock updaterFinishBlock_;

    MainQueue::TimerId beatTimer_ = 0;
    MainQueue::TimerId enableDatabaseTimer_ = 0;
    bool enableDatabasePending_ = false;
    Observation sleepObservation_;
    Observation wakeObservation_;
    // Tasks on the queue hold this weakly, so that none runs after the collector is gone.
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

} // namespace corvane
