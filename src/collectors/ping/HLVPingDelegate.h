#pragma once

#include "foundation/Value.h"

#include <string>

namespace corvane {

class PingItemBase;

// What a ping tells, always on the main queue. Results are dictionaries: "bytes", "ttl",
// "time", "sequence", "address", or "timeout" with "sequence"; the final one "minimumTime",
// "maximumTime", "totalTime", "sent", "received".
class HLVPingDelegate {
public:
    virtual ~HLVPingDelegate() = default;

    virtual void pingBegan(const PingItemBase&) {}
    virtual void ping(const PingItemBase&, const Value& /*gotResult*/) {}
    virtual void pingFailed(const PingItemBase&, const std::string& /*error*/) {}
    virtual void pingComplete(const PingItemBase&, const Value& /*results*/) {}

    virtual void pingBegan6(const PingItemBase&) {}
    virtual void ping6(const PingItemBase&, const Value& /*gotResult*/) {}
    virtual void pingFailed6(const PingItemBase&, const std::string& /*error*/) {}
    virtual void pingComplete6(const PingItemBase&, const Value& /*results*/) {}
};

} // namespace corvane
