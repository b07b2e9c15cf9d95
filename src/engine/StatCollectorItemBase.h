#pragma once

namespace corvane {

// The root of every collector item; it carries nothing of its own.
class StatCollectorItemBase {
public:
    virtual ~StatCollectorItemBase() = default;
};

} // namespace corvane
