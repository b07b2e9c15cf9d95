#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace corvane {

// One thread that runs tasks one at a time in the order given: the serial queue the cities
// database is used on, so that searches never wait on the main loop nor run side by side.
class SerialWorker {
public:
    using Task = std::function<void()>;

    SerialWorker();
    // Runs what was queued, then ends the thread.
    ~SerialWorker();
    SerialWorker(const SerialWorker&) = delete;
    SerialWorker& operator=(const SerialWorker&) = delete;

    void async(Task task);
    // Runs the task on the worker and waits for it; inline when called from the worker.
    void sync(const Task& task);

private:
    void run();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace corvane
