#include "shell/SectionLauncher.h"

#include "foundation/ManualMainQueue.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace corvane;

namespace {

// An application that comes up after a number of polls; time passes only in sleeps.
class FakeLauncher final : public ApplicationLauncher {
public:
    int pollsUntilUp = 3;
    bool running = false;
    bool launchSucceeds = true;
    int launches = 0;
    double slept = 0;

    bool isRunning() override {
        if (launches > 0 && !running && pollsUntilUp-- <= 0)
            running = true;
        return running;
    }
    bool launch() override {
        ++launches;
        return launchSucceeds;
    }
    void sleep(double seconds) override { slept += seconds; }
};

// Polls every tenth of a second, gives up after twenty, and lets a started one settle.
TEST(SectionLauncher, StartsTheApplicationOnlyWhenNeededAndWaitsForIt) {
    const struct {
        const char* what;
        bool running;
        int pollsUntilUp;
        bool launchSucceeds;
        bool up;
        int launches;
        double slept;
    } cases[] = {
        {"starts", false, 3, true, true, 1, 0.1 * 3 + 0.2},
        {"already running", true, 3, true, true, 0, 0.2},
        {"never comes up", false, 1000, true, false, 1, 20.2},
        {"cannot start", false, 3, false, false, 1, 0.2},
    };
    for (const auto& c : cases) {
        FakeLauncher launcher;
        launcher.running = c.running;
        launcher.pollsUntilUp = c.pollsUntilUp;
        launcher.launchSucceeds = c.launchSucceeds;
        EXPECT_EQ(launchAndWait(launcher), c.up) << c.what;
        EXPECT_EQ(launcher.launches, c.launches) << c.what;
        EXPECT_NEAR(launcher.slept, c.slept, 1e-6) << c.what;
    }
}

TEST(SectionLauncher, PostsTheOpenNotificationOfTheSectionFromTheMainQueue) {
    ManualMainQueue queue;
    DistributedNotificationCenter center(nullptr);
    std::atomic<int> opened{0};
    auto observer =
        center.addObserver("CorvaneBar-Open-Weather", [&](const Notification&) { ++opened; });
    auto launcher = std::make_shared<FakeLauncher>();
    launcher->running = true;
    launchPrefsToSection(9, launcher, queue, center);
    for (int i = 0; i < 500 && queue.pendingCount() == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(opened, 0);
    queue.runUntilIdle();
    EXPECT_EQ(opened, 1);

    EXPECT_EQ(openNotificationForSection(8), "");
    EXPECT_EQ(openNotificationForSection(1), "CorvaneBar-Open-CPU");
}

} // namespace
