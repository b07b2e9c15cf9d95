#pragma once

namespace corvane {

struct SourceListItem;

// The main window as the registry sees it: where the keyboard focus is.
class SectionWindow {
public:
    virtual ~SectionWindow() = default;
    virtual void makeFirstResponder(SourceListItem* item) { firstResponder_ = item; }
    SourceListItem* firstResponder() const { return firstResponder_; }

private:
    SourceListItem* firstResponder_ = nullptr;
};

} // namespace corvane
