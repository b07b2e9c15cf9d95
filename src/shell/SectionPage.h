#pragma once

#include <string>

namespace corvane {

// The model behind a page or panel the window shows: a section's page, the dropdown order and
// hotkey editors. The window maps it to its widgets by `name`.
class SectionPage {
public:
    explicit SectionPage(std::string name)
        : name_(std::move(name)) {}
    virtual ~SectionPage() = default;
    SectionPage(const SectionPage&) = delete;
    SectionPage& operator=(const SectionPage&) = delete;

    const std::string& name() const { return name_; }

    std::string accessibilityLabel;

private:
    std::string name_;
};

} // namespace corvane
