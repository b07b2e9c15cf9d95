#include "drawing/ItemRenderer.h"

#include "drawing/CVBModuleView.h"
#include "drawing/Surface.h"

#include <algorithm>

namespace corvane {

namespace {

void paintBackground(Surface& surface, const Size& size, ItemRenderer::Background background) {
    if (background == ItemRenderer::Background::Light)
        surface.fillRect({0, 0, size.width, size.height}, Color::gray(0.96));
    else if (background == ItemRenderer::Background::Dark)
        surface.fillRect({0, 0, size.width, size.height}, Color::gray(0.14));
}

} // namespace

Image ItemRenderer::render(CVBModuleView& view, const DrawingContext& context,
                           Background background) {
    view.setContext(context);
    // Items keep their width while their values change, so the width of the last drawing is
    // nearly always right: one pass at that size, a second only when the width moved. A pass
    // at the largest width first would clear and draw a surface of megabytes every frame.
    double width = view.lastWidth() > 0 ? view.lastWidth() : kMaximumWidth;
    for (int pass = 0;; ++pass) {
        Image picture(width, Surface::kStripHeight, context.scale);
        Surface surface(picture);
        paintBackground(surface, picture.size(), background);
        view.setSurface(&surface);
        const double drawn =
            std::clamp(static_cast<double>(view.drawAtOffset(0)), 1.0, kMaximumWidth);
        view.setSurface(nullptr);
        view.setLastWidth(drawn);
        if (drawn == width || pass == 1)
            return picture;
        width = drawn;
    }
}

} // namespace corvane
