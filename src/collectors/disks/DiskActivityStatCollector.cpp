#include "collectors/disks/DiskActivityStatCollector.h"

#include "collectors/disks/DiskText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

// The kernel counts in 512-byte sectors whatever the disk's own sector size.
constexpr double kSectorBytes = 512.0;

std::optional<std::string> usableIdentity(std::string value) {
    std::erase(value, ' ');
    if (value.empty() || std::all_of(value.begin(), value.end(), [](char c) { return c == '0'; }))
        return std::nullopt;
    return value;
}

} // namespace

std::optional<std::string> activityIdentity(const ActivityDisk& disk) {
    if (disk.diskImage)
        return std::nullopt;
    if (auto serial = usableIdentity(disk.serial))
        return serial;
    if (auto wwid = usableIdentity(disk.wwid))
        return wwid;
    if (disk.vendor == "HPT")
        if (auto table = usableIdentity(disk.partitionTableUUID))
            return table;
    return usableIdentity(disk.deviceIdentification);
}

double diskActivityValue(double newValue, double oldValue) {
    if (newValue == 0 || oldValue == 0)
        return 0;
    const double difference = newValue - oldValue;
    return std::isnan(difference) || difference < 0 ? 0 : difference;
}

void DiskActivityStatCollectorItem::addSampleWithRead(double readBytes, double writeBytes,
                                                      double iopsRead, double iopsWrite,
                                                      double time, double identifier) {
    readTotal = readBytes;
    writeTotal = writeBytes;
    const statsample* ring = storageForType(0);
    const double* previous = ring && ring[0].sampleID != 0 ? ring[0].values : nullptr;
    const auto before = [previous](int slot) { return previous ? previous[slot] : 0.0; };
    if (lastTime == 0)
        lastTime = time;
    const double elapsed = time - lastTime;
    lastTime = time;
    const auto rate = [elapsed](double now, double then) {
        const double value = elapsed > 0 ? diskActivityValue(now, then) / elapsed : 0;
        return std::max(value, 0.0);
    };
    read = rate(readBytes, before(ReadRaw));
    write = rate(writeBytes, before(WriteRaw));
    readIOPS = rate(iopsRead, before(ReadIOPSRaw));
    writeIOPS = rate(iopsWrite, before(WriteIOPSRaw));
    addSample(Value::dict({{"sample", identifier},
                           {"time", time},
                           {"empty", 0},
                           {"read", read},
                           {"write", write},
                           {"readIOPS", readIOPS},
                           {"writeIOPS", writeIOPS},
                           {"read_raw", readBytes},
                           {"write_raw", writeBytes},
                           {"readiops_raw", iopsRead},
                           {"writeiops_raw", iopsWrite}}),
              0);
}

std::string DiskActivityStatCollectorItem::description() const {
    char text[512];
    std::snprintf(text, sizeof text, "key = %s, serial = %s, bsd = %s, name = %s temporary = %d",
                  key().c_str(), serial.c_str(), bsd.c_str(), name.c_str(), temporary() ? 1 : 0);
    return text;
}

DiskActivityStatCollector::DiskActivityStatCollector(const EngineContext& context, SysRoot root)
    : StatCollector(context, 8)
    , diskstats_(root, "/proc/diskstats") {
    config() = makeConfig();
    setDbTablePrefix("diskactivity");
    setStorageType(kStorageItems);
}

