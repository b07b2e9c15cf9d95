#include "collectors/memory/MemoryStatCollectorLinux.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <span>
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

std::map<std::string, std::uint64_t>
MemoryStatCollectorLinux::parseKeyValues(std::string_view text) {
    std::map<std::string, std::uint64_t> values;
    for (auto line : splitLines(text)) {
        const auto words = splitWhitespace(line);
        if (words.size() < 2)
            continue;
        std::string_view name = words[0];
        if (!name.empty() && name.back() == ':')
            name.remove_suffix(1);
        if (auto value = parseUnsigned(words[1]))
            values[std::string(name)] = *value;
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

namespace {

constexpr std::string_view kMeminfoKeys[] = {
    "MemTotal:",       "MemFree:",      "MemAvailable:",   "Active(anon):",
    "Inactive(anon):", "Active(file):", "Inactive(file):", "SReclaimable:",
    "AnonPages:",      "SwapTotal:",    "SwapFree:",       "Zswap:"};
constexpr std::string_view kVmstatKeys[] = {"pgpgin", "pgpgout"};

// The values of the wanted names only: vmstat has some 170 lines, and this runs every second.
void collect(std::string_view text, std::span<const std::string_view> wanted,
             std::map<std::string, std::uint64_t>& into) {
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        const auto space = line.find(' ');
        if (space != std::string_view::npos) {
            const std::string_view name = line.substr(0, space);
            for (const auto key : wanted) {
                if (key != name)
                    continue;
                const auto words = splitWhitespace(line.substr(space));
                if (auto value = words.empty() ? std::nullopt : parseUnsigned(words[0])) {
                    std::string_view bare = name;
                    if (bare.back() == ':')
                        bare.remove_suffix(1);
                    into[std::string(bare)] = *value;
                }
                break;
            }
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

} // namespace

MemoryStatCollector::Reading MemoryStatCollectorLinux::read() {
    std::map<std::string, std::uint64_t> meminfo;
    std::map<std::string, std::uint64_t> vmstat;
    if (auto text = meminfo_.read())
        collect(*text, kMeminfoKeys, meminfo);
    if (auto text = vmstat_.read())
        collect(*text, kVmstatKeys, vmstat);
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
