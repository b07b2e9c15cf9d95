#pragma once

#include "collectors/disks/DiskInfoStatCollector.h"
#include "collectors/disks/DiskStatCollectorItem.h"
#include "engine/StatCollector.h"

#include <functional>
#include <memory>
#include <string>

namespace corvane {

// One item per volume, made from the media dictionaries of the info collector, with the
// volumes' space sampled off the main thread.
class DisksStatCollector : public StatCollector {
public:
    using VolumeItem = std::shared_ptr<DiskStatCollectorItem>;
    // The name shown for a mount point: the label if there is one.
    using DisplayNamer =
        std::function<std::string(const std::string& path, const std::string& label)>;
    static constexpr double kMinimumAge = 5.0;

    DisksStatCollector(const EngineContext& context, DiskInfoStatCollector& info,
                       std::shared_ptr<const VolumeSpaceReader> reader,
                       OffThreadRunner runner = detachedThreadRunner());

    static Value makeConfig();
    static std::string defaultDisplayName(const std::string& path, const std::string& label);
    ItemPointer itemClassInstance() const override;
    double updateFrequencyForVersion(std::int64_t) const override { return 6.0; }
    bool shouldUpdateStateForSequence(std::int64_t sequence) override { return sequence % 3 == 0; }

    // After a disk event: the volume list is rebuilt from the media dictionaries.
    void update();
    void updateStats() override;
    // True when the item list or an item's identity changed.
    bool processPartition(const Value& partition);

    std::vector<VolumeItem> volumes() const;
    VolumeItem itemWithBSD(std::string_view bsd) const;
    // The volume mounted at "/".
    VolumeItem bootDisk() const;
    void setDisplayNamer(DisplayNamer namer) { namer_ = std::move(namer); }

private:
    bool refreshItem(DiskStatCollectorItem& item, const Value& partition);

    DiskInfoStatCollector& info_;
    std::shared_ptr<const VolumeSpaceReader> reader_;
    OffThreadRunner runner_;
    DisplayNamer namer_ = defaultDisplayName;
    bool busy_ = false;
    bool partitionsChanged_ = false;
    std::int64_t session_ = 0;
};

} // namespace corvane
