#include "foundation/GLibMainQueue.h"
#include "foundation/ManualMainQueue.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace corvane;

namespace {

TEST(ManualMainQueue, RunsByDueTimeThenInSchedulingOrderAndNeverWhenCancelled) {
    ManualMainQueue queue(1000.0);
    std::vector<std::string> ran;
    auto stamp = [&](const char* name) {
        return [&ran, &queue, name] { ran.push_back(name + std::to_string(queue.now())); };
    };
    queue.after(2.0, stamp("2s@"));
    queue.after(0.25, stamp("q@"));
    queue.async(stamp("async@"));
    queue.after(0.25, stamp("q2@"));
    EXPECT_TRUE(ran.empty()) << "async never runs inside the caller";

    queue.advance(1.5);
    EXPECT_EQ(ran,
              (std::vector<std::string>{"async@1000.000000", "q@1000.250000", "q2@1000.250000"}));
    EXPECT_DOUBLE_EQ(queue.now(), 1001.5);
    queue.advance(0.5);
    EXPECT_EQ(ran.back(), "2s@1002.000000");

    // Cancelled tasks do not run; cancelling twice or an unknown task is harmless.
    const auto id = queue.after(1.0, stamp("cancelled@"));
    queue.cancel(id);
    queue.cancel(id);
    queue.cancel(9999);
    queue.advance(2.0);
    EXPECT_EQ(ran.size(), 4u);
    EXPECT_EQ(queue.pendingCount(), 0u);
}

TEST(ManualMainQueue, ARearmingTaskRunsOncePerPeriodWithinTheWindow) {
    ManualMainQueue queue(0.0);
    int beats = 0;
    std::function<void()> beat = [&] {
        ++beats;
        queue.after(1.0, beat);
    };
    queue.after(1.0, beat);
    queue.advance(5.0);
    EXPECT_EQ(beats, 5);
    EXPECT_DOUBLE_EQ(queue.nextDueTime(), 6.0);
}

TEST(ManualMainQueue, AWallClockJumpKeepsTimersOnRunningTime) {
    ManualMainQueue queue(100.0);
    double firedAt = 0;
    queue.after(1.0, [&] { firedAt = queue.now(); });
    queue.setTime(5000.0); // woke from sleep
    queue.advance(0.5);
    EXPECT_EQ(firedAt, 0);
    queue.advance(0.5);
    EXPECT_DOUBLE_EQ(firedAt, 5001.0);
}

TEST(ManualMainQueue, AcceptsTasksFromOtherThreads) {
    ManualMainQueue queue;
    std::atomic<int> count{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i)
                queue.async([&] { ++count; });
        });
    for (auto& thread : threads)
        thread.join();
    queue.runUntilIdle();
    EXPECT_EQ(count, 400);
}

class GLibQueue : public ::testing::Test {
protected:
    ~GLibQueue() override { g_main_context_unref(context); }
    GMainContext* context = g_main_context_new();
};

TEST_F(GLibQueue, RunsTasksInOrderOnTheLoop) {
    std::vector<int> order;
    GLibMainQueue queue(context);
    queue.after(0.05, [&] {
        order.push_back(3);
        queue.quit();
    });
    queue.async([&] { order.push_back(1); });
    queue.async([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    queue.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

// A beat aimed at a whole second that fires a moment early is stamped with the second before.
TEST_F(GLibQueue, ATimerNeverRunsBeforeItsDelay) {
    GLibMainQueue queue(context);
    for (double delay : {0.0004, 0.0009, 0.0019, 0.0207}) {
        const gint64 start = g_get_monotonic_time();
        gint64 ranAt = 0;
        queue.after(delay, [&] {
            ranAt = g_get_monotonic_time();
            queue.quit();
        });
        queue.run();
        EXPECT_GE(static_cast<double>(ranAt - start) / 1e6, delay) << delay;
    }
}

TEST_F(GLibQueue, CancelAndDestructionDropPendingTasks) {
    bool cancelledRan = false;
    bool abandonedRan = false;
    {
        GLibMainQueue queue(context);
        const auto id = queue.after(0.01, [&] { cancelledRan = true; });
        queue.cancel(id);
        queue.after(0.03, [&] { queue.quit(); });
        queue.run();
        queue.after(10.0, [&] { abandonedRan = true; });
    }
    while (g_main_context_iteration(context, FALSE)) {
    }
    EXPECT_FALSE(cancelledRan);
    EXPECT_FALSE(abandonedRan);
}

TEST_F(GLibQueue, WorkOffTheMainThreadHandsItsResultBack) {
    GLibMainQueue queue(context);
    std::thread::id ranOn;
    std::thread worker([&] {
        queue.async([&] {
            ranOn = std::this_thread::get_id();
            queue.quit();
        });
    });
    g_main_context_push_thread_default(context);
    queue.run();
    g_main_context_pop_thread_default(context);
    worker.join();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

} // namespace
