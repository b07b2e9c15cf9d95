#include "links/DaemonRequests.h"

#include <algorithm>

namespace corvane {

DaemonRequests::DaemonRequests(MainQueue& queue, SysRoot root, const DesktopEntries& entries,
                               Send send)
    : queue_(queue)
    , root_(std::move(root))
    , entries_(entries)
    , send_(std::move(send)) {}

DaemonRequests::~DaemonRequests() {
    for (auto& [key, request] : requests_)
        queue_.cancel(request.timer);
}

void DaemonRequests::start(const std::string& client, long key, long interval) {
    stop(client, key);
    const RequestKey id{client, key};
    Request& request = requests_[id];
    request.interval = static_cast<double>(std::max(interval, 1L));
    request.sampler = std::make_unique<ProcessSampler>(root_, entries_);
    // The first sample only sets the counters; shares need a second one to compare with.
    const double now = queue_.clock().now();
    request.sampler->sample(now, false);
    request.due = now + request.interval;
    arm(id, request);
}

void DaemonRequests::arm(const RequestKey& key, Request& request) {
    // Against the planned time, so that the time a sample takes does not add up.
    const double delay = std::max(0.0, request.due - queue_.clock().now());
    request.timer = queue_.after(delay, [this, key] { answer(key); });
}

void DaemonRequests::answer(const RequestKey& key) {
    const auto found = requests_.find(key);
    if (found == requests_.end())
        return;
    Request& request = found->second;
    const double now = queue_.clock().now();
    const bool combined = combined_.contains(key.first) && combined_[key.first];
    Value response = Value::dict({{"type", Value(std::to_string(key.second))},
                                  {"processes", request.sampler->sample(now, combined)}});
    // A late wake-up (a suspended machine) starts the rhythm afresh instead of catching up.
    request.due = std::max(request.due + request.interval, now);
    arm(key, request);
    send_(key.first, response);
}

void DaemonRequests::stop(const std::string& client, long key) {
    const auto found = requests_.find({client, key});
    if (found == requests_.end())
        return;
    queue_.cancel(found->second.timer);
    requests_.erase(found);
}

void DaemonRequests::stopClient(const std::string& client) {
    for (auto it = requests_.begin(); it != requests_.end();) {
        if (it->first.first == client) {
            queue_.cancel(it->second.timer);
            it = requests_.erase(it);
        } else {
            ++it;
        }
    }
    combined_.erase(client);
}

void DaemonRequests::setCombined(const std::string& client, bool combined) {
    combined_[client] = combined;
}

bool DaemonRequests::hasRequests(const std::string& client) const {
    return std::any_of(requests_.begin(), requests_.end(),
                       [&](const auto& item) { return item.first.first == client; });
}

} // namespace corvane
