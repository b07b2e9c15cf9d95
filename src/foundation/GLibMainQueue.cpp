#include "foundation/GLibMainQueue.h"

#include <cmath>
#include <csignal>
#include <glib-unix.h>
#include <glib.h>

namespace corvane {

double SystemClock::now() const {
    return static_cast<double>(g_get_real_time()) / 1e6;
}

SystemClock& SystemClock::shared() {
    static SystemClock clock;
    return clock;
}

struct GLibMainQueue::Pending {
    GLibMainQueue* queue;
    TimerId id;
    Task task;
};

GLibMainQueue::GLibMainQueue(GMainContext* context)
    : context_(context ? g_main_context_ref(context) : g_main_context_ref(g_main_context_default()))
    , loop_(g_main_loop_new(context_, FALSE)) {}

GLibMainQueue::~GLibMainQueue() {
    std::map<TimerId, GSource*> pending;
    {
        std::lock_guard lock(mutex_);
        pending.swap(sources_);
    }
    for (auto& [id, source] : pending) {
        g_source_destroy(source);
        g_source_unref(source);
    }
    for (GSource* source : signalSources_) {
        g_source_destroy(source);
        g_source_unref(source);
    }
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

void GLibMainQueue::async(Task task) {
    // An idle source at default priority: it takes its turn in order with timers and D-Bus
    // replies, and never runs inside the caller, unlike g_main_context_invoke.
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    schedule(source, std::move(task));
}

MainQueue::TimerId GLibMainQueue::after(double seconds, Task task) {
    // Rounded up: a beat aimed at a whole second that fires a fraction of a millisecond early
    // would be stamped with the second before.
    const double ms = std::isfinite(seconds) ? std::ceil(std::max(0.0, seconds * 1000.0)) : 0.0;
    GSource* source = g_timeout_source_new(static_cast<guint>(std::min(ms, 4.0e9)));
    return schedule(source, std::move(task));
}

MainQueue::TimerId GLibMainQueue::schedule(GSource* source, Task task) {
    TimerId id;
    auto* pending = new Pending{this, 0, std::move(task)};
    {
        std::lock_guard lock(mutex_);
        id = nextId_++;
        pending->id = id;
        sources_.emplace(id, source);
    }
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            auto* p = static_cast<Pending*>(data);
            p->task();
            return G_SOURCE_REMOVE;
        },
        pending,
        [](gpointer data) {
            auto* p = static_cast<Pending*>(data);
            p->queue->finished(p->id);
            delete p;
        });
    g_source_attach(source, context_);
    return id;
}

void GLibMainQueue::finished(TimerId id) {
    GSource* source = nullptr;
    {
        std::lock_guard lock(mutex_);
        auto it = sources_.find(id);
        if (it == sources_.end())
            return;
        source = it->second;
        sources_.erase(it);
    }
    g_source_unref(source);
}

void GLibMainQueue::cancel(TimerId id) {
    GSource* source = nullptr;
    {
        std::lock_guard lock(mutex_);
        auto it = sources_.find(id);
        if (it == sources_.end())
            return;
        source = it->second;
        sources_.erase(it);
    }
    g_source_destroy(source);
    g_source_unref(source);
}

void GLibMainQueue::run() {
    g_main_loop_run(loop_);
}

void GLibMainQueue::quit() {
    g_main_loop_quit(loop_);
}

void GLibMainQueue::quitOnTermination() {
    for (const int signal : {SIGTERM, SIGINT}) {
        GSource* source = g_unix_signal_source_new(signal);
        g_source_set_callback(
            source,
            [](gpointer loop) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_CONTINUE;
            },
            loop_, nullptr);
        g_source_attach(source, context_);
        signalSources_.push_back(source);
    }
}

void GLibMainQueue::drain() {
    while (g_main_context_iteration(context_, FALSE)) {
    }
}

} // namespace corvane
