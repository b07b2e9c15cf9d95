#include "foundation/ManualMainQueue.h"

#include <cmath>
#include <limits>

namespace corvane {

ManualMainQueue::ManualMainQueue(double startTime)
    : wallOffset_(startTime) {}

void ManualMainQueue::async(Task task) {
    after(0.0, std::move(task));
}

MainQueue::TimerId ManualMainQueue::after(double seconds, Task task) {
    std::lock_guard lock(mutex_);
    const double delay = std::isfinite(seconds) ? std::max(0.0, seconds) : 0.0;
    const TimerId id = nextId_++;
    const Key key{elapsed_ + delay, id};
    tasks_.emplace(key, std::move(task));
    keys_.emplace(id, key);
    return id;
}

void ManualMainQueue::cancel(TimerId id) {
    std::lock_guard lock(mutex_);
    auto it = keys_.find(id);
    if (it == keys_.end())
        return;
    tasks_.erase(it->second);
    keys_.erase(it);
}

double ManualMainQueue::now() const {
    std::lock_guard lock(mutex_);
    return elapsed_ + wallOffset_;
}

bool ManualMainQueue::runNextDueBy(double limit) {
    Task task;
    {
        std::lock_guard lock(mutex_);
        if (tasks_.empty() || tasks_.begin()->first.first > limit)
            return false;
        auto it = tasks_.begin();
        elapsed_ = std::max(elapsed_, it->first.first);
        task = std::move(it->second);
        keys_.erase(it->first.second);
        tasks_.erase(it);
    }
    task();
    return true;
}

void ManualMainQueue::advance(double seconds) {
    double target;
    {
        std::lock_guard lock(mutex_);
        target = elapsed_ + (std::isfinite(seconds) ? std::max(0.0, seconds) : 0.0);
    }
    while (runNextDueBy(target)) {
    }
    std::lock_guard lock(mutex_);
    elapsed_ = std::max(elapsed_, target);
}

void ManualMainQueue::runUntilIdle() {
    double current;
    {
        std::lock_guard lock(mutex_);
        current = elapsed_;
    }
    while (runNextDueBy(current)) {
    }
}

void ManualMainQueue::setTime(double time) {
    std::lock_guard lock(mutex_);
    wallOffset_ = time - elapsed_;
}

std::size_t ManualMainQueue::pendingCount() const {
    std::lock_guard lock(mutex_);
    return tasks_.size();
}

double ManualMainQueue::nextDueTime() const {
    std::lock_guard lock(mutex_);
    return tasks_.empty() ? std::numeric_limits<double>::infinity()
                          : tasks_.begin()->first.first + wallOffset_;
}

} // namespace corvane
