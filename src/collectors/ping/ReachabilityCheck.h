#pragma once

#include "collectors/ping/PingAddressTest.h"

#include <functional>
#include <optional>
#include <string>

namespace corvane {

// Whether the internet answers: the address of "Network_StatusAddress" is tested when the
// network changes and every `kInterval` seconds while connected; never while not connected.
// Main queue only.
class ReachabilityCheck {
public:
    static constexpr double kInterval = 60;

    ReachabilityCheck(MainQueue& queue, std::function<std::string()> address,
                      std::function<void(bool)> changed, HLVPing::TransportFactory factory = {});
    ~ReachabilityCheck();
    ReachabilityCheck(const ReachabilityCheck&) = delete;
    ReachabilityCheck& operator=(const ReachabilityCheck&) = delete;

    // Called with the collector's networkStatus (2 connected) whenever it may have changed.
    void networkChanged(std::int64_t networkStatus);
    // Unknown until the first test has ended; false while not connected.
    std::optional<bool> hasInternetConnection() const { return reachable_; }

private:
    void check();
    void schedule();
    void set(bool reachable);

    MainQueue& queue_;
    std::function<std::string()> address_;
    std::function<void(bool)> changed_;
    PingAddressTest test_;
    bool connected_ = false;
    std::optional<bool> reachable_;
    MainQueue::TimerId timer_ = 0;
};

} // namespace corvane
