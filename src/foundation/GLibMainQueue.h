#pragma once

#include "foundation/MainQueue.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

using GMainContext = struct _GMainContext;
using GMainLoop = struct _GMainLoop;
using GSource = struct _GSource;

namespace corvane {

// The main queue of a process: a GLib main context and the loop that runs it.
class GLibMainQueue final : public MainQueue {
public:
    // nullptr stands for the global default context, where GDBus and GTK deliver too.
    explicit GLibMainQueue(GMainContext* context = nullptr);
    ~GLibMainQueue() override;
    GLibMainQueue(const GLibMainQueue&) = delete;
    GLibMainQueue& operator=(const GLibMainQueue&) = delete;

    void async(Task task) override;
    TimerId after(double seconds, Task task) override;
    void cancel(TimerId id) override;
    const Clock& clock() const override { return SystemClock::shared(); }

    // Runs the loop until quit() is called, from any thread or task.
    void run();
    void quit();
    // Ends run() on SIGTERM or SIGINT: how a background program is asked to stop.
    void quitOnTermination();
    // Runs every task that is ready now without blocking; for commands that poll.
    void drain();

private:
    struct Pending;
    TimerId schedule(GSource* source, Task task);
    void finished(TimerId id);

    GMainContext* context_;
    GMainLoop* loop_;
    std::mutex mutex_;
    TimerId nextId_ = 1;
    std::map<TimerId, GSource*> sources_;
    std::vector<GSource*> signalSources_;
};

} // namespace corvane
