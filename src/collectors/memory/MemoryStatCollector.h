#pragma once

#include "engine/StatCollector.h"

#include <cstdint>
#include <optional>

namespace corvane {

// The layout of a memory sample, the widest of all: sizes in KiB, swap in bytes, page counters
// as the system counts them, and the shares derived from them. A subclass reads the machine.
class MemoryStatCollector : public StatCollector {
public:
    // The values of a sample: kilobytes, counts of pages, and shares in percent.
    enum Slot : int {
        Total = 0, // KiB
        Free = 1,
        PageIns = 3, // pages since boot
        PageOuts = 4,
        PageInsSince = 5, // bytes since the sample before
        PageOutsSince = 6,
        SwapUsed = 7, // bytes
        SwapTotal = 8,
        UsedWithInactive = 9, // percent
        Wired = 10,           // KiB
        Active = 11,
        Inactive = 12,
        Compressed = 13,
        WiredAndCompressed = 14, // percent: the pressure graph
        FileCache = 15,          // KiB
        ApplicationMemory = 16,
        PressureLevel = 17,       // 1 normal, 2 warning, 4 critical
        UsedWithoutInactive = 18, // percent
    };
    static constexpr std::int64_t kSlotCount = 19;

    // The machine's figures as one reading. Page counts are in pages of `pageSize` bytes.
    struct Reading {
        std::uint64_t pageSize = 4096;
        std::uint64_t freePages = 0;
        std::uint64_t activePages = 0;
        std::uint64_t inactivePages = 0;
        std::uint64_t wiredPages = 0;
        std::uint64_t compressorPages = 0; // memory held compressed
        std::uint64_t externalPages = 0;   // file-backed: the file cache
        std::uint64_t internalPages = 0;   // anonymous: application memory
        std::uint64_t purgeablePages = 0;  // memory an application lets the system drop
        std::uint64_t pageins = 0;         // cumulative
        std::uint64_t pageouts = 0;        // cumulative
        std::uint64_t swapUsed = 0;        // bytes
        std::uint64_t swapTotal = 0;       // bytes
        std::uint64_t installedMemory = 0; // bytes; 0 when unknown
    };

    // What the source can tell; a source without a compressor leaves those slots alone.
    struct Capabilities {
        bool hasCompressor = true;   // compressed, file cache and application memory
        bool movesPurgeable = false; // purgeable memory counts as file cache
        bool hasPressureLevel = true;
    };

    explicit MemoryStatCollector(const EngineContext& context);

    static Value makeConfig();
    void updateStats() override;

    std::int64_t pressureLevel() const { return pressureLevel_; }
    Capabilities sourceCapabilities() const { return capabilities(); }

protected:
    // The machine's figures, or nothing when they cannot be read.
    virtual std::optional<Reading> read() = 0;
    virtual Capabilities capabilities() const = 0;
    // The system's memory pressure level (1 normal, 2 warning, 4 critical), nothing if unknown.
    virtual std::optional<std::int64_t> readPressureLevel() = 0;

private:
    void writeSample(const Reading& reading, statsample* ring);
    void writeEmptySample(statsample& sample) const;

    std::int64_t pressureLevel_ = 0;
};

} // namespace corvane
