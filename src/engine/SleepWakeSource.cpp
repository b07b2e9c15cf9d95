#include "engine/SleepWakeSource.h"

namespace corvane {

namespace {
constexpr const char* kWillSleep = "WillSleep";
constexpr const char* kDidWake = "DidWake";
} // namespace

Observation SleepWakeSource::observeWillSleep(std::function<void()> handler) {
    return center_.addObserver(kWillSleep,
                               [handler = std::move(handler)](const Notification&) { handler(); });
}

Observation SleepWakeSource::observeDidWake(std::function<void()> handler) {
    return center_.addObserver(kDidWake,
                               [handler = std::move(handler)](const Notification&) { handler(); });
}

void SleepWakeSource::postWillSleep() const {
    center_.post(kWillSleep);
}

void SleepWakeSource::postDidWake() const {
    center_.post(kDidWake);
}

} // namespace corvane
