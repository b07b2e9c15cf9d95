// The readers of /proc text: a kernel of another version, or a recorded tree, may hold anything.
// The first byte picks the reader, the rest is the file.
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "foundation/Log.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs may log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    switch (data[0] % 5) {
    case 0: {
        // The same parse and reading as the collector's, both files from the one text.
        const auto meminfo =
            MemoryStatCollectorLinux::parseKeyValues(text, MemoryStatCollectorLinux::kMeminfoKeys);
        const auto vmstat =
            MemoryStatCollectorLinux::parseKeyValues(text, MemoryStatCollectorLinux::kVmstatKeys);
        MemoryStatCollectorLinux::readingFrom(meminfo, vmstat, 4096);
        break;
    }
    case 1:
        MemoryStatCollectorLinux::pressureLevelFromText(text);
        break;
    case 2:
        CPUStatCollectorLinux::ticksFromStatLine(text);
        break;
    case 3:
        CPUStatCollectorLinux::parseCpuList(text);
        break;
    default:
        LoadStatCollectorLinux::parseLoadAverages(text);
    }
    return 0;
}
