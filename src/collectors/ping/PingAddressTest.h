#pragma once

#include "collectors/ping/HLVPing.h"

#include <functional>
#include <memory>
#include <string_view>

namespace corvane {

// Whether an address answers: a fresh item pings it (four packets, a second each) and the first
// reply counts as success and ends the test; a failure or four timeouts as no answer. A new
// test cancels the one running, whose answer is then never told. Serves the address field of
// the Network section and the reachability check. Main queue only.
class PingAddressTest final : public HLVPingDelegate {
public:
    explicit PingAddressTest(MainQueue& queue, HLVPing::TransportFactory factory = {});
    ~PingAddressTest() override;
    PingAddressTest(const PingAddressTest&) = delete;
    PingAddressTest& operator=(const PingAddressTest&) = delete;

    // `field` as typed: "https://" and "http://" are dropped first.
    void test(std::string_view field, std::function<void(bool answered)> done);
    void cancel();
    bool testing() const { return item_ != nullptr; }

    void ping(const PingItemBase& item, const Value& gotResult) override;
    void pingFailed(const PingItemBase& item, const std::string& error) override;
    void pingComplete(const PingItemBase& item, const Value& results) override;

private:
    void finish(bool answered);

    MainQueue& queue_;
    HLVPing::TransportFactory factory_;
    std::shared_ptr<PingItemBase> item_;
    std::vector<std::shared_ptr<PingItemBase>> cancelled_; // kept alive until their runs end
    std::function<void(bool)> done_;
};

} // namespace corvane
