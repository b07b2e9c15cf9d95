#pragma once

#include "engine/SampleRecords.h"
#include "engine/SampleRing.h"
#include "engine/StatCollectorItemBase.h"
#include "foundation/Value.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace corvane {

class StatCollector;

// One thing inside a collector (a disk, an interface, a sensor) with its own tiers of samples.
// The collector copies its tier clocks into its items and hands each its share of a sample.
class StatCollectorItem : public StatCollectorItemBase {
public:
    // `sampleCount` is the collector's; `tierCount` the number of tiers of the process's build.
    StatCollectorItem(std::int64_t sampleCount, int tierCount);
    ~StatCollectorItem() override;
    StatCollectorItem(const StatCollectorItem&) = delete;
    StatCollectorItem& operator=(const StatCollectorItem&) = delete;

    static std::int64_t sampleCount() { return 0; }

    // Tiers.
    int tierCount() const { return tierCount_; }
    sampleindexconfig* sampleIndex() { return sampleIndex_.data(); }
    sampleindexconfig sampleIndex(int tier) const;
    statsample* storageForType(int type) const;
    virtual statsample sampleAtIndex(std::int64_t index, int type) const;
    virtual statsample sampleWithIdentifier(std::uint64_t identifier, int type) const;
    virtual double idForInterval(int interval) const;
    void setTime(double time, int sampleIndex);
    void setNextTime(double nextTime, int sampleIndex);
    void setSampleID(double sampleID, int sampleIndex);
    // Allocates the ring of a tier from the tier table, all slots empty.
    void loadStorageAtIndex(int tier);
    // False when the item keeps no values at all, else whether the tier's ring may be read.
    bool loadedValuesAtIndex(int tier) const;

    // Adding; the identifier rules are those of the collector. Refused samples change nothing.
    virtual void addSample(const Value& sample, int toStorage);
    void addSampleAtIndex(const Value& sample, int toStorage, std::int64_t index);
    void addSample(const Value& sample, int toStorage, std::int64_t index, std::uint64_t sampleID);

    // Reading.
    Value averagesForIndex(int tier) const;
    virtual Value historyItemForIndex(int tier) const;
    std::uint64_t lowestSampleForStorageType(int tier) const;
    bool indexesBelowValue(std::span<const int> indexes, double value, double forTime) const;
    bool indexesAboveValue(std::span<const int> indexes, double value, double forTime) const;
    void clearStorageForType(int type);
    void clearAllStorages() { clearStorageForType(0); }

    // The full storage: a second ring per tier, loaded on demand.
    void loadFullStorageAtIndex(int tier);
    void freeFullStorage();
    statsample* fullStorageForType(int type) const;
    void addSampleToFullStorage(const Value& sample, int fullStorage);
    void addSampleToFullStorage(const Value& sample, int fullStorage, std::int64_t index);
    void addSampleToFullStorage(const Value& sample, int fullStorage, std::int64_t index,
                                std::uint64_t sampleID);
    statsample sampleWithIdentifierFull(std::uint64_t identifier, int type) const;
    double idForIntervalFull(int interval) const;
    sampleindexconfig* sampleIndexFull() { return sampleIndexFull_.data(); }

    // Order among the collector's items; the base has no opinion.
    virtual int sort(const StatCollectorItem& other) const;
    virtual Value attributeFromAttributes(const Value& attributes) const;
    virtual void cleanup();

    // Properties.
    const std::string& key() const { return key_; }
    void setKey(std::string key) { key_ = std::move(key); }
    const std::string& alternateKey() const { return alternateKey_; }
    void setAlternateKey(std::string key) { alternateKey_ = std::move(key); }
    Value& config() { return config_; }
    const Value& config() const { return config_; }
    std::int64_t sampleValueCount() const { return sampleValueCount_; }
    std::int64_t protocolVersion() const { return protocolVersion_; }
    void setProtocolVersion(std::int64_t version) { protocolVersion_ = version; }
    double creationTime() const { return creationTime_; }
    void setCreationTime(double time) { creationTime_ = time; }
    StatCollector* parent() const { return parent_; }
    void setParent(StatCollector* parent) { parent_ = parent; }
    bool slowUpdating() const { return slowUpdating_; }
    void setSlowUpdating(bool flag) { slowUpdating_ = flag; }
    bool temporary() const { return temporary_; }
    void setTemporary(bool flag) { temporary_ = flag; }
    bool nohistory() const { return nohistory_; }
    void setNohistory(bool flag) { nohistory_ = flag; }
    bool exists() const { return exists_; }
    void setExists(bool flag) { exists_ = flag; }
    bool loadedHistory() const { return loadedHistory_; }
    void setLoadedHistory(bool flag) { loadedHistory_ = flag; }
    bool loadingHistory() const { return loadingHistory_; }
    void setLoadingHistory(bool flag) { loadingHistory_ = flag; }
    bool cleanedUp() const { return cleanedUp_; }

private:
    bool validTier(int tier) const { return tier >= 0 && tier < tierCount_; }
    void writeSlot(sampleindexconfig& tier, const Value& sample, std::int64_t index,
                   std::uint64_t sampleID);
    void addShifted(std::span<sampleindexconfig> tiers, const Value& sample, int tier);
    void addAtIndex(std::span<sampleindexconfig> tiers, const Value& sample, int tier,
                    std::int64_t index);
    statsample emptySample(std::uint64_t identifier) const;
    double now() const;

    int tierCount_;
    std::int64_t sampleValueCount_;
    std::vector<sampleindexconfig> sampleIndex_;
    std::vector<sampleindexconfig> sampleIndexFull_;
    std::vector<SampleRing> rings_;
    std::vector<SampleRing> fullRings_;
    SampleRing emptyValueRing_; // one record: the template handed out for gaps

    Value config_;
    std::string key_;
    std::string alternateKey_;
    std::int64_t protocolVersion_ = 0;
    double creationTime_ = 0;
    StatCollector* parent_ = nullptr; // the owning collector, not retained
    bool slowUpdating_ = false;
    bool temporary_ = false;
    bool nohistory_ = false;
    bool exists_ = true;
    bool loadedHistory_ = false;
    bool loadingHistory_ = false;
    bool cleanedUp_ = false;
};

} // namespace corvane
