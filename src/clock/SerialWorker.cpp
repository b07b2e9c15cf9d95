#include "clock/SerialWorker.h"

#include <future>

namespace corvane {

SerialWorker::SerialWorker()
    : thread_([this] { run(); }) {}

SerialWorker::~SerialWorker() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void SerialWorker::async(Task task) {
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    wake_.notify_one();
}

void SerialWorker::sync(const Task& task) {
    if (std::this_thread::get_id() == thread_.get_id()) {
        task();
        return;
    }
    std::promise<void> done;
    async([&] {
        task();
        done.set_value();
    });
    done.get_future().wait();
}

void SerialWorker::run() {
    for (;;) {
        Task task;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
            if (tasks_.empty())
                return;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task();
    }
}

} // namespace corvane
