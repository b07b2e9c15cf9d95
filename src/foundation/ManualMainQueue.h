#pragma once

#include "foundation/MainQueue.h"

#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace corvane {

// A main queue on virtual time, for tests: nothing runs until the test says so, and the clock
// moves only when the test advances it. Tasks run in order of due time, then of scheduling.
class ManualMainQueue final : public MainQueue, public Clock {
public:
    explicit ManualMainQueue(double startTime = 1'700'000'000.0);

    void async(Task task) override;
    TimerId after(double seconds, Task task) override;
    void cancel(TimerId id) override;
    const Clock& clock() const override { return *this; }
    double now() const override;

    // Moves the clock forward, running each task as its time comes, including tasks that
    // those tasks schedule within the interval. The clock ends at the old time + seconds.
    void advance(double seconds);
    // Runs what is due now, including tasks that those tasks queue for now.
    void runUntilIdle();
    // Sets the wall clock only, as waking from sleep or a clock change does. Waiting tasks keep
    // their remaining time: like the real main queue, they count elapsed running time.
    void setTime(double time);

    std::size_t pendingCount() const;
    // Wall-clock due time of the earliest task, or infinity when none waits.
    double nextDueTime() const;

private:
    using Key = std::pair<double, TimerId>;
    bool runNextDueBy(double limit);

    mutable std::mutex mutex_;
    double elapsed_ = 0.0; // running time, which orders the tasks
    double wallOffset_;    // wall clock minus running time
    TimerId nextId_ = 1;
    std::map<Key, Task> tasks_;
    std::unordered_map<TimerId, Key> keys_;
};

} // namespace corvane
