#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// Readers of the kernel's and udev's text about block devices. They take any bytes: a line
// that does not read is skipped, never guessed at.

// One line of /proc/self/mountinfo.
struct MountEntry {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::string root;       // the path inside the filesystem that is mounted ("/" or "/@home")
    std::string mountPoint; // octal escapes (\040) undone
    std::string fsType;
    std::string source;
};
std::vector<MountEntry> parseMountinfo(std::string_view text);

// The counters of one line of /proc/diskstats. Sectors are 512 bytes whatever the disk's own.
struct DiskCounters {
    std::string name;
    std::uint64_t readOperations = 0;
    std::uint64_t readSectors = 0;
    std::uint64_t writeOperations = 0;
    std::uint64_t writeSectors = 0;
};
std::vector<DiskCounters> parseDiskstats(std::string_view text);

// The properties ("E:NAME=value") of a device's record in /run/udev/data.
std::map<std::string, std::string, std::less<>> parseUdevData(std::string_view text);

} // namespace corvane
