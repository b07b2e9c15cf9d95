#include "collectors/memory/MemoryStatCollectorLinux.h"

#include "foundation/Log.h"
#include "foundation/TextParsing.h"

#include <algorithm>
#include <unistd.h>

namespace corvane {

namespace {

std::unique_ptr<MemoryStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<MemoryStatCollectorLinux> instance;
    return instance;
}

std::uint64_t valueOf(const std::map<std::string, std::uint64_t>& map, const char* key) {
    auto it = map.find(key);
    return it == map.end() ? 0 : it->second;
}

} // namespace

MemoryStatCollectorLinux::MemoryStatCollectorLinux(const EngineContext& context, SysRoot root,
                                                   std::uint64_t pageSize)
    : MemoryStatCollector(context)
    , root_(std::move(root))
    , pageSize_(pageSize ? pageSize : static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)))
    , meminfo_(root_, "/proc/meminfo")
    , vmstat_(root_, "/proc/vmstat")
    , pressure_(root_, "/proc/pressure/memory")
    , hasPressure_(root_.exists("/proc/pressure/memory")) {}

MemoryStatCollectorLinux&
MemoryStatCollectorLinux::sharedMemoryCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance)
        instance = std::make_unique<MemoryStatCollectorLinux>(context, SysRoot::fromEnvironment());
    return *instance;
}

void MemoryStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// The length of the line's name: it ends at its colon (meminfo) or at the first blank (vmstat).
// With names wanted only those are looked for, which spares scanning the ~170 names of vmstat
// each second; 0 when the line names nothing wanted.
std::size_t nameLength(std::string_view line, std::span<const std::string_view> wanted) {
    const auto endsName = [&line](std::size_t at) {
        return at < line.size() && (line[at] == ':' || isBlank(line[at]));
    };
    if (wanted.empty()) {
        std::size_t at = 0;
        while (at < line.size() && !endsName(at))
            ++at;
        return endsName(at) ? at : 0;
    }
    for (const std::string_view name : wanted) {
        if (endsName(name.size()) && line.starts_with(name))
            return name.size();
    }
    return 0;
}

} // namespace

std::map<std::string, std::uint64_t>
MemoryStatCollectorLinux::parseKeyValues(std::string_view text,
                                         std::span<const std::string_view> wanted) {
    std::map<std::string, std::uint64_t> values;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::size_t length = nameLength(line, wanted);
        if (length == 0)
            continue;
        // Any blanks, tabs included, may come between the name and its value.
        std::size_t at = length + (line[length] == ':' ? 1 : 0);
        while (at < line.size() && isBlank(line[at]))
            ++at;
        std::size_t stop = at;
        while (stop < line.size() && !isBlank(line[stop]))
            ++stop;
        if (auto value = parseUnsigned(line.substr(at, stop - at)))
            values[std::string(line.substr(0, length))] = *value;
    }
    return values;
}

std::optional<std::int64_t> MemoryStatCollectorLinux::pressureLevelFromText(std::string_view text) {
    std::optional<double> some;
    std::optional<double> full;
    for (auto line : splitLines(text)) {
        const auto words = splitWhitespace(line);
        if (words.size() < 2 || words[1].substr(0, 6) != "avg10=")
            continue;
        const auto share = parseDouble(words[1].substr(6));
        if (words[0] == "some")
            some = share;
        else if (words[0] == "full")
            full = share;
    }
    if (!some)
        return std::nullopt;
    if (full && *full >= 10.0)
        return 4;
    return *some >= 10.0 ? 2 : 1;
}

