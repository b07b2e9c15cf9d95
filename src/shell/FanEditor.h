#pragma once

namespace corvane {

// The editor of fan rules on the Sensors page. Without a window there is none.
class FanEditor {
public:
    virtual ~FanEditor() = default;
    virtual void editFanControl() {}
};

} // namespace corvane
