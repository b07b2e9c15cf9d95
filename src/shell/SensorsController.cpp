#include "shell/SensorsController.h"

#include "shell/SectionManager.h"

namespace corvane {

void SensorsController::editFanControl() {
    // The editor lives on the page.
    prepareToShow();
    services().fanEditor->editFanControl();
}

} // namespace corvane
