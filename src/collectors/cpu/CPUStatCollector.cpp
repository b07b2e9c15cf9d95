#include "collectors/cpu/CPUStatCollector.h"

#include <cmath>

namespace corvane {

namespace {

double finiteOrZero(double value) {
    return std::isfinite(value) ? value : 0.0;
}

std::int64_t plausibleCount(std::int64_t count) {
    return count > CPUStatCollector::kMaximumCoreCount ? 0 : count;
}

} // namespace

CPUStatCollector::CPUStatCollector(const EngineContext& context)
    : StatCollector(context, CPUStatCollectorItem::kSlotCount) {
    config() = makeConfig();
    setDbTablePrefix("cpu");
}

CPUStatCollector::~CPUStatCollector() = default;

Value CPUStatCollector::makeConfig() {
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap", Value::dict({{"u", 0},
                                      {"user", 0},
                                      {"s", 1},
                                      {"p", 1},
                                      {"system", 1},
                                      {"n", 2},
                                      {"nice", 2},
                                      {"io", 3},
                                      {"ent", 4},
                                      {"phys", 5}})},
        {"sampleKeys", Value::dict({{"user", 0}, {"system", 1}, {"nice", 2}})},
        {"emptySampleKeys", Value::array({"user", "system", "nice"})},
        {"xmlSampleKeys", Value::dict({{"u", 0}, {"s", 1}, {"n", 2}, {"ent", 4}, {"phys", 5}})},
        {"sqlCreate", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT NULL "
                      "DEFAULT 0, empty integer NOT NULL DEFAULT 0, user double NOT NULL DEFAULT "
                      "0, system double NOT NULL DEFAULT 0, nice double NOT NULL DEFAULT 0)"},
        {"sqlCreateLong", "create table %@ (sample double PRIMARY KEY NOT NULL, time double, "
                          "empty integer, user double, system double, nice double)"},
        {"sqlInsert", "insert into %@ (empty, sample, time, user, system, nice) values (?, ?, "
                      "?, ?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time", "user", "system", "nice"})},
    });
}

std::vector<std::array<std::size_t, 2>>
CPUStatCollector::physicalCorePairs(std::size_t physicalCount) {
    std::vector<std::array<std::size_t, 2>> pairs;
    for (std::size_t k = 0; k < physicalCount; ++k)
        pairs.push_back({2 * k, 2 * k + 1});
    return pairs;
}

void CPUStatCollector::setup() {
    physicalCores_.clear();
    runningTime_ = -1.0;
    const std::int64_t logical = plausibleCount(logicalCoreCount());
    const std::int64_t physical = plausibleCount(physicalCoreCount());
    hyperThreading_ = logical >= 1 && physical >= 1 && logical == 2 * physical;
    if (hyperThreading_) {
        corePairs_ = physicalCorePairs(static_cast<std::size_t>(physical));
        for (std::int64_t k = 0; k < physical; ++k)
            physicalCores_.push_back(std::make_shared<CPUStatCollectorItem>(tierCount()));
    }
    coreCount_ = logical;

    previousTicks_ = processorTicks();
    for (std::size_t i = 0; i < previousTicks_.size(); ++i) {
        std::static_pointer_cast<CPUStatCollectorItem>(newItemWithKey2("cpu" + std::to_string(i)))
            ->setBaseline(previousTicks_[i]);
    }
}

bool CPUStatCollector::takeBaseline() {
    const std::vector<Ticks> ticks = processorTicks();
    for (std::size_t i = 0; i < ticks.size(); ++i)
        rebaseline(i, ticks[i]);
    return true;
}

void CPUStatCollector::rebaseline(std::size_t processor, const Ticks& ticks) {
    if (processor >= previousTicks_.size() || processor >= items().size())
        return;
    previousTicks_[processor] = ticks;
    std::static_pointer_cast<CPUStatCollectorItem>(items()[processor])->setBaseline(ticks);
}

StatCollector::ItemPointer CPUStatCollector::itemClassInstance() const {
    return std::make_shared<CPUStatCollectorItem>(tierCount());
}

std::vector<CPUStatCollector::CoreItem> CPUStatCollector::logicalCores() const {
    std::vector<CoreItem> cores;
    for (const auto& item : items())
        cores.push_back(std::static_pointer_cast<CPUStatCollectorItem>(item));
    return cores;
}

void CPUStatCollector::updateStats() {
    const std::vector<Ticks> ticks = processorTicks();
    const auto cores = items();
    std::array<double, 4> sums{};
    double total = 0;
    // The machine's processors were counted at setup; a source always reports that many.
    const std::size_t count = std::min({ticks.size(), previousTicks_.size(), cores.size()});
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t state = 0; state < 4; ++state) {
            const double delta = tickDelta(ticks[i][state], previousTicks_[i][state]);
            sums[state] += delta;
            total += delta;
        }
        previousTicks_[i] = ticks[i];
        std::static_pointer_cast<CPUStatCollectorItem>(cores[i])->addTicks(ticks[i]);
    }
    runningTime_ = -1.0;
    if (!ticks.empty()) {
        for (auto counter : ticks[0])
            runningTime_ += static_cast<double>(counter);
    }
    if (hyperThreading_)
        addPhysicalCoreSamples();

    statsample* ring = storageForType(0);
    PushSamples(ring, sampleValueCount(), sampleIndex(0).maximumSamples);
    ring[0].values[CPUStatCollectorItem::User] = finiteOrZero(sums[0] / total * 100.0);
    ring[0].values[CPUStatCollectorItem::System] = finiteOrZero(sums[1] / total * 100.0);
    ring[0].values[CPUStatCollectorItem::Nice] = finiteOrZero(sums[3] / total * 100.0);
    ring[0].sampleID = static_cast<std::uint64_t>(sampleIndex(0).sampleID);
    // No processor read is no measurement, not an idle machine.
    ring[0].empty = count == 0 ? 1 : 0;
    ring[0].time = mainQueue().clock().now();

    updateProcessInfo();
    notifyUpdated();
}

void CPUStatCollector::addPhysicalCoreSamples() {
    const auto cores = items();
    for (std::size_t k = 0; k < physicalCores_.size(); ++k) {
        const auto [first, second] =
            k < corePairs_.size() ? corePairs_[k] : std::array<std::size_t, 2>{0, 0};
        float user = 0;
        float system = 0;
        if (k < corePairs_.size() && first < cores.size() && second < cores.size()) {
            const statsample a = cores[first]->sampleAtIndex(0, 0);
            const statsample b = cores[second]->sampleAtIndex(0, 0);
            user = static_cast<float>((finiteOrZero(a.values[CPUStatCollectorItem::User]) +
                                       finiteOrZero(b.values[CPUStatCollectorItem::User])) /
                                      2);
            system = static_cast<float>((finiteOrZero(a.values[CPUStatCollectorItem::System]) +
                                         finiteOrZero(b.values[CPUStatCollectorItem::System])) /
                                        2);
        }
        physicalCores_[k]->addSample(user, system, 0.0F);
    }
}

void CPUStatCollector::updateProcessInfo() {
    const ProcessInfo info = processInfo();
    taskCount_ = info.tasks;
    threadCount_ = info.threads;
}

void CPUStatCollector::cleanup() {
    StatCollector::cleanup();
    previousTicks_.clear();
}

} // namespace corvane