Value DiskActivityStatCollector::makeConfig() {
    const char* columns = "(sample double NOT NULL, time double NOT NULL DEFAULT 0, uuid "
                          "varchar(100) NOT NULL, read double NOT NULL DEFAULT 0, write double NOT "
                          "NULL DEFAULT 0, readIOPS double NOT NULL DEFAULT 0, writeIOPS double "
                          "NOT NULL DEFAULT 0)";
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap", Value::dict({{"r", 0},
                                      {"read", 0},
                                      {"w", 1},
                                      {"write", 1},
                                      {"rIOPS", 2},
                                      {"readIOPS", 2},
                                      {"wIOPS", 3},
                                      {"writeIOPS", 3},
                                      {"read_raw", 4},
                                      {"write_raw", 5},
                                      {"readiops_raw", 6},
                                      {"writeiops_raw", 7}})},
        {"sampleKeys", Value::dict({{"read", 0}, {"write", 1}, {"readIOPS", 2}, {"writeIOPS", 3}})},
        {"xmlSampleKeys", Value::dict({{"r", 0}, {"w", 1}, {"rIOPS", 2}, {"wIOPS", 3}})},
        {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
        {"sqlInsertItem", "insert into %@ (sample, time, read, write, readIOPS, writeIOPS, uuid) "
                          "values (?, ?, ?, ?, ?, ?, ?)"},
        {"sqlInsertItemKeys",
         Value::array({"sample", "time", "read", "write", "readIOPS", "writeIOPS", "uuid"})},
        {"sqlCreate", std::string("create table %@ ") + columns},
        {"sqlCreateLong", std::string("create table %@ ") + columns},
        {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                        "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateIDLong", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                            "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"itemAttributeKeys", Value::array({"uuid"})},
    });
}

StatCollector::ItemPointer DiskActivityStatCollector::itemClassInstance() const {
    return std::make_shared<DiskActivityStatCollectorItem>(sampleValueCount(), tierCount());
}

std::vector<DiskActivityStatCollector::ActivityItem> DiskActivityStatCollector::disks() const {
    std::vector<ActivityItem> all;
    for (const auto& item : items())
        all.push_back(std::static_pointer_cast<DiskActivityStatCollectorItem>(item));
    return all;
}

DiskActivityStatCollector::ActivityItem
DiskActivityStatCollector::itemWithBSD(std::string_view bsd) const {
    for (const auto& disk : disks()) {
        if (disk->bsd == bsd)
            return disk;
    }
    return nullptr;
}

void DiskActivityStatCollector::rebuildDisks(const std::vector<ActivityDisk>& found) {
    const std::size_t before = items().size();
    for (const auto& item : items())
        item->setExists(false);
    for (const ActivityDisk& disk : found) {
        const auto identity = activityIdentity(disk);
        if (!identity || disk.bsd.empty())
            continue;
        auto item =
            std::static_pointer_cast<DiskActivityStatCollectorItem>(newItemWithKey2(disk.bsd));
        item->serial = *identity;
        item->bsd = disk.bsd;
        item->name = disk.name;
        item->hardwareType =
            disk.hardwareType.find("SSD") != std::string::npos ? "Solid State" : disk.hardwareType;
        item->setNohistory(false);
        item->setExists(true);
    }
    for (const auto& item : items()) {
        if (!item->exists())
            item->cleanup();
    }
    if (removeOldItems() || items().size() != before) {
        ++session_;
        notifyChildrenChanged();
    }
}

void DiskActivityStatCollector::updateStats() {
    const double now = mainQueue().clock().now();
    const double identifier = idForInterval(0);
    addSample(Value::dict({{"sample", identifier}, {"time", now}}), 0);
    const auto text = diskstats_.read();
    const std::vector<DiskCounters> counters =
        text ? parseDiskstats(*text) : std::vector<DiskCounters>{};
    for (const auto& disk : disks()) {
        const auto found = std::find_if(counters.begin(), counters.end(),
                                        [&](const DiskCounters& c) { return c.name == disk->bsd; });
        if (found == counters.end()) {
            // Zeros now: the next real sample then has rates 0, not a spike.
            disk->addSampleWithRead(0, 0, 0, 0, now, identifier);
            continue;
        }
        disk->addSampleWithRead(static_cast<double>(found->readSectors) * kSectorBytes,
                                static_cast<double>(found->writeSectors) * kSectorBytes,
                                static_cast<double>(found->readOperations),
                                static_cast<double>(found->writeOperations), now, identifier);
    }
    notifyUpdated();
}

Value DiskActivityStatCollector::arrayRepresentation() const {
    Value all = Value::array();
    for (const auto& disk : disks())
        all.append(Value::dict({{"key", disk->key()}, {"name", disk->name}, {"bsd", disk->bsd}}));
    return all;
}

} // namespace corvane
