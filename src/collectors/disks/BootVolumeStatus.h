#pragma once

#include "collectors/disks/DisksStatCollector.h"

#include <string>

namespace corvane {

// The boot volume as `corvanebar status` shows it: name, device, mount point and space.
class BootVolumeStatus {
public:
    // Reads the boot volume's space at once, on the calling thread: "/" is local on every
    // machine this is run on, and the command waits anyway.
    BootVolumeStatus(const DisksStatCollector& disks, const VolumeSpaceReader& reader);

    bool hasReading() const { return boot_ && boot_->hasSizes; }
    Value dictionary() const;
    std::string text() const;

private:
    DisksStatCollector::VolumeItem boot_;
};

} // namespace corvane
