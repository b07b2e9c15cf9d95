#pragma once

#include "clock/CityDatabaseLookup.h"
#include "shell/AppDelegatePeers.h"

#include <filesystem>
#include <memory>

namespace corvane {

class MainQueue;

// What the window prepares before its pages: the cities database, so that world clocks stored
// as bare identifiers become cities before the Time page reads them.
class ClockStartupCollectors final : public StartupCollectors {
public:
    // `queue` must outlive this.
    explicit ClockStartupCollectors(MainQueue& queue)
        : queue_(queue) {}

    void setCityDatabasePath(const std::filesystem::path& path) override;
    // Opened on first use; null when the database is missing.
    const CityLookup* cities() override;

private:
    MainQueue& queue_;
    std::filesystem::path path_;
    std::unique_ptr<CityDatabaseLookup> lookup_;
};

} // namespace corvane
