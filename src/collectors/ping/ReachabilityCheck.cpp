#include "collectors/ping/ReachabilityCheck.h"

namespace corvane {

ReachabilityCheck::ReachabilityCheck(MainQueue& queue, std::function<std::string()> address,
                                     std::function<void(bool)> changed,
                                     HLVPing::TransportFactory factory)
    : queue_(queue)
    , address_(std::move(address))
    , changed_(std::move(changed))
    , test_(queue, std::move(factory)) {}

ReachabilityCheck::~ReachabilityCheck() {
    if (timer_)
        queue_.cancel(timer_);
}

void ReachabilityCheck::networkChanged(std::int64_t networkStatus) {
    connected_ = networkStatus == 2;
    if (timer_)
        queue_.cancel(timer_);
    timer_ = 0;
    if (!connected_) {
        test_.cancel();
        set(false);
        return;
    }
    check();
}

void ReachabilityCheck::check() {
    test_.test(address_(), [this](bool answered) {
        set(answered);
        schedule();
    });
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
