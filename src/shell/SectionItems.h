#pragma once

#include "drawing/CVBModuleView.h"
#include "engine/EngineContext.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// A section's panel item on this machine's collectors: the view, and one reading of the
// collectors it shows.
struct SectionItem {
    std::function<void()> sample;
    std::unique_ptr<CVBModuleView> view;
};

// The sections that have a panel item drawn here, by the names the commands take.
std::vector<std::string> sectionItemNames();
// Nothing for a section without an item.
// The view starts with `drawing` and takes the host's context again each frame. `internet`
// tells the network item whether the internet answers (nullopt: not known).
std::optional<SectionItem> makeSectionItem(std::string_view section, const EngineContext& context,
                                           const DrawingContext& drawing,
                                           std::function<std::optional<bool>()> internet = {});
// Lets go of the shared collectors the items use.
void cleanupSectionItems();

} // namespace corvane
