#pragma once

#include "foundation/MainQueue.h"
#include "foundation/SysRoot.h"
#include "foundation/Value.h"
#include "links/ProcessInfo.h"
#include "links/ProcessSampler.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace corvane {

// The process requests of the daemon's clients: each client's keys, each sampled at the
// interval the client asked for and answered with {"type": key as text, "processes": rows}.
// A request started again replaces the one before; a client that leaves takes its requests.
class DaemonRequests {
public:
    using Send = std::function<void(const std::string& client, const Value& response)>;

    DaemonRequests(MainQueue& queue, SysRoot root, const DesktopEntries& entries, Send send);
    ~DaemonRequests();
    DaemonRequests(const DaemonRequests&) = delete;
    DaemonRequests& operator=(const DaemonRequests&) = delete;

    // Intervals below one second are taken as one: the kernel's counters move in ticks.
    void start(const std::string& client, long key, long interval);
    void stop(const std::string& client, long key);
    void stopClient(const std::string& client);
    // "enableHierachy"/"disableHierachy": one row for the processes of one name.
    void setCombined(const std::string& client, bool combined);

    bool hasRequests(const std::string& client) const;
    std::size_t count() const { return requests_.size(); }

private:
    struct Request {
        double interval = 1;
        double due = 0; // seconds since 1970 of the next answer
        MainQueue::TimerId timer = 0;
        std::unique_ptr<ProcessSampler> sampler;
    };
    using RequestKey = std::pair<std::string, long>;

    void arm(const RequestKey& key, Request& request);
    void answer(const RequestKey& key);

    MainQueue& queue_;
    SysRoot root_;
    const DesktopEntries& entries_;
    Send send_;
    std::map<RequestKey, Request> requests_;
    std::map<std::string, bool> combined_;
};

} // namespace corvane
