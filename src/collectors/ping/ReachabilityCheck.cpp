#include "collectors/ping/ReachabilityCheck.h"

#include "collectors/ping/PingPacket.h"

namespace corvane {

ReachabilityCheck::ReachabilityCheck(MainQueue& queue, HLVPing& ping,
                                     std::function<std::string()> address,
                                     std::function<void(bool)> changed)
    : queue_(queue)
    , ping_(ping)
    , address_(std::move(address))
    , changed_(std::move(changed)) {}

ReachabilityCheck::~ReachabilityCheck() {
    if (timer_)
        queue_.cancel(timer_);
    stop();
}

void ReachabilityCheck::networkChanged(std::int64_t networkStatus) {
    connected_ = networkStatus == 2;
    if (timer_)
        queue_.cancel(timer_);
    timer_ = 0;
    if (!connected_) {
        stop();
        set(false);
        return;
    }
    check();
}

void ReachabilityCheck::check() {
    checking_ = true;
    misses_ = 0;
    ping_.delegate = this;
    // A new ping replaces the one running; what that one still tells is dropped.
    ping_.ping(ping::cleanedPingAddress(address_()));
}

void ReachabilityCheck::stop() {
    if (!checking_)
        return;
    checking_ = false;
    ping_.cancel();
    if (ping_.delegate == this)
        ping_.delegate = nullptr;
}

void ReachabilityCheck::answered(bool reachable) {
    stop();
    set(reachable);
    schedule();
}

void ReachabilityCheck::ping(const PingItemBase&, const Value& gotResult) {
    if (!checking_)
        return;
    if (!gotResult["timeout"].boolValue())
        answered(true);
    else if (++misses_ >= kMisses)
        answered(false);
}

void ReachabilityCheck::pingFailed(const PingItemBase&, const std::string&) {
    if (checking_)
        answered(false);
}

// Only a ping of a limited count ends by itself.
void ReachabilityCheck::pingComplete(const PingItemBase&, const Value& results) {
    if (checking_)
        answered(results["received"].integerValue() > 0);
}

void ReachabilityCheck::schedule() {
    if (connected_)
        timer_ = queue_.after(kInterval, [this] {
            timer_ = 0;
            check();
        });
}

void ReachabilityCheck::set(bool reachable) {
    if (reachable_ == reachable)
        return;
    reachable_ = reachable;
    changed_(reachable);
}

} // namespace corvane
