#include "collectors/ping/PingItemBase.h"

#include <algorithm>
#include <random>

namespace corvane {

PingItemBase::PingItemBase(MainQueue& queue, std::unique_ptr<PingTransport> transport)
    : queue_(queue)
    , transport_(std::move(transport)) {
    std::random_device random;
    identifier = static_cast<std::uint16_t>(std::uniform_int_distribution<int>(0, 0xffff)(random));
}

PingItemBase::~PingItemBase() {
    stopAndWait();
}

void PingItemBase::stopAndWait() {
    cancelled_ = true;
    wait();
}

void PingItemBase::cancel() {
    cancelled_ = true;
    delegate_ = nullptr;
}

void PingItemBase::ping(const std::string& target) {
    wait();
    running_ = true;
    thread_ = std::thread([this, target] {
        run(target);
        running_ = false;
    });
}

void PingItemBase::wait() {
    if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id())
        thread_.join();
}

void PingItemBase::tell(Call call) {
    if (cancelled_)
        return;
    queue_.async([weak = weak_from_this(), call = std::move(call)] {
        const auto self = weak.lock();
        if (self && !self->cancelled_ && self->delegate_)
            call(*self->delegate_, *self);
    });
}

void PingItemBase::pause(double seconds) {
    const double end = transport_->now() + seconds;
    for (double left = seconds; left > 0 && !cancelled_; left = end - transport_->now())
        transport_->sleep(std::min(left, 0.05));
}

void PingItemBase::noteTrip(double seconds) {
    if (minimumTripTime == 0 || seconds < minimumTripTime)
        minimumTripTime = seconds;
    maximumTripTime = std::max(maximumTripTime, seconds);
    totalTripTime += seconds;
}

Value PingItemBase::finalResults() const {
    return Value::dict({{"minimumTime", minimumTripTime},
                        {"maximumTime", maximumTripTime},
                        {"totalTime", totalTripTime},
                        {"sent", packetsSent},
                        {"received", packetsRecieved}});
}

} // namespace corvane
