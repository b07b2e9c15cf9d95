#pragma once

namespace corvane {

// Brings the settings application to the front, as opening a section from the panel asks.
class ApplicationActivator {
public:
    virtual ~ApplicationActivator() = default;
    virtual void bringForward() {}
};

} // namespace corvane
