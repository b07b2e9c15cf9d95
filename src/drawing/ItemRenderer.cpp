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
    const double scale = context.scale;
    int width = 0;
    {
        // At the final scale, so that the backgrounds the view keeps fit the picture.
        Image scratch(kMaximumWidth, Surface::kStripHeight, scale);
        Surface surface(scratch);
        view.setSurface(&surface);
        width = view.drawAtOffset(0);
    }
    Image picture(std::clamp(static_cast<double>(width), 1.0, kMaximumWidth), Surface::kStripHeight,
                  scale);
    Surface surface(picture);
    paintBackground(surface, picture.size(), background);
    view.setSurface(&surface);
    view.drawAtOffset(0);
    view.setSurface(nullptr);
    return picture;
}

} // namespace corvane
