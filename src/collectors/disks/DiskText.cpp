#include "collectors/disks/DiskText.h"

#include "foundation/TextParsing.h"

namespace corvane {

namespace {

// mountinfo writes space, tab, newline and backslash as three octal digits.
std::string unescapeOctal(std::string_view field) {
    const auto octal = [&](std::size_t at) {
        return at < field.size() && field[at] >= '0' && field[at] <= '7';
    };
    std::string out;
    out.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
            out.push_back(static_cast<char>(((field[i + 1] - '0') << 6) |
                                            ((field[i + 2] - '0') << 3) | (field[i + 3] - '0')));
            i += 3;
            continue;
        }
        out.push_back(field[i]);
    }
    return out;
}

bool parseDevice(std::string_view field, MountEntry& entry) {
    const auto colon = field.find(':');
    if (colon == std::string_view::npos)
        return false;
    const auto major = parseUnsigned(field.substr(0, colon));
    const auto minor = parseUnsigned(field.substr(colon + 1));
    if (!major || !minor || *major > UINT32_MAX || *minor > UINT32_MAX)
        return false;
    entry.major = static_cast<std::uint32_t>(*major);
    entry.minor = static_cast<std::uint32_t>(*minor);
    return true;
}

} // namespace

std::vector<MountEntry> parseMountinfo(std::string_view text) {
    std::vector<MountEntry> entries;
    for (std::string_view line : splitLines(text)) {
        const auto fields = splitWhitespace(line);
        // id parent major:minor root point options [optional...] - type source superoptions
        std::size_t separator = 6;
        while (separator < fields.size() && fields[separator] != "-")
            ++separator;
        if (fields.size() < 7 || separator + 2 >= fields.size())
            continue;
        MountEntry entry;
        if (!parseDevice(fields[2], entry))
            continue;
        entry.root = unescapeOctal(fields[3]);
        entry.mountPoint = unescapeOctal(fields[4]);
        entry.fsType = std::string(fields[separator + 1]);
        entry.source = unescapeOctal(fields[separator + 2]);
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::vector<DiskCounters> parseDiskstats(std::string_view text) {
    std::vector<DiskCounters> disks;
    for (std::string_view line : splitLines(text)) {
        const auto fields = splitWhitespace(line);
        // major minor name, then reads, merged, sectors read, ms, writes, merged, sectors written
        if (fields.size() < 10)
            continue;
        const auto readOps = parseUnsigned(fields[3]);
        const auto readSectors = parseUnsigned(fields[5]);
        const auto writeOps = parseUnsigned(fields[7]);
        const auto writeSectors = parseUnsigned(fields[9]);
        if (!readOps || !readSectors || !writeOps || !writeSectors)
            continue;
        disks.push_back({std::string(fields[2]), *readOps, *readSectors, *writeOps, *writeSectors});
    }
    return disks;
}

std::map<std::string, std::string, std::less<>> parseUdevData(std::string_view text) {
    std::map<std::string, std::string, std::less<>> properties;
    for (std::string_view line : splitLines(text)) {
        if (line.size() < 3 || line.substr(0, 2) != "E:")
            continue;
        const auto equals = line.find('=', 2);
        if (equals == std::string_view::npos || equals == 2)
            continue;
        properties.insert_or_assign(std::string(line.substr(2, equals - 2)),
                                    std::string(line.substr(equals + 1)));
    }
    return properties;
}

} // namespace corvane
