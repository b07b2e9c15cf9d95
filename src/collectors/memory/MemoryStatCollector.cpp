#include "collectors/memory/MemoryStatCollector.h"

#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

double kib(std::uint64_t pages, std::uint64_t pageSize) {
    return static_cast<double>(pages) * static_cast<double>(pageSize) * 0.0009765625;
}

// The single-precision size of the compressor's figures, as those slots have always been
// computed.
double kibSingle(std::uint64_t pages, std::uint64_t pageSize) {
    return static_cast<double>(static_cast<float>(pages) * static_cast<float>(pageSize) *
                               0.0009765625F);
}

// Bytes paged since the sample before; a counter that was reset or wrapped gives 0.
double sinceBefore(double now, double before, std::uint64_t pageSize) {
    const double bytes = (now - before) * static_cast<double>(pageSize);
    if (before == 0 || std::isnan(bytes) || bytes < 0)
        return 0;
    return bytes;
}

} // namespace

MemoryStatCollector::MemoryStatCollector(const EngineContext& context)
    : StatCollector(context, kSlotCount) {
    config() = makeConfig();
    setDbTablePrefix("memory");
}

Value MemoryStatCollector::makeConfig() {
    const Value sampleKeys = Value::dict({{"wired", 10},
                                          {"active", 11},
                                          {"inactive", 12},
                                          {"compressed", 13},
                                          {"free", 1},
                                          {"total", 0},
                                          {"pageins", 3},
                                          {"pageouts", 4},
                                          {"swapused", 7},
                                          {"swaptotal", 8},
                                          {"pagesinsf", 5},
                                          {"pageoutsf", 6}});
    Value emptyKeys = Value::array();
    for (const auto& [name, slot] : sampleKeys.dictionaryItems())
        emptyKeys.append(name);
    const char* create =
        "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT NULL DEFAULT 0, "
        "empty integer NOT NULL DEFAULT 0, wired double NOT NULL DEFAULT 0, active double NOT "
        "NULL DEFAULT 0, inactive double NOT NULL DEFAULT 0, free double NOT NULL DEFAULT 0, "
        "pageins double NOT NULL DEFAULT 0, pageouts double NOT NULL DEFAULT 0, swapused double "
        "NOT NULL DEFAULT 0, swaptotal double NOT NULL DEFAULT 0, total double NOT NULL DEFAULT "
        "0, compressed double NOT NULL DEFAULT 0, pagesinsf double NOT NULL DEFAULT 0, pageoutsf "
        "double NOT NULL DEFAULT 0)";
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"sqlCreate", create},
        {"sqlCreateLong", create},
        {"sqlInsert",
         "insert into %@ (empty, sample, time, wired, active, inactive, free, pageins, pageouts, "
         "swapused, swaptotal, total, compressed, pagesinsf, pageoutsf) values (?, ?, ?, ?, ?, ?, "
         "?, ?, ?, ?, ?, ?, ?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time", "wired", "active", "inactive",
                                        "free", "pageins", "pageouts", "swapused", "swaptotal",
                                        "total", "compressed", "pagesinsf", "pageoutsf"})},
        {"addSampleMap",
         Value::dict({{"w", 10},   {"wired", 10},      {"a", 11},        {"active", 11},
                      {"i", 12},   {"inactive", 12},   {"f", 1},         {"free", 1},
                      {"pi", 3},   {"pageins", 3},     {"po", 4},        {"pageouts", 4},
                      {"su", 7},   {"swapused", 7},    {"st", 8},        {"swaptotal", 8},
                      {"t", 0},    {"to", 0},          {"total", 0},     {"u", 2},
                      {"c", 13},   {"compressed", 13}, {"pressure", 14}, {"vt", 14},
                      {"buf", 14}, {"ca", 15},         {"va", 15},       {"filecache", 15},
                      {"app", 16}, {"file", 16},       {"ex", 17},       {"pagesinsf", 5},
                      {"pif", 5},  {"pageoutsf", 6},   {"pof", 6}})},
        {"sampleKeys", sampleKeys},
        {"emptySampleKeys", emptyKeys},
        {"xmlSampleKeys", Value::dict({{"w", 10},
                                       {"a", 11},
                                       {"i", 12},
                                       {"f", 1},
                                       {"pi", 3},
                                       {"po", 4},
                                       {"su", 7},
                                       {"st", 8},
                                       {"to", 0},
                                       {"c", 13},
                                       {"pressure", 14},
                                       {"filecache", 15},
                                       {"app", 16},
                                       {"pif", 5},
                                       {"pof", 6}})},
        {"xmlSampleMultiply", 1024},
        {"xmlSampleMultiplyProtocols", Value::array({3})},
        {"xmlSampleMultiplyExcludeKeys",
         Value::array({"pi", "po", "pif", "pof", "pressure", "st", "su"})},
        {"xmlSampleDivide", 1048576},
        {"xmlSampleDivideProtocols", Value::array({2})},
        {"xmlSampleDivideExcludeKeys", Value::array({"pi", "po", "pressure"})},
    });
}

