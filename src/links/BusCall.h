#pragma once

#include "foundation/GLibHandles.h"

#include <functional>
#include <memory>
#include <string>

namespace corvane {

// One method call to a named service, answered on the caller's main context. A failed call
// (no service, an error reply) runs no reply function: callers must not depend on one. The
// reply is dropped when `alive` has expired by then, as when its client was destroyed.
struct BusTarget {
    GDBusConnection* connection = nullptr;
    const char* busName = nullptr;
    const char* objectPath = nullptr;
    const char* interface = nullptr;
};

using BusReply = std::function<void(GVariant* reply)>;

// `parameters` may be floating (it is sunk) or null; an empty `reply` sends the call without
// asking for an answer.
void callBus(const BusTarget& target, const std::string& method, GVariant* parameters,
             const char* replyType, std::weak_ptr<void> alive, BusReply reply);

} // namespace corvane
