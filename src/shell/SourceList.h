#pragma once

#include "shell/SourceListItem.h"

#include <vector>

namespace corvane {

// The list of sections on the left of the window, in the order the items were added.
class SourceList {
public:
    virtual ~SourceList() = default;
    virtual void addItem(SourceListItem& item) { items_.push_back(&item); }
    const std::vector<SourceListItem*>& items() const { return items_; }

private:
    std::vector<SourceListItem*> items_;
};

} // namespace corvane
