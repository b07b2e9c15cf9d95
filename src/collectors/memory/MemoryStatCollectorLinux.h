#pragma once

#include "collectors/memory/MemoryStatCollector.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <map>
#include <memory>
#include <span>
#include <string>

namespace corvane {

// Memory figures from /proc/meminfo, /proc/vmstat and /proc/pressure/memory.
class MemoryStatCollectorLinux final : public MemoryStatCollector {
public:
    MemoryStatCollectorLinux(const EngineContext& context, SysRoot root,
                             std::uint64_t pageSize = 0);

    static MemoryStatCollectorLinux& sharedMemoryCollector(const EngineContext& context);
    static void cleanupShared();

    // The names of /proc/meminfo and /proc/vmstat that readingFrom uses.
    static constexpr std::string_view kMeminfoKeys[] = {
        "MemTotal",       "MemFree",      "MemAvailable",   "Active(anon)",
        "Inactive(anon)", "Active(file)", "Inactive(file)", "SReclaimable",
        "AnonPages",      "SwapTotal",    "SwapFree",       "Zswap"};
    static constexpr std::string_view kVmstatKeys[] = {"pgpgin", "pgpgout"};

    // "Name: value kB" (meminfo) and "name value" (vmstat) lines as name to value, for the
    // wanted names only, or all of them when none are given.
    static std::map<std::string, std::uint64_t>
    parseKeyValues(std::string_view text, std::span<const std::string_view> wanted = {});
    // The pressure of /proc/pressure/memory as a level: 4 when every task stalled for memory
    // at least a tenth of the last ten seconds, 2 when some did, else 1.
    static std::optional<std::int64_t> pressureLevelFromText(std::string_view text);
    // The machine's figures in the collector's terms; see the table in the source.
    static Reading readingFrom(const std::map<std::string, std::uint64_t>& meminfo,
                               const std::map<std::string, std::uint64_t>& vmstat,
                               std::uint64_t pageSize);

protected:
    std::optional<Reading> read() override;
    Capabilities capabilities() const override;
    std::optional<std::int64_t> readPressureLevel() override;

private:
    SysRoot root_;
    std::uint64_t pageSize_;
    SysRootFile meminfo_;
    SysRootFile vmstat_;
    SysRootFile pressure_;
    bool hasPressure_;
    bool toldUnreadable_ = false;
};

} // namespace corvane