// How the kernel's figures become the collector's, so that "used without inactive" is the used
// memory of `free` and the desktop's system monitor, total less available (/proc/meminfo, KiB):
//   free           MemFree
//   active         Active(anon) + Inactive(anon): memory of programs and shared memory, which
//                  only swap can take away
//   inactive       MemAvailable - MemFree: the caches the kernel reckons it can give back
//                  (most of the file cache, reclaimable slab); without MemAvailable (kernels
//                  before 3.14) the file cache and SReclaimable
//   compressed     Zswap               (what zswap holds, compressed; 0 without it)
//   wired          MemTotal less all of the above: what the kernel holds for itself (slab it
//                  cannot reclaim, page tables, stacks, reserves), locked pages, and the part
//                  of the cache it would not give back
//   file cache     Active(file) + Inactive(file)
//   application    AnonPages           (memory the programs allocated)
//   purgeable      none on Linux
//   swap           SwapTotal - SwapFree used, SwapTotal size, in bytes
//   installed      MemTotal            (the total `free` shows)
//   page-ins/outs  pgpgin / pgpgout of /proc/vmstat, counted in KiB, as pages
MemoryStatCollector::Reading
MemoryStatCollectorLinux::readingFrom(const std::map<std::string, std::uint64_t>& meminfo,
                                      const std::map<std::string, std::uint64_t>& vmstat,
                                      std::uint64_t pageSize) {
    const std::uint64_t pageKiB = std::max<std::uint64_t>(1, pageSize / 1024);
    auto pages = [&](std::uint64_t kib) { return kib / pageKiB; };
    const auto total = valueOf(meminfo, "MemTotal");
    const auto free = valueOf(meminfo, "MemFree");
    const auto fileCache = valueOf(meminfo, "Active(file)") + valueOf(meminfo, "Inactive(file)");
    const auto anonymous = valueOf(meminfo, "Active(anon)") + valueOf(meminfo, "Inactive(anon)");
    std::uint64_t reclaimable = fileCache + valueOf(meminfo, "SReclaimable");
    if (const auto available = meminfo.find("MemAvailable"); available != meminfo.end())
        reclaimable = available->second > free ? available->second - free : 0;
    const auto zswap = valueOf(meminfo, "Zswap");
    const auto listed = free + anonymous + reclaimable + zswap;
    Reading r;
    r.pageSize = pageSize;
    r.freePages = pages(free);
    r.activePages = pages(anonymous);
    r.inactivePages =
        pages(total > free + anonymous ? std::min(reclaimable, total - free - anonymous) : 0);
    r.compressorPages = pages(zswap);
    r.wiredPages = pages(total > listed ? total - listed : 0);
    r.externalPages = pages(fileCache);
    r.internalPages = pages(valueOf(meminfo, "AnonPages"));
    r.pageins = pages(valueOf(vmstat, "pgpgin"));
    r.pageouts = pages(valueOf(vmstat, "pgpgout"));
    const auto swapTotal = valueOf(meminfo, "SwapTotal");
    const auto swapFree = valueOf(meminfo, "SwapFree");
    r.swapTotal = swapTotal * 1024;
    r.swapUsed = swapTotal > swapFree ? (swapTotal - swapFree) * 1024 : 0;
    r.installedMemory = total * 1024;
    return r;
}

std::optional<MemoryStatCollector::Reading> MemoryStatCollectorLinux::read() {
    std::map<std::string, std::uint64_t> meminfo;
    if (auto text = meminfo_.read())
        meminfo = parseKeyValues(*text, kMeminfoKeys);
    // Without the total nothing else means anything: an empty or foreign file is no reading.
    const auto total = meminfo.find("MemTotal");
    if (total == meminfo.end() || total->second == 0) {
        if (!toldUnreadable_)
            CVBLog("Memory: /proc/meminfo is missing or gives no MemTotal");
        toldUnreadable_ = true;
        return std::nullopt;
    }
    std::map<std::string, std::uint64_t> vmstat;
    if (auto vm = vmstat_.read())
        vmstat = parseKeyValues(*vm, kVmstatKeys);
    return readingFrom(meminfo, vmstat, pageSize_);
}

MemoryStatCollector::Capabilities MemoryStatCollectorLinux::capabilities() const {
    // The kernel always splits file cache from application memory; purgeable memory is a
    // notion it has not.
    return Capabilities{true, false, hasPressure_};
}

std::optional<std::int64_t> MemoryStatCollectorLinux::readPressureLevel() {
    auto text = pressure_.read();
    return text ? pressureLevelFromText(*text) : std::nullopt;
}

} // namespace corvane
