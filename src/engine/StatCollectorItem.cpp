#include "engine/StatCollectorItem.h"

#include "engine/StatCollector.h"
#include "engine/TierOperations.h"

#include <algorithm>

namespace corvane {

StatCollectorItem::StatCollectorItem(std::int64_t sampleCount, int tierCount)
    : tierCount_(std::clamp(tierCount, 1, kMaximumTierCount))
    , sampleValueCount_(std::max<std::int64_t>(sampleCount, 0))
    , sampleIndex_(static_cast<std::size_t>(tierCount_))
    , sampleIndexFull_(static_cast<std::size_t>(tierCount_))
    , rings_(static_cast<std::size_t>(tierCount_))
    , fullRings_(static_cast<std::size_t>(tierCount_))
    , config_(Value::Dictionary{}) {
    for (int tier = 0; tier < tierCount_; ++tier) {
        const auto& row = kSampleTierTable[static_cast<std::size_t>(tier)];
        sampleIndex_[static_cast<std::size_t>(tier)].interval = row.interval;
        sampleIndex_[static_cast<std::size_t>(tier)].historyIndex = row.historyIndex;
        sampleIndexFull_[static_cast<std::size_t>(tier)] =
            sampleIndex_[static_cast<std::size_t>(tier)];
        loadStorageAtIndex(tier);
    }
    emptyValueRing_.allocate(1, sampleValueCount_);
}

StatCollectorItem::~StatCollectorItem() = default;

sampleindexconfig StatCollectorItem::sampleIndex(int tier) const {
    return validTier(tier) ? sampleIndex_[static_cast<std::size_t>(tier)] : sampleindexconfig{};
}

statsample* StatCollectorItem::storageForType(int type) const {
    return validTier(type) ? sampleIndex_[static_cast<std::size_t>(type)].samples : nullptr;
}

statsample StatCollectorItem::emptySample(std::uint64_t identifier) const {
    statsample sample{identifier, 0.0, 1, nullptr};
    if (emptyValueRing_.allocated())
        sample.values = emptyValueRing_.records()[0].values;
    return sample;
}

statsample StatCollectorItem::sampleAtIndex(std::int64_t index, int type) const {
    const statsample* ring = storageForType(type);
    if (!ring || index < 0 || index >= sampleIndex_[static_cast<std::size_t>(type)].maximumSamples)
        return emptySample(0);
    return ring[index];
}

statsample StatCollectorItem::sampleWithIdentifier(std::uint64_t identifier, int type) const {
    if (type <= 0 && validTier(type) && sampleIndex_[static_cast<std::size_t>(type)].valuesLoaded) {
        if (auto found =
                tier::findIdentifier(sampleIndex_[static_cast<std::size_t>(type)], identifier))
            return *found;
    }
    return emptySample(identifier);
}

double StatCollectorItem::idForInterval(int interval) const {
    return validTier(interval) ? sampleIndex_[static_cast<std::size_t>(interval)].sampleID : 0.0;
}

void StatCollectorItem::setTime(double time, int sampleIndex) {
    if (validTier(sampleIndex))
        sampleIndex_[static_cast<std::size_t>(sampleIndex)].time = time;
}

void StatCollectorItem::setNextTime(double nextTime, int sampleIndex) {
    if (validTier(sampleIndex))
        sampleIndex_[static_cast<std::size_t>(sampleIndex)].nextTime = nextTime;
}

void StatCollectorItem::setSampleID(double sampleID, int sampleIndex) {
    if (validTier(sampleIndex))
        sampleIndex_[static_cast<std::size_t>(sampleIndex)].sampleID = sampleID;
}

void StatCollectorItem::loadStorageAtIndex(int tier) {
    if (!validTier(tier) || !tierHasRing(tier) || cleanedUp_)
        return;
    auto& config = sampleIndex_[static_cast<std::size_t>(tier)];
    auto& ring = rings_[static_cast<std::size_t>(tier)];
    const auto& row = kSampleTierTable[static_cast<std::size_t>(tier)];
    config.maximumSamples = kMaximumSamples;
    ring.allocate(kMaximumSamples, sampleValueCount_);
    config.samples = ring.records();
    config.interval = row.interval;
    config.historyIndex = row.historyIndex;
    config.valuesLoaded = true;
    clearStorageForType(tier);
}

bool StatCollectorItem::loadedValuesAtIndex(int tier) const {
    if (sampleValueCount_ == 0 || !validTier(tier))
        return false;
    return sampleIndex_[static_cast<std::size_t>(tier)].valuesLoaded;
}

void StatCollectorItem::writeSlot(sampleindexconfig& tier, const Value& sample, std::int64_t index,
                                  std::uint64_t sampleID) {
    if (!tier.samples || index < 0 || index >= tier.maximumSamples)
        return;
    statsample& slot = tier.samples[index];
    tier::writeSlot(config_, sample, slot, sampleValueCount_, sampleID,
                    tier::EmptyRule::ExactlyOne);
    if (index == 0) {
        tier.sampleID = static_cast<double>(slot.sampleID);
        tier.time = slot.time;
    }
}

void StatCollectorItem::addShifted(std::span<sampleindexconfig> tiers, const Value& sample,
                                   int tierIndex) {
    if (!validTier(tierIndex))
        return;
    sampleindexconfig& tier = tiers[static_cast<std::size_t>(tierIndex)];
    if (!tier.samples || tier.maximumSamples < 1)
        return;
    const auto id = tier::identifierForSample(config_, sample, tier.samples[0].sampleID);
    if (!id)
        return;
    PushSamples(tier.samples, sampleValueCount_, tier.maximumSamples);
    writeSlot(tier, sample, 0, *id);
}

void StatCollectorItem::addAtIndex(std::span<sampleindexconfig> tiers, const Value& sample,
                                   int tierIndex, std::int64_t index) {
    if (!validTier(tierIndex))
        return;
    sampleindexconfig& tier = tiers[static_cast<std::size_t>(tierIndex)];
    if (!tier.samples || tier.maximumSamples < 1)
        return;
    const auto id = tier::identifierForSample(config_, sample, tier.samples[0].sampleID);
    if (!id)
        return;
    writeSlot(tier, sample, index, *id);
}

void StatCollectorItem::addSample(const Value& sample, int toStorage) {
    addShifted(sampleIndex_, sample, toStorage);
}

void StatCollectorItem::addSampleAtIndex(const Value& sample, int toStorage, std::int64_t index) {
    addAtIndex(sampleIndex_, sample, toStorage, index);
}

void StatCollectorItem::addSample(const Value& sample, int toStorage, std::int64_t index,
                                  std::uint64_t sampleID) {
    if (validTier(toStorage))
        writeSlot(sampleIndex_[static_cast<std::size_t>(toStorage)], sample, index, sampleID);
}

Value StatCollectorItem::averagesForIndex(int tierIndex) const {
    if (!validTier(tierIndex))
        return {};
    return tier::averagesForPeriod(sampleIndex_, tierIndex, config_, sampleValueCount_,
                                   tier::PeriodRule::Item, 0.0);
}

Value StatCollectorItem::historyItemForIndex(int tier) const {
    if (key_.empty() || !validTier(tier))
        return {};
    Value item = averagesForIndex(tier);
    const sampleindexconfig& config = sampleIndex_[static_cast<std::size_t>(tier)];
    item.set("time", config.time - config.interval);
    item.set("uuid", key_);
    return item;
}

std::uint64_t StatCollectorItem::lowestSampleForStorageType(int tier) const {
    if (!validTier(tier))
        return 0;
    const sampleindexconfig& config = sampleIndex_[static_cast<std::size_t>(tier)];
    if (!config.valuesLoaded || !config.samples)
        return 0;
    return config.samples[0].sampleID;
}

double StatCollectorItem::now() const {
    return parent_ ? parent_->mainQueue().clock().now() : SystemClock::shared().now();
}

bool StatCollectorItem::indexesBelowValue(std::span<const int> indexes, double value,
                                          double forTime) const {
    if (!validTier(0))
        return false;
    return tier::indexesKeptThreshold(sampleIndex_[0], sampleValueCount_, indexes, value, forTime,
                                      now(), tier::Threshold::Below);
}

bool StatCollectorItem::indexesAboveValue(std::span<const int> indexes, double value,
                                          double forTime) const {
    if (!validTier(0))
        return false;
    return tier::indexesKeptThreshold(sampleIndex_[0], sampleValueCount_, indexes, value, forTime,
                                      now(), tier::Threshold::AtOrAbove);
}

void StatCollectorItem::clearStorageForType(int type) {
    if (!validTier(type))
        return;
    sampleindexconfig& tier = sampleIndex_[static_cast<std::size_t>(type)];
    if (!tier.samples)
        return;
    for (std::int64_t slot = 0; slot < tier.maximumSamples; ++slot) {
        statsample& sample = tier.samples[slot];
        sample.empty = 1;
        if (tier.valuesLoaded)
            std::fill_n(sample.values, sampleValueCount_, 0.0);
    }
}

void StatCollectorItem::loadFullStorageAtIndex(int tier) {
    if (!validTier(tier) || cleanedUp_)
        return;
    sampleindexconfig& full = sampleIndexFull_[static_cast<std::size_t>(tier)];
    SampleRing& ring = fullRings_[static_cast<std::size_t>(tier)];
    ring.allocate(kMaximumSamples, sampleValueCount_);
    full.samples = ring.records();
    full.maximumSamples = kMaximumSamples;
    full.valuesLoaded = true;
}

void StatCollectorItem::freeFullStorage() {
    for (std::size_t tier = 0; tier < fullRings_.size(); ++tier) {
        fullRings_[tier].release();
        sampleIndexFull_[tier].samples = nullptr;
        sampleIndexFull_[tier].valuesLoaded = false;
    }
}

statsample* StatCollectorItem::fullStorageForType(int type) const {
    if (!validTier(type) || !sampleIndexFull_[static_cast<std::size_t>(type)].valuesLoaded)
        return nullptr;
    return sampleIndexFull_[static_cast<std::size_t>(type)].samples;
}

void StatCollectorItem::addSampleToFullStorage(const Value& sample, int fullStorage) {
    if (fullStorageForType(fullStorage))
        addShifted(sampleIndexFull_, sample, fullStorage);
}

void StatCollectorItem::addSampleToFullStorage(const Value& sample, int fullStorage,
                                               std::int64_t index) {
    if (fullStorageForType(fullStorage))
        addAtIndex(sampleIndexFull_, sample, fullStorage, index);
}

void StatCollectorItem::addSampleToFullStorage(const Value& sample, int fullStorage,
                                               std::int64_t index, std::uint64_t sampleID) {
    if (fullStorageForType(fullStorage))
        writeSlot(sampleIndexFull_[static_cast<std::size_t>(fullStorage)], sample, index, sampleID);
}

statsample StatCollectorItem::sampleWithIdentifierFull(std::uint64_t identifier, int type) const {
    if (fullStorageForType(type)) {
        if (auto found =
                tier::findIdentifier(sampleIndexFull_[static_cast<std::size_t>(type)], identifier))
            return *found;
    }
    return emptySample(identifier);
}

double StatCollectorItem::idForIntervalFull(int interval) const {
    return validTier(interval) ? sampleIndexFull_[static_cast<std::size_t>(interval)].sampleID
                               : 0.0;
}

int StatCollectorItem::sort(const StatCollectorItem&) const {
    return -1;
}

Value StatCollectorItem::attributeFromAttributes(const Value&) const {
    return {};
}

void StatCollectorItem::cleanup() {
    if (cleanedUp_)
        return;
    cleanedUp_ = true;
    sampleValueCount_ = 0;
    emptyValueRing_.release();
    for (std::size_t tier = 0; tier < rings_.size(); ++tier) {
        sampleIndex_[tier].valuesLoaded = false;
        sampleIndex_[tier].samples = nullptr;
        rings_[tier].release();
    }
    freeFullStorage();
}

} // namespace corvane
