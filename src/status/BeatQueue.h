#pragma once

#include "foundation/MainQueue.h"

#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>

namespace corvane {

// A main queue for the collectors of one process. Each collector arms its own beat for the
// same whole second; here they share one timer of the queue underneath, so the process wakes
// once a second however many collectors it runs. The timer fires `gather` seconds after the
// earliest task is due and runs everything due by then, then the hook that follows a batch.
// `async` goes straight to the queue underneath.
class BeatQueue final : public MainQueue {
public:
    // Seconds on a clock that never jumps; the wall clock can be set back.
    using Monotonic = std::function<double()>;

    explicit BeatQueue(MainQueue& inner, double gatherSeconds = 0.005,
                       Monotonic monotonic = steadySeconds);
    ~BeatQueue() override;
    BeatQueue(const BeatQueue&) = delete;
    BeatQueue& operator=(const BeatQueue&) = delete;

    void async(Task task) override;
    TimerId after(double seconds, Task task) override;
    void cancel(TimerId id) override;
    const Clock& clock() const override { return inner_.clock(); }

    // Run once before and once after the tasks of each firing, when any runs.
    void setBeforeBatch(std::function<void()> hook) { beforeBatch_ = std::move(hook); }
    void setAfterBatch(std::function<void()> hook) { afterBatch_ = std::move(hook); }
    std::size_t pendingCount() const { return tasks_.size(); }

    static double steadySeconds();

private:
    using Key = std::pair<double, TimerId>; // due time, then order of scheduling
    void arm();
    void fire();

    MainQueue& inner_;
    double gather_;
    Monotonic monotonic_;
    std::map<Key, Task> tasks_;
    std::unordered_map<TimerId, Key> keys_;
    TimerId nextId_ = 1;
    TimerId innerTimer_ = 0;
    double armedFor_ = 0; // monotonic time the inner timer fires at, while one is armed
    std::function<void()> beforeBatch_;
    std::function<void()> afterBatch_;
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

} // namespace corvane
