#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace corvane {

// Which dropdowns someone is looking at, so that their rows and the process list behind them
// are kept live only then. A front end that polls (the Shell's menu asks for the rows each
// second) keeps a dropdown live by asking; a tray host says "opened" and later "closed". A menu
// whose close never came is let go after a while: a host that vanished costs nothing.
class DropdownDemand {
public:
    static constexpr double kAskKeepsLive = 3.0; // seconds
    static constexpr double kOpenAtMost = 120.0; // seconds

    // Every dropdown live, always (headless runs that write the rows).
    void setAlways(bool always) { always_ = always; }
    bool always() const { return always_; }

    void asked(const std::string& id, double now);
    void opened(const std::string& id, double now);
    void closed(const std::string& id);

    bool wanted(std::string_view id, double now) const;

private:
    struct Look {
        double since = 0;
        bool open = false;
    };
    std::unordered_map<std::string, Look> looks_;
    bool always_ = false;
};

} // namespace corvane
