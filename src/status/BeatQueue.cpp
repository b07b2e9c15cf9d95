#include "status/BeatQueue.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace corvane {

BeatQueue::BeatQueue(MainQueue& inner, double gatherSeconds, Monotonic monotonic)
    : inner_(inner)
    , gather_(std::max(0.0, gatherSeconds))
    , monotonic_(std::move(monotonic)) {}

BeatQueue::~BeatQueue() {
    if (innerTimer_)
        inner_.cancel(innerTimer_);
}

double BeatQueue::steadySeconds() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(since).count();
}

void BeatQueue::async(Task task) {
    inner_.async(std::move(task));
}

MainQueue::TimerId BeatQueue::after(double seconds, Task task) {
    const double delay = std::isfinite(seconds) ? std::max(0.0, seconds) : 0.0;
    const TimerId id = nextId_++;
    const Key key{monotonic_() + delay, id};
    tasks_.emplace(key, std::move(task));
    keys_.emplace(id, key);
    arm();
    return id;
}

void BeatQueue::cancel(TimerId id) {
    const auto found = keys_.find(id);
    if (found == keys_.end())
        return;
    tasks_.erase(found->second);
    keys_.erase(found);
    // A timer armed for an earlier task may stay: it finds nothing due and aims again.
    if (tasks_.empty() && innerTimer_) {
        inner_.cancel(innerTimer_);
        innerTimer_ = 0;
    }
}

void BeatQueue::arm() {
    if (tasks_.empty())
        return;
    const double target = tasks_.begin()->first.first + gather_;
    if (innerTimer_ && armedFor_ <= target)
        return;
    if (innerTimer_)
        inner_.cancel(innerTimer_);
    armedFor_ = target;
    std::weak_ptr<int> alive = alive_;
    innerTimer_ = inner_.after(target - monotonic_(), [this, alive] {
        if (alive.expired())
            return;
        innerTimer_ = 0;
        fire();
    });
}

void BeatQueue::fire() {
    const double now = monotonic_();
    bool ran = false;
    // Tasks a task schedules for now run in this batch too.
    while (!tasks_.empty() && tasks_.begin()->first.first <= now) {
        auto first = tasks_.begin();
        Task task = std::move(first->second);
        keys_.erase(first->first.second);
        tasks_.erase(first);
        if (!ran && beforeBatch_) {
            const auto hook = beforeBatch_;
            hook();
        }
        ran = true;
        task();
    }
    if (ran && afterBatch_) {
        const auto hook = afterBatch_;
        hook();
    }
    arm();
}

} // namespace corvane
