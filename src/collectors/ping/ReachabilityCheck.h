#pragma once

#include "collectors/ping/HLVPing.h"

#include <functional>
#include <optional>
#include <string>

namespace corvane {

// Whether the internet answers: the address of "Network_StatusAddress" is pinged when the
// network changes and every `kInterval` seconds while connected, never while not connected.
// The first reply answers; `kMisses` timeouts in a row or a failure do not. The pings go
// through the program's one shared ping, which runs until this check has its answer.
// Main queue only; the ping must outlive the check.
class ReachabilityCheck final : public HLVPingDelegate {
public:
    static constexpr double kInterval = 60;
    static constexpr int kMisses = 4;

    ReachabilityCheck(MainQueue& queue, HLVPing& ping, std::function<std::string()> address,
                      std::function<void(bool)> changed);
    ~ReachabilityCheck() override;
    ReachabilityCheck(const ReachabilityCheck&) = delete;
    ReachabilityCheck& operator=(const ReachabilityCheck&) = delete;

    // Called with the collector's networkStatus (2 connected) whenever it may have changed.
    void networkChanged(std::int64_t networkStatus);
    // Unknown until the first check has ended; false while not connected.
    std::optional<bool> hasInternetConnection() const { return reachable_; }

    void ping(const PingItemBase& item, const Value& gotResult) override;
    void pingFailed(const PingItemBase& item, const std::string& error) override;
    void pingComplete(const PingItemBase& item, const Value& results) override;

private:
    void check();
    void stop();
    void answered(bool reachable);
    void schedule();
    void set(bool reachable);

    MainQueue& queue_;
    HLVPing& ping_;
    std::function<std::string()> address_;
    std::function<void(bool)> changed_;
    bool connected_ = false;
    bool checking_ = false;
    int misses_ = 0;
    std::optional<bool> reachable_;
    MainQueue::TimerId timer_ = 0;
};

} // namespace corvane
