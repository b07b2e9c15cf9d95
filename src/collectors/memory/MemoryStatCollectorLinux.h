#pragma once

#include "collectors/memory/MemoryStatCollector.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <map>
#include <memory>
#include <string>

namespace corvane {

// Memory figures from /proc/meminfo, /proc/vmstat and /proc/pressure/memory.
class MemoryStatCollectorLinux final : public MemoryStatCollector {
public:
    MemoryStatCollectorLinux(const EngineContext& context, SysRoot root,
                             std::uint64_t pageSize = 0);

    static MemoryStatCollectorLinux& sharedMemoryCollector(const EngineContext& context);
    static void cleanupShared();

    // "Name: value kB" lines as name to value.
    static std::map<std::string, std::uint64_t> parseKeyValues(std::string_view text);
    // The pressure of /proc/pressure/memory as a level: 4 when every task stalled for memory
    // at least a tenth of the last ten seconds, 2 when some did, else 1.
    static std::optional<std::int64_t> pressureLevelFromText(std::string_view text);
    // The machine's figures in the collector's terms; see the table in the source.
    static Reading readingFrom(const std::map<std::string, std::uint64_t>& meminfo,
                               const std::map<std::string, std::uint64_t>& vmstat,
                               std::uint64_t pageSize);

protected:
    Reading read() override;
    Capabilities capabilities() const override;
    std::optional<std::int64_t> readPressureLevel() override;

private:
    SysRoot root_;
    std::uint64_t pageSize_;
    SysRootFile meminfo_;
    SysRootFile vmstat_;
    SysRootFile pressure_;
    bool hasPressure_;
};

} // namespace corvane
