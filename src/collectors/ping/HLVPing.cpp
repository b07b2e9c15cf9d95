#include "collectors/ping/HLVPing.h"

#include "collectors/ping/HLVPingItem.h"
#include "collectors/ping/HLVPingItem6.h"
#include "collectors/ping/LinuxPingSocket.h"

#include <algorithm>

namespace corvane {

HLVPing::HLVPing(MainQueue& queue, TransportFactory factory)
    : queue_(queue)
    , factory_(factory ? std::move(factory) : [] {
        return std::unique_ptr<PingTransport>(std::make_unique<LinuxPingSocket>());
    }) {}

HLVPing::~HLVPing() {
    cancel();
    for (auto& item : retired_)
        item->cancel();
}

void HLVPing::ping(const std::string& host) {
    start(std::make_shared<HLVPingItem>(queue_, factory_()), host);
}

void HLVPing::ping6(const std::string& host) {
    start(std::make_shared<HLVPingItem6>(queue_, factory_()), host);
}

void HLVPing::start(std::shared_ptr<PingItemBase> item, const std::string& host) {
    std::erase_if(retired_, [](const auto& old) { return !old->running(); });
    if (activeItem)
        retired_.push_back(std::move(activeItem));
    item->packetsTotal = packets;
    item->timeout = timeout;
    item->logToConsole = logToConsole;
    item->setDelegate(this);
    activeItem = std::move(item);
    active = true;
    activeItem->ping(host);
}

void HLVPing::cancel() {
    active = false;
    if (activeItem)
        activeItem->cancel();
}

bool HLVPing::forwards(const PingItemBase& item) const {
    return delegate && activeItem.get() == &item;
}

void HLVPing::finish() {
    active = false;
    if (activeItem)
        retired_.push_back(std::move(activeItem));
    activeItem.reset();
}

void HLVPing::pingBegan(const PingItemBase& item) {
    if (forwards(item))
        delegate->pingBegan(item);
}

void HLVPing::ping(const PingItemBase& item, const Value& gotResult) {
    if (forwards(item))
        delegate->ping(item, gotResult);
}

void HLVPing::pingFailed(const PingItemBase& item, const std::string& error) {
    if (!forwards(item))
        return;
    HLVPingDelegate* target = delegate;
    finish();
    target->pingFailed(item, error);
}

void HLVPing::pingComplete(const PingItemBase& item, const Value& results) {
    if (!forwards(item))
        return;
    HLVPingDelegate* target = delegate;
    finish();
    target->pingComplete(item, results);
}

void HLVPing::pingBegan6(const PingItemBase& item) {
    if (forwards(item))
        delegate->pingBegan6(item);
}

void HLVPing::ping6(const PingItemBase& item, const Value& gotResult) {
    if (forwards(item))
        delegate->ping6(item, gotResult);
}

void HLVPing::pingFailed6(const PingItemBase& item, const std::string& error) {
    if (!forwards(item))
        return;
    HLVPingDelegate* target = delegate;
    finish();
    target->pingFailed6(item, error);
}

void HLVPing::pingComplete6(const PingItemBase& item, const Value& results) {
    if (!forwards(item))
        return;
    HLVPingDelegate* target = delegate;
    finish();
    target->pingComplete6(item, results);
}

} // namespace corvane
