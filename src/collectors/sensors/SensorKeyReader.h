#pragma once

#include <string_view>

namespace corvane {

// Where the decoded values of sensor keys come from: the controller read here, or the daemon
// that alone may move the controller's key cursor.
class SensorKeyReader {
public:
    virtual ~SensorKeyReader() = default;
    // The key's decoded value; -1.0 when it cannot be read.
    virtual double value(std::string_view key) = 0;
    // Before the items of a cycle are read: a reader that reads in batches does so here.
    virtual void beginCycle() {}
    // False while the source as a whole does not answer: the items keep their last values
    // rather than take its "cannot be read" for a reading.
    virtual bool answering() const { return true; }
};

} // namespace corvane
