#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/MainQueue.h"

#include <cstdint>
#include <memory>
#include <string>

namespace corvane {

// What opening the settings window needs of the system.
class ApplicationLauncher {
public:
    virtual ~ApplicationLauncher() = default;
    // The settings application runs when it owns its name on the session bus.
    virtual bool isRunning() = 0;
    virtual bool launch() = 0;
    virtual void sleep(double seconds) = 0;
};

// The session bus name "com.halvorn.corvanebar", and the corvanebar program beside the
// running one (else on PATH).
std::shared_ptr<ApplicationLauncher> makeSessionApplicationLauncher();

// The distributed notification that opens a section's page, or empty for keys without one.
std::string openNotificationForSection(std::int64_t sectionKey);

// Starts the settings application unless it runs, waits for it (polling every 0.1 seconds for
// at most 20), waits 0.2 seconds more and answers whether it runs. Blocks: call it off the
// main thread.
bool launchAndWait(ApplicationLauncher& launcher);

// Opens the settings window at a section from a background process: the waiting happens on a
// thread of its own, the notification is posted from the main queue.
void launchPrefsToSection(std::int64_t sectionKey, std::shared_ptr<ApplicationLauncher> launcher,
                          MainQueue& queue, DistributedNotificationCenter& center);

} // namespace corvane
