#pragma once

namespace corvane {

// The root of every collector; it carries nothing of its own.
class StatCollectorBase {
public:
    virtual ~StatCollectorBase() = default;
};

} // namespace corvane
