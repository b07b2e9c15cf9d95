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

TEST(SectionLauncher, StartsTheApplicationAndWaitsForIt) {
    FakeLauncher launcher;
    EXPECT_TRUE(launchAndWait(launcher));
    EXPECT_EQ(launcher.launches, 1);
    EXPECT_NEAR(launcher.slept, 0.1 * 3 + 0.2, 1e-9);
}

TEST(SectionLauncher, ARunningApplicationIsNotStartedAgain) {
    FakeLauncher launcher;
    launcher.running = true;
    EXPECT_TRUE(launchAndWait(launcher));
    EXPECT_EQ(launcher.launches, 0);
    EXPECT_NEAR(launcher.slept, 0.2, 1e-9);
}

TEST(SectionLauncher, GivesUpAfterTwentySeconds) {
    FakeLauncher launcher;
    launcher.pollsUntilUp = 1000;
    EXPECT_FALSE(launchAndWait(launcher));
    EXPECT_NEAR(launcher.slept, 20.2, 1e-6);

    FakeLauncher failing;
    failing.launchSucceeds = false;
    EXPECT_FALSE(launchAndWait(failing));
    EXPECT_NEAR(failing.slept, 0.2, 1e-9);
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
