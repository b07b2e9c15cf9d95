#pragma once

#include "shell/SectionController.h"

namespace corvane {

// The global settings: themes, panel order, dropdown looks.
class GeneralController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Global"; }

    // The help panel lives on the global page; the application's help controller owns it.
    void addHelpView(SectionPage* view) { helpView_ = view; }
    SectionPage* helpView() const { return helpView_; }

private:
    SectionPage* helpView_ = nullptr;
};

} // namespace corvane
