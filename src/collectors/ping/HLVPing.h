#pragma once

#include "collectors/ping/HLVPingDelegate.h"
#include "collectors/ping/PingItemBase.h"

#include <functional>
#include <memory>
#include <vector>

namespace corvane {

// The front of the ping: one active item at a time. A new ping replaces the active item; the
// older one runs out on its own and its late results are dropped, since they come from an item
// that is no longer active. Main queue only.
class HLVPing final : public HLVPingDelegate {
public:
    using TransportFactory = std::function<std::unique_ptr<PingTransport>()>;
    // The packets of the program's shared ping, which runs until it is cancelled.
    static constexpr std::int64_t kRunUntilCancelled = 0x7fffffff;

    // Without a factory the pings go over the kernel's ICMP sockets.
    explicit HLVPing(MainQueue& queue, TransportFactory factory = {});
    ~HLVPing() override;
    HLVPing(const HLVPing&) = delete;
    HLVPing& operator=(const HLVPing&) = delete;

    void ping(const std::string& host);
    void ping6(const std::string& host);
    void cancel();

    bool logToConsole = false;
    bool active = false;
    HLVPingDelegate* delegate = nullptr;
    std::shared_ptr<PingItemBase> activeItem;
    std::int64_t packets = 4;
    std::int64_t timeout = 1;

    void pingBegan(const PingItemBase& item) override;
    void ping(const PingItemBase& item, const Value& gotResult) override;
    void pingFailed(const PingItemBase& item, const std::string& error) override;
    void pingComplete(const PingItemBase& item, const Value& results) override;
    void pingBegan6(const PingItemBase& item) override;
    void ping6(const PingItemBase& item, const Value& gotResult) override;
    void pingFailed6(const PingItemBase& item, const std::string& error) override;
    void pingComplete6(const PingItemBase& item, const Value& results) override;

private:
    void start(std::shared_ptr<PingItemBase> item, const std::string& host);
    bool forwards(const PingItemBase& item) const;
    void finish();

    MainQueue& queue_;
    TransportFactory factory_;
    std::vector<std::shared_ptr<PingItemBase>> retired_; // replaced items still running
};

} // namespace corvane
