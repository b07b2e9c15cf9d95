#pragma once

#include "drawing/Image.h"

namespace corvane {

class CVBModuleView;
struct DrawingContext;

// A panel item drawn as the panel shows it, at the width it takes.
class ItemRenderer {
public:
    enum class Background { Transparent, Light, Dark };

    // The widest item a scratch strip measures; wider items are cut there.
    static constexpr double kMaximumWidth = 4096;

    // Draws once on a scratch strip to learn the width, then on a picture of that width (one
    // point for an empty item), over the panel colour asked for, at the context's scale.
    static Image render(CVBModuleView& view, const DrawingContext& context, Background background);
};

} // namespace corvane
