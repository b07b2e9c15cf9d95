#pragma once

#include "collectors/ping/HLVPingDelegate.h"
#include "collectors/ping/PingTransport.h"
#include "foundation/MainQueue.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace corvane {

// What both ping items share: the run on a thread of its own, the cancel flag polled between
// blocking calls, the counters, and the hand-over of every result to the main queue. An item
// runs one ping and is then discarded; its owner keeps it alive while it runs (the destructor
// cancels and waits for the run, which notices within a tenth of a second).
class PingItemBase : public std::enable_shared_from_this<PingItemBase> {
public:
    PingItemBase(MainQueue& queue, std::unique_ptr<PingTransport> transport);
    virtual ~PingItemBase();
    PingItemBase(const PingItemBase&) = delete;
    PingItemBase& operator=(const PingItemBase&) = delete;

    // Main queue only. After cancel the delegate hears nothing more from this item.
    void setDelegate(HLVPingDelegate* delegate) { delegate_ = delegate; }
    void cancel();
    bool cancelled() const { return cancelled_; }

    // Starts the run on a thread of its own.
    void ping(const std::string& host);
    // The run itself, blocking; for the thread above and for tests.
    virtual void run(const std::string& host) = 0;
    // Blocks until a started run has ended.
    void wait();
    bool running() const { return running_; }

    std::int64_t packetsTotal = 4;
    std::int64_t timeout = 1;
    bool logToConsole = false;
    std::int64_t packetSequence = 0;
    std::int64_t packetsSent = 0;
    std::int64_t packetsRecieved = 0;
    double totalTripTime = 0;
    double minimumTripTime = 0;
    double maximumTripTime = 0;
    std::uint16_t identifier = 0;
    std::string host;

protected:
    using Call = std::function<void(HLVPingDelegate&, const PingItemBase&)>;
    // Hands the call to the main queue, where it is dropped if the item was cancelled by then.
    void tell(Call call);
    // Sleeps on the transport's clock, waking early when cancelled.
    void pause(double seconds);
    void noteTrip(double seconds);
    // For the destructors of subclasses: their members must outlive the run.
    void stopAndWait();
    Value finalResults() const;

    MainQueue& queue_;
    std::unique_ptr<PingTransport> transport_;

private:
    std::atomic<bool> cancelled_{false};
    std::atomic<bool> running_{false};
    HLVPingDelegate* delegate_ = nullptr;
    std::thread thread_;
};

} // namespace corvane
