#include "engine/StatCollector.h"

#include "engine/CollectorHistory.h"
#include "engine/SleepWakeSource.h"
#include "engine/TierOperations.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cxxabi.h>
#include <typeinfo>

namespace corvane {

namespace {

std::string className(const StatCollectorItem& item) {
    int status = 0;
    const char* mangled = typeid(item).name();
    char* demangled = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    std::string name = status == 0 && demangled ? demangled : mangled;
    std::free(demangled);
    return name;
}

std::vector<std::string> splitKeys(const std::string& joined) {
    std::vector<std::string> keys;
    std::size_t start = 0;
    while (start <= joined.size()) {
        const auto bar = joined.find('|', start);
        const auto end = bar == std::string::npos ? joined.size() : bar;
        keys.push_back(joined.substr(start, end - start));
        if (bar == std::string::npos)
            break;
        start = bar + 1;
    }
    return keys;
}

// A sample identifier from a dictionary value; 0 for anything that is not one.
std::uint64_t identifierValue(const Value& value) {
    const double id = value.doubleValue();
    return id >= 1.0 && id <= tier::kLargestIdentifier ? static_cast<std::uint64_t>(id) : 0;
}

} // namespace

StatCollector::StatCollector(const EngineContext& context, std::int64_t sampleCount)
    : queue_(context.queue)
    , historyFiles_(context.historyFiles)
    , tierCount_(std::clamp(context.tierCount, 1, kMaximumTierCount))
    , sampleValueCount_(std::max<std::int64_t>(sampleCount, 0))
    , sampleIndex_(static_cast<std::size_t>(tierCount_))
    , rings_(static_cast<std::size_t>(tierCount_))
    , config_(Value::Dictionary{})
    , dbTables_(static_cast<std::size_t>(tierCount_))
    , dbTablesItems_(static_cast<std::size_t>(tierCount_)) {
    for (int tier = 0; tier < tierCount_; ++tier) {
        const auto& row = kSampleTierTable[static_cast<std::size_t>(tier)];
        sampleindexconfig& config = tierAt(tier);
        config.interval = row.interval;
        config.historyIndex = row.historyIndex;
        if (!tierHasRing(tier))
            continue;
        config.maximumSamples = kMaximumSamples;
        rings_[static_cast<std::size_t>(tier)].allocate(kMaximumSamples, sampleValueCount_);
        config.samples = rings_[static_cast<std::size_t>(tier)].records();
        config.valuesLoaded = true;
    }
    tierAt(0).sampleID = 1.0;
    emptyValueRing_.allocate(1, sampleValueCount_);
    updaterFinishBlock_ = [](StatCollector& collector) { collector.notifyUpdated(); };
    session_ = static_cast<std::int64_t>(std::floor(queue_.clock().now()));
    if (loggingBuild()) {
        dbpath_ = Paths::stateDirectory() / "history.sqlite";
        dbpathLong_ = Paths::stateDirectory() / "history-long.sqlite";
    }
    clearAllStorages();
    if (context.sleepWake) {
        sleepObservation_ = context.sleepWake->observeWillSleep([this] { sleep(); });
        wakeObservation_ = context.sleepWake->observeDidWake([this] { wake(); });
    }
}

StatCollector::~StatCollector() {
    if (beatTimer_)
        queue_.cancel(beatTimer_);
    if (enableDatabasePending_)
        queue_.cancel(enableDatabaseTimer_);
}

template <class Task>
void StatCollector::later(double delay, Task task, MainQueue::TimerId* id) {
    std::weak_ptr<int> alive = alive_;
    const auto timer = queue_.after(delay, [alive, task = std::move(task)]() mutable {
        if (!alive.expired())
            task();
    });
    if (id)
        *id = timer;
}

// Tiers ---------------------------------------------------------------------------------------

sampleindexconfig StatCollector::sampleIndex(int tier) const {
    return validTier(tier) ? tierAt(tier) : sampleindexconfig{};
}

statsample* StatCollector::storageForType(int type) const {
    if (type > 1 || !validTier(type))
        return nullptr;
    return tierAt(type).samples;
}

statsample StatCollector::sampleAtIndex(std::int64_t index, int type) const {
    if (!validTier(type) || !tierAt(type).samples || index < 0 ||
        index >= tierAt(type).maximumSamples)
        return statsample{0, 0.0, 1, emptyValueRing_.records()[0].values};
    return tierAt(type).samples[index];
}

statsample StatCollector::sampleWithIdentifier(std::uint64_t identifier, int type) const {
    if (validTier(type)) {
        if (auto found = tier::findIdentifier(tierAt(type), identifier))
            return *found;
    }
    // A reader gets a gap, not an error.
    statsample empty = emptyValueRing_.records()[0];
    empty.empty = 1;
    empty.sampleID = identifier;
    return empty;
}

double StatCollector::lastTimeForType(int type) const {
    const statsample* ring = validTier(type) ? tierAt(type).samples : nullptr;
    return ring && ring[0].sampleID != 0 ? ring[0].time : 0.0;
}

bool StatCollector::hasReading() const {
    const statsample* ring = tierAt(0).samples;
    return ring && ring[0].sampleID != 0 && ring[0].empty == 0;
}

std::uint64_t StatCollector::lastIDForType(int type) const {
    const statsample* ring = validTier(type) ? tierAt(type).samples : nullptr;
    return ring ? ring[0].sampleID : 0;
}

std::uint64_t StatCollector::lowestSampleForStorageType(int type) const {
    if (storageType_ != kStorageItems)
        return lastIDForType(type);
    std::optional<std::uint64_t> lowest;
    for (const auto& item : immutableItems()) {
        if (!item->loadedValuesAtIndex(type))
            continue;
        const std::uint64_t id = item->lowestSampleForStorageType(type);
        lowest = lowest ? std::min(*lowest, id) : id;
    }
    return lowest.value_or(0);
}

double StatCollector::idForInterval(int interval) const {
    return validTier(interval) ? tierAt(interval).sampleID : 0.0;
}

void StatCollector::setID(double sampleID, int interval) {
    if (validTier(interval))
        tierAt(interval).sampleID = sampleID;
}

void StatCollector::setUpdated(bool updated, int interval) {
    if (validTier(interval))
        tierAt(interval).updated = updated;
}

bool StatCollector::updatedForInterval(int interval) const {
    return validTier(interval) && tierAt(interval).updated;
}

// Adding --------------------------------------------------------------------------------------

void StatCollector::addSample(const Value& sample, int storageIndex) {
    if (!validTier(storageIndex))
        return;
    sampleindexconfig& tier = tierAt(storageIndex);
    statsample* ring = tier.samples;
    if (!ring || tier.maximumSamples < 1)
        return;
    if (storageType_ == kStorageItems) {
        // The items hold the values; this ring only numbers and times the samples.
        for (std::int64_t slot = tier.maximumSamples - 1; slot >= 1; --slot) {
            ring[slot].sampleID = ring[slot - 1].sampleID;
            ring[slot].time = ring[slot - 1].time;
        }
        ring[0].sampleID = identifierValue(sample["sample"]);
        ring[0].time = sample["time"].doubleValue();
        return;
    }
    const auto id = tier::identifierForSample(config_, sample, ring[0].sampleID);
    if (!id)
        return;
    PushSamples(ring, sampleValueCount_, tier.maximumSamples);
    addSample(sample, storageIndex, *id, 0);
}

void StatCollector::addSampleAtIndex(const Value& sample, int storageIndex, std::int64_t index) {
    if (!validTier(storageIndex) || !tierAt(storageIndex).samples)
        return;
    const auto id =
        tier::identifierForSample(config_, sample, tierAt(storageIndex).samples[0].sampleID);
    if (id)
        addSample(sample, storageIndex, *id, index);
}

void StatCollector::addSampleWithID(const Value& sample, int storageIndex, std::uint64_t sampleID) {
    if (!validTier(storageIndex) || !tierAt(storageIndex).samples)
        return;
    PushSamples(tierAt(storageIndex).samples, sampleValueCount_,
                tierAt(storageIndex).maximumSamples);
    addSample(sample, storageIndex, sampleID, 0);
}

void StatCollector::addSample(const Value& sample, int storageIndex, std::uint64_t sampleID,
                              std::int64_t index) {
    if (!validTier(storageIndex))
        return;
    sampleindexconfig& tier = tierAt(storageIndex);
    if (!tier.samples || index < 0 || index >= tier.maximumSamples)
        return;
    tier::writeSlot(config_, sample, tier.samples[index], sampleValueCount_, sampleID,
                    tier::EmptyRule::Integer);
}

// Reading -------------------------------------------------------------------------------------

Value StatCollector::averagesForIndex(int tierIndex) const {
    if (!validTier(tierIndex))
        return {};
    return tier::averagesForPeriod(sampleIndex_, tierIndex, config_, sampleValueCount_,
                                   tier::PeriodRule::Collector, queue_.clock().now());
}

Value StatCollector::historyItemForIndex(int tier) const {
    return averagesForIndex(tier);
}

Value StatCollector::historyItemsForIndex(int tier) const {
    Value list = Value::Array{};
    for (const auto& item : immutableItems()) {
        if (item->temporary() || item->nohistory())
            continue;
        Value entry = item->historyItemForIndex(tier);
        if (!entry.isNull())
            list.append(std::move(entry));
    }
    return Value::dict({{"items", std::move(list)}, {"empty", 0}});
}

Value StatCollector::historySampleForIndex(int tier) const {
    return storageType_ == kStorageItems ? historyItemsForIndex(tier) : historyItemForIndex(tier);
}

bool StatCollector::indexesBelowValue(std::span<const int> indexes, double value,
                                      double forTime) const {
    return tier::indexesKeptThreshold(tierAt(0), sampleValueCount_, indexes, value, forTime,
                                      queue_.clock().now(), tier::Threshold::Below);
}

bool StatCollector::indexesAboveValue(std::span<const int> indexes, double value,
                                      double forTime) const {
    return tier::indexesKeptThreshold(tierAt(0), sampleValueCount_, indexes, value, forTime,
                                      queue_.clock().now(), tier::Threshold::AtOrAbove);
}

void StatCollector::clearStorageForType(int type) {
    for (const auto& item : immutableItems())
        item->clearStorageForType(type);
    if (!validTier(type))
        return;
    sampleindexconfig& tier = tierAt(type);
    if (!tier.valuesLoaded || !tier.samples)
        return;
    for (std::int64_t slot = 0; slot < tier.maximumSamples; ++slot) {
        statsample& sample = tier.samples[slot];
        sample.empty = 1;
        sample.sampleID = 0;
        std::fill_n(sample.values, sampleValueCount_, 0.0);
    }
}

void StatCollector::freeFullStorage() {
    for (const auto& item : immutableItems()) {
        item->setLoadingHistory(false);
        item->setLoadedHistory(false);
        item->freeFullStorage();
    }
}

Value StatCollector::emptySampleWithIdentifier(double identifier, double time) const {
    Value sample = Value::dict({{"sample", identifier}, {"time", time}, {"empty", 1}});
    const Value& names = config_["emptySampleKeys"];
    for (const Value& name : names.arrayItems())
        sample.set(name.stringValue(), 0);
    for (const auto& [name, unused] : names.dictionaryItems())
        sample.set(name, 0);
    return sample;
}

// The cycle -----------------------------------------------------------------------------------

void StatCollector::startLogging() {
    std::weak_ptr<int> alive = alive_;
    queue_.async([this, alive] {
        if (alive.expired() || stopped_)
            return;
        if (loggingBuild() && !preparedDatabase_)
            prepareDatabase();
        const double now = queue_.clock().now();
        sampleindexconfig& live = tierAt(0);
        // The first beat falls on a whole second, never sooner than 0.1 s from now.
        live.nextTime = std::ceil(now);
        if (live.nextTime - now < 0.1)
            live.nextTime += 1.0;
        updateSequence_ = 0;
        armBeat(live.nextTime - now, &StatCollector::firstBeat);
    });
}

void StatCollector::firstBeat() {
    if (stopped_)
        return;
    if (!takeBaseline()) {
        updateSamplesAndLogging();
        return;
    }
    // Counters read now make the first sample a whole second's worth, on the next beat.
    tierAt(0).nextTime += 1.0;
    armBeat(delayToNextBeat());
}

void StatCollector::armBeat(double delay, void (StatCollector::*beat)()) {
    if (beatTimer_)
        queue_.cancel(beatTimer_);
    later(
        delay,
        [this, beat] {
            beatTimer_ = 0;
            (this->*beat)();
        },
        &beatTimer_);
}

double StatCollector::delayToNextBeat() {
    sampleindexconfig& live = tierAt(0);
    const double now = queue_.clock().now();
    const double delay = live.nextTime - now;
    if (delay >= 0 && delay <= 2.0)
        return delay;
    // The clock jumped or the beat slipped: aim at the next whole second; lost beats stay lost.
    live.nextTime = std::ceil(now) + 1.0;
    return live.nextTime - now;
}

void StatCollector::updateSamplesAndLogging() {
    if (stopped_)
        return;
    _updateSamplesAndLogging();
}

void StatCollector::_updateSamplesAndLogging() {
    sampleindexconfig& live = tierAt(0);
    live.time = live.nextTime;
    if (shouldUpdateStateForSequence(updateSequence_)) {
        live.sampleID += 1.0;
        updateStatsForSequence(updateSequence_);
    }
    updateHistory();
    updateSequence_ += 1;
    live.nextTime += 1.0;
    armBeat(delayToNextBeat());
}

void StatCollector::updateStats() {}

void StatCollector::updateStatsForSequence(std::int64_t) {
    updateStats();
}

bool StatCollector::shouldUpdateStateForSequence(std::int64_t sequence) {
    const auto delegates = delegates_;
    for (StatCollectorDelegate* delegate : delegates) {
        if (delegate->collectorShouldUpdateStateForSequence(*this, sequence).value_or(false))
            return true;
    }
    // Without listeners a collector keeps sampling; with them, only when one wants it.
    return delegates.empty();
}

double StatCollector::updateFrequencyForVersion(std::int64_t) const {
    return 2.0;
}

void StatCollector::notifyUpdated() {
    if (threadedUpdating()) {
        // Updated off the main queue: the delegates hear of it on the main queue.
        std::weak_ptr<int> alive = alive_;
        queue_.async([this, alive] {
            if (!alive.expired())
                notifyDelegatesUpdated();
        });
        return;
    }
    notifyDelegatesUpdated();
}

void StatCollector::notifyDelegatesUpdated() {
    const auto delegates = delegates_;
    for (StatCollectorDelegate* delegate : delegates) {
        if (std::find(delegates_.begin(), delegates_.end(), delegate) != delegates_.end())
            delegate->collectorUpdatedForMode(*this, 0);
    }
}

void StatCollector::resetUpdateSequence() {
    if (loggingBuild())
        updateSequence_ = 0;
}

void StatCollector::updateHistory() {
    if (!automaticSampleUpdates_ || !loggingBuild())
        return;
    if (history_)
        history_->beginBatch();
    // Ascending, so that a tier ending a period in this beat already holds the sample that the
    // tier above it averages.
    for (int tier = 1; tier < tierCount_; ++tier) {
        checkNextTimeAtIndex(tier);
        fillGapsAtIndex(tier);
    }
    if (history_)
        history_->commitBatch();
}

// Tier clocks and gap filling -----------------------------------------------------------------

void StatCollector::checkNextTimeAtIndex(int tierIndex) {
    if (!validTier(tierIndex))
        return;
    sampleindexconfig& tier = tierAt(tierIndex);
    if (tier.nextTime != 0)
        return;
    const double now = queue_.clock().now();
    if (tierIndex == kLongTermTier) {
        const double aligned = std::ceil(now / kLongTermAlignment) * kLongTermAlignment;
        tier.nextTime = aligned;
        // The first long-term period is never a stub.
        if (aligned - now < 60.0)
            tier.nextTime = aligned + tier.interval;
    } else {
        tier.nextTime = std::ceil(now) + tier.interval;
    }
    tier.time = tier.nextTime - tier.interval;
    tier.sampleID = 0;
}

void StatCollector::fillGaps() {
    if (!loggingBuild())
        return;
    for (int tier = 1; tier < tierCount_; ++tier)
        fillGapsAtIndex(tier);
}

void StatCollector::fillGapsAtIndex(int tierIndex) {
    if (!validTier(tierIndex))
        return;
    sampleindexconfig& tier = tierAt(tierIndex);
    if (tier.time == 0)
        return;
    const double now = queue_.clock().now();
    if (!(tier.nextTime < now)) {
        tier.fillingGap = true;
        return;
    }
    const double cutoff = now - static_cast<double>(kMaximumSamples) * tier.interval;
    while (tier.nextTime < now) {
        tier.sampleID += 1.0;
        tier.time = tier.nextTime;
        tier.nextTime += tier.interval;
        tier.fillingGap = true;
        // A period this old would fall off the ring at once: it is only counted.
        if (tierIndex != kLongTermTier && tier.time < cutoff)
            continue;
        for (const auto& item : immutableItems()) {
            item->setTime(tier.time, tierIndex);
            item->setNextTime(tier.nextTime, tierIndex);
            item->setSampleID(tier.sampleID, tierIndex);
        }
        insertSampleWithIndex(tierIndex);
    }
    tier.fillingGap = true;
}

void StatCollector::addItemsSample(const Value& sample, int tier, std::vector<Value>* itemRows) {
    for (const Value& share : sample["items"].arrayItems()) {
        ItemPointer item = itemWithKey(share["uuid"], false);
        if (!item)
            continue;
        // The period's end labels item rows as it labels the collector's, so that both rings
        // and both tables line up.
        Value row = share;
        row.set("sample", sample["sample"]);
        row.set("time", sample["time"]);
        if (tier != kLongTermTier)
            item->addSample(row, tier);
        if (itemRows)
            itemRows->push_back(std::move(row));
    }
}

void StatCollector::insertSampleWithIndex(int tierIndex) {
    if (!validTier(tierIndex))
        return;
    // The long-term tier has no ring: a period that cannot be written leaves nothing behind,
    // so a long sleep costs no averaging.
    if (tierIndex == kLongTermTier && !(databaseEnabled_ && history_))
        return;
    Value sample = historySampleForIndex(tierIndex);
    if (sample.isNull())
        return;
    const sampleindexconfig& tier = tierAt(tierIndex);
    if (Value::Dictionary& entries = sample.mutableDictionary(); entries.count("items")) {
        for (Value& share : entries["items"].mutableArray())
            share.set("sample", tier.sampleID);
    }
    sample.set("sample", tier.sampleID);
    sample.set("time", tier.time);
    if (tierIndex == kLongTermTier) {
        addLongTermSample(sample);
        return;
    }
    addSample(sample, tierIndex);
    std::vector<Value> itemRows;
    if (storageType_ == kStorageItems)
        addItemsSample(sample, tierIndex, &itemRows);
    if (databaseEnabled_ && history_)
        history_->write(tierIndex, sample, itemRows);
}

void StatCollector::addLongTermSample(const Value& sample) {
    if (!loggingBuild() || !databaseEnabled_ || !history_)
        return;
    std::vector<Value> itemRows;
    if (storageType_ == kStorageItems)
        addItemsSample(sample, kLongTermTier, &itemRows);
    history_->write(kLongTermTier, sample, itemRows);
}

void StatCollector::prepareDatabase() {
    history_ = std::make_unique<CollectorHistory>(*this);
    preparedDatabase_ = history_->prepare();
    if (!preparedDatabase_)
        history_.reset();
}

// Sleep and wake ------------------------------------------------------------------------------

void StatCollector::sleep() {
    databaseEnabled_ = false;
    if (enableDatabasePending_) {
        queue_.cancel(enableDatabaseTimer_);
        enableDatabasePending_ = false;
    }
}

void StatCollector::wake() {
    if (enableDatabasePending_)
        queue_.cancel(enableDatabaseTimer_);
    enableDatabasePending_ = true;
    later(
        60.0,
        [this] {
            enableDatabasePending_ = false;
            enableDatabase();
        },
        &enableDatabaseTimer_);
}

void StatCollector::enableDatabase() {
    databaseEnabled_ = true;
}

// Items ---------------------------------------------------------------------------------------

StatCollector::ItemPointer StatCollector::itemClassInstance() const {
    return std::make_shared<StatCollectorItem>(sampleValueCount_, tierCount_);
}

StatCollector::ItemPointer StatCollector::itemWithKey(const Value& key, bool temporary) {
    if (key.isNull())
        return nullptr;
    const std::string wanted = key.isString() ? key.string() : key.stringValue();
    for (const auto& item : immutableItems()) {
        if (!temporary && item->temporary())
            continue;
        if (item->key() == wanted)
            return item;
    }
    if (!temporary)
        return nullptr;
    ItemPointer item = newItemWithKey(wanted);
    item->setTemporary(true);
    return item;
}

StatCollector::ItemPointer StatCollector::newItemWithKey(const std::string& key) {
    return makeItem(key, true);
}

StatCollector::ItemPointer StatCollector::newItemWithKey2(const std::string& key) {
    return makeItem(key, false);
}

StatCollector::ItemPointer StatCollector::makeItem(const std::string& key, bool logCreation) {
    for (const auto& item : immutableItems()) {
        if (item->key() == key) {
            item->setTemporary(false);
            return item;
        }
    }
    ItemPointer item = itemClassInstance();
    if (logCreation)
        CVBLog("creating new item %s", className(*item).c_str());
    for (const auto& [name, value] : config_.dictionaryItems())
        item->config().set(name, value);
    item->setKey(key);
    item->setTemporary(false);
    item->setParent(this);
    item->setCreationTime(queue_.clock().now());
    items_.push_back(item);
    if (history_ && history_->loadItem(*item))
        itemLoadedValues(item);
    return item;
}

void StatCollector::sort() {
    // An insertion sort that moves an item only when its `sort:` asks for it, so that a
    // comparison answering -1 whatever it is given leaves the order alone.
    for (std::size_t i = 1; i < items_.size(); ++i) {
        for (std::size_t j = i; j > 0 && items_[j - 1]->sort(*items_[j]) > 0; --j)
            std::swap(items_[j - 1], items_[j]);
    }
}

bool StatCollector::removeOldItems() {
    const auto before = items_.size();
    std::erase_if(items_, [](const ItemPointer& item) { return !item->exists(); });
    return items_.size() != before;
}

void StatCollector::itemLoadedValues(const ItemPointer& item) {
    if (!item)
        return;
    std::weak_ptr<StatCollectorItem> weakItem = item;
    later(0.0, [this, weakItem] {
        ItemPointer loaded = weakItem.lock();
        if (!loaded)
            return;
        const auto delegates = delegates_;
        for (StatCollectorDelegate* delegate : delegates) {
            if (std::find(delegates_.begin(), delegates_.end(), delegate) != delegates_.end())
                delegate->collectorLoadedValueForItem(*this, *loaded);
        }
    });
}

void StatCollector::notifyChildrenChanged() {
    const auto delegates = delegates_;
    for (StatCollectorDelegate* delegate : delegates) {
        if (std::find(delegates_.begin(), delegates_.end(), delegate) != delegates_.end())
            delegate->collectorChildrenChanged(*this);
    }
}

// Selection -----------------------------------------------------------------------------------

void StatCollector::addSelectionKeyItem(const std::string& key) {
    if (!selectionKey_ || selectionKey_->empty()) {
        selectionKey_ = key;
        return;
    }
    const auto keys = splitKeys(*selectionKey_);
    if (std::find(keys.begin(), keys.end(), key) == keys.end())
        *selectionKey_ += "|" + key;
}

void StatCollector::removeSelectionKeyItem(const std::string& key) {
    if (!selectionKey_ || selectionKey_->empty()) {
        selectionKey_.reset();
        return;
    }
    std::string joined;
    for (const std::string& part : splitKeys(*selectionKey_)) {
        if (part == key)
            continue;
        joined += (joined.empty() ? "" : "|") + part;
    }
    if (joined.empty())
        selectionKey_.reset();
    else
        selectionKey_ = joined;
}

// Delegates and the end -----------------------------------------------------------------------

void StatCollector::addDelegate(StatCollectorDelegate* delegate) {
    if (delegate && std::find(delegates_.begin(), delegates_.end(), delegate) == delegates_.end())
        delegates_.push_back(delegate);
}

void StatCollector::removeDelegate(StatCollectorDelegate* delegate) {
    std::erase(delegates_, delegate);
}

void StatCollector::cleanup() {
    stopped_ = true;
    delegates_.clear();
}

} // namespace corvane
