#include "collectors/ping/PingAddressTest.h"

#include "collectors/ping/HLVPingItem.h"
#include "collectors/ping/LinuxPingSocket.h"

#include <algorithm>

namespace corvane {

PingAddressTest::PingAddressTest(MainQueue& queue, HLVPing::TransportFactory factory)
    : queue_(queue)
    , factory_(factory ? std::move(factory) : [] {
        return std::unique_ptr<PingTransport>(std::make_unique<LinuxPingSocket>());
    }) {}

PingAddressTest::~PingAddressTest() {
    cancel();
}

void PingAddressTest::test(std::string_view field, std::function<void(bool)> done) {
    cancel();
    std::erase_if(cancelled_, [](const auto& old) { return !old->running(); });
    item_ = std::make_shared<HLVPingItem>(queue_, factory_());
    item_->timeout = 1;
    item_->packetsTotal = 4;
    item_->setDelegate(this);
    done_ = std::move(done);
    item_->ping(ping::cleanedPingAddress(field));
}

void PingAddressTest::cancel() {
    if (!item_)
        return;
    item_->cancel();
    cancelled_.push_back(std::move(item_));
    item_.reset();
    done_ = nullptr;
}

void PingAddressTest::finish(bool answered) {
    auto done = std::move(done_);
    cancel();
    if (done)
        done(answered);
}

void PingAddressTest::ping(const PingItemBase& item, const Value& gotResult) {
    if (&item == item_.get() && !gotResult["timeout"].boolValue())
        finish(true);
}

void PingAddressTest::pingFailed(const PingItemBase& item, const std::string&) {
    if (&item == item_.get())
        finish(false);
}

void PingAddressTest::pingComplete(const PingItemBase& item, const Value& results) {
    if (&item == item_.get())
        finish(results["received"].integerValue() > 0);
}

} // namespace corvane
