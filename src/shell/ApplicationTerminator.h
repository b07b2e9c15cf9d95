#pragma once

namespace corvane {

// Ends the application as quitting does: the shut-down steps, then the main loop.
class ApplicationTerminator {
public:
    virtual ~ApplicationTerminator() = default;
    virtual void terminate() = 0;
};

} // namespace corvane
