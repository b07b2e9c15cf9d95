#pragma once

#include "shell/SectionPage.h"

#include <vector>

namespace corvane {

// The right-hand side of the window, which holds the selected section's page at full width.
class SectionViewContainer {
public:
    virtual ~SectionViewContainer() = default;
    virtual void removeAllSubviews() { subviews_.clear(); }
    virtual void addSubview(SectionPage& page) { subviews_.push_back(&page); }
    const std::vector<SectionPage*>& subviews() const { return subviews_; }

private:
    std::vector<SectionPage*> subviews_;
};

} // namespace corvane
