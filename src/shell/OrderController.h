#pragma once

#include "shell/SectionController.h"

namespace corvane {

// A section controller with nothing of its own, for pages that only need the base behaviour.
class OrderController : public SectionController {
public:
    using SectionController::SectionController;
};

} // namespace corvane
