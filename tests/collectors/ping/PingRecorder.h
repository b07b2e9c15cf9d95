#pragma once

#include "collectors/ping/HLVPingDelegate.h"
#include "collectors/ping/PingItemBase.h"

#include <string>
#include <vector>

namespace corvane {

// Writes down what a ping tells, one line per call: "began", "reply 3 ttl 64", "timeout 2",
// "failed Unable to ping host", "complete 4/0".
class PingRecorder final : public HLVPingDelegate {
public:
    std::vector<std::string> calls;
    std::vector<Value> results;

    void pingBegan(const PingItemBase&) override { calls.push_back("began"); }
    void ping(const PingItemBase&, const Value& result) override { note(result); }
    void pingFailed(const PingItemBase&, const std::string& error) override {
        calls.push_back("failed " + error);
    }
    void pingComplete(const PingItemBase&, const Value& r) override { complete(r); }
    void pingBegan6(const PingItemBase&) override { calls.push_back("began"); }
    void ping6(const PingItemBase&, const Value& result) override { note(result); }
    void pingFailed6(const PingItemBase&, const std::string& error) override {
        calls.push_back("failed " + error);
    }
    void pingComplete6(const PingItemBase&, const Value& r) override { complete(r); }

    bool finished() const {
        return !calls.empty() &&
               (calls.back().starts_with("complete") || calls.back().starts_with("failed"));
    }

private:
    void note(const Value& result) {
        results.push_back(result);
        calls.push_back(result["timeout"].boolValue()
                            ? "timeout " + std::to_string(result["sequence"].integerValue())
                            : "reply " + std::to_string(result["sequence"].integerValue()) +
                                  " ttl " + std::to_string(result["ttl"].integerValue()));
    }
    void complete(const Value& r) {
        results.push_back(r);
        calls.push_back("complete " + std::to_string(r["sent"].integerValue()) + "/" +
                        std::to_string(r["received"].integerValue()));
    }
};

} // namespace corvane
