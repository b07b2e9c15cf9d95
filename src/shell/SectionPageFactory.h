#pragma once

#include "shell/SectionPage.h"

#include <memory>
#include <string>

namespace corvane {

class SectionController;

// Loads a section's page file. The window supplies the real pages; without one every section
// gets an empty page, so the registry works headless.
class SectionPageFactory {
public:
    virtual ~SectionPageFactory() = default;
    virtual std::unique_ptr<SectionPage> loadPage(const std::string& xibName,
                                                  SectionController& owner) {
        (void)owner;
        return std::make_unique<SectionPage>(xibName);
    }
};

} // namespace corvane
