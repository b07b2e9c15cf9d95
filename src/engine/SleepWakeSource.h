#pragma once

#include "foundation/NotificationCenter.h"

#include <functional>

namespace corvane {

// Tells when the machine is about to sleep and when it has woken. The base is driven by hand
// (tests, or a process that learns of sleep another way); LogindSleepWakeSource follows the
// login manager.
class SleepWakeSource {
public:
    SleepWakeSource() = default;
    virtual ~SleepWakeSource() = default;
    SleepWakeSource(const SleepWakeSource&) = delete;
    SleepWakeSource& operator=(const SleepWakeSource&) = delete;

    [[nodiscard]] Observation observeWillSleep(std::function<void()> handler);
    [[nodiscard]] Observation observeDidWake(std::function<void()> handler);

    void postWillSleep() const;
    void postDidWake() const;

private:
    NotificationCenter center_;
};

} // namespace corvane