void MemoryStatCollector::updateStats() {
    const std::optional<Reading> reading = read();
    statsample* ring = storageForType(0);
    PushSamples(ring, sampleValueCount(), sampleIndex(0).maximumSamples);
    if (reading)
        writeSample(*reading, ring);
    else
        writeEmptySample(ring[0]);
    notifyUpdated();
}

void MemoryStatCollector::writeEmptySample(statsample& sample) const {
    // Nothing read is no measurement: zeros with the slot marked empty, never zeros that pass
    // for a machine without memory.
    std::fill_n(sample.values, sampleValueCount(), 0.0);
    sample.sampleID = static_cast<std::uint64_t>(sampleIndex(0).sampleID);
    sample.empty = 1;
    sample.time = mainQueue().clock().now();
}

void MemoryStatCollector::writeSample(const Reading& r, statsample* ring) {
    const Capabilities can = capabilities();
    double* v = ring[0].values;
    const double* before = ring[1].values;
    v[Compressed] = 0;
    v[Wired] = kib(r.wiredPages, r.pageSize);
    v[Active] = kib(r.activePages, r.pageSize);
    v[Inactive] = kib(r.inactivePages, r.pageSize);
    v[Free] = kib(r.freePages, r.pageSize);
    v[PageIns] = static_cast<double>(r.pageins);
    v[PageOuts] = static_cast<double>(r.pageouts);
    v[SwapUsed] = static_cast<double>(r.swapUsed);
    v[SwapTotal] = static_cast<double>(r.swapTotal);
    v[PageInsSince] = sinceBefore(v[PageIns], before[PageIns], r.pageSize);
    v[PageOutsSince] = sinceBefore(v[PageOuts], before[PageOuts], r.pageSize);
    if (can.hasCompressor) {
        v[Compressed] = kibSingle(r.compressorPages, r.pageSize);
        v[FileCache] = kibSingle(r.externalPages, r.pageSize);
        v[ApplicationMemory] = kibSingle(r.internalPages, r.pageSize);
        if (can.movesPurgeable) {
            const auto purgeable = std::min(r.purgeablePages, r.internalPages);
            v[ApplicationMemory] = kibSingle(r.internalPages - purgeable, r.pageSize);
            v[FileCache] = kibSingle(r.externalPages + r.purgeablePages, r.pageSize);
        }
    }
    ring[0].sampleID = static_cast<std::uint64_t>(sampleIndex(0).sampleID);
    ring[0].empty = 0;
    ring[0].time = mainQueue().clock().now();

    // Slot 0 still holds the total of the sample before: the shares follow a change of the
    // total one sample late, and the first sample of a ring divides by zero.
    const double total = v[Total];
    const double w = v[Wired], a = v[Active], i = v[Inactive], c = v[Compressed];
    const double withInactive = (w + a + c + i) / total * 100;
    const double withoutInactive = (w + a + c) / total * 100;
    const double pressure = (w + c) / total * 100;
    v[UsedWithInactive] = std::isnan(withInactive) ? 0 : withInactive;
    v[UsedWithoutInactive] = std::isnan(withoutInactive) ? 0 : withoutInactive;
    v[WiredAndCompressed] = std::isfinite(pressure) ? pressure : 0;

    v[Total] = r.installedMemory > 0 ? static_cast<double>(r.installedMemory) * 0.0009765625
                                     : i + w + a + v[Free];
    if (can.hasPressureLevel) {
        if (auto level = readPressureLevel())
            pressureLevel_ = *level;
        v[PressureLevel] = static_cast<double>(pressureLevel_);
    }
}

} // namespace corvane
