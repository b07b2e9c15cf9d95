// The readers of the mount table, /proc/diskstats and udev's records: a kernel of another
// version, a recorded tree or a damaged database may hold anything. The first byte picks the
// reader, the rest is the file.
#include "collectors/disks/DiskText.h"
#include "collectors/disks/MountTable.h"
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
    switch (data[0] % 3) {
    case 0:
        // As the tree reads it: each line's network URL, then the choice of one per filesystem.
        for (const MountEntry& entry : parseMountinfo(text))
            networkURL(entry);
        volumeMounts(SysRoot("/nonexistent"), parseMountinfo(text));
        break;
    case 1:
        parseDiskstats(text);
        break;
    default:
        parseUdevData(text);
        break;
    }
    return 0;
}
