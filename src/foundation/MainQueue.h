#pragma once

#include <cstdint>
#include <functional>

namespace corvane {

// Wall-clock time as seconds since 1970, injected so that timing logic is tested exactly.
class Clock {
public:
    virtual ~Clock() = default;
    virtual double now() const = 0;
};

class SystemClock final : public Clock {
public:
    double now() const override;
    static SystemClock& shared();
};

// The main queue: everything the logic schedules runs here, one task at a time, in order.
// Core code never schedules through GLib directly; it is handed a MainQueue.
class MainQueue {
public:
    using Task = std::function<void()>;
    using TimerId = std::uint64_t;

    virtual ~MainQueue() = default;

    // Runs the task on the queue after the current one, never inline. Safe from any thread.
    virtual void async(Task task) = 0;
    // Runs the task once the given number of seconds has passed. Safe from any thread.
    virtual TimerId after(double seconds, Task task) = 0;
    // Drops a task of `after` that has not run yet; unknown or finished ids are ignored.
    virtual void cancel(TimerId id) = 0;
    virtual const Clock& clock() const = 0;
};

} // namespace corvane
