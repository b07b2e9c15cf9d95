#include "window/PreviewArea.h"

#include "drawing/DrawingContext.h"
#include "drawing/ItemRenderer.h"
#include "drawing/Surface.h"

#include <cairo.h>

namespace corvane {

PreviewArea::PreviewArea(const std::string& section, CVBPreferences& preferences, CVBCache& artwork,
                         const EngineContext& engine)
    : preferences_(preferences)
    , artwork_(artwork) {
    const auto drawing = DrawingContext::forHost(preferences, artwork);
    item_ = makeSectionItem(section, engine, drawing);
    if (item_)
        item_->sample(); // rates and shares need a first reading to compare with
    set_content_height(static_cast<int>(Surface::kStripHeight) + 2 * kPadding);
    set_draw_func([this](const Cairo::RefPtr<Cairo::Context>& cairo, int, int) {
        paint(cairo->cobj(), get_scale_factor());
    });
    signal_map().connect([this] { startTicking(); });
    signal_unmap().connect([this] { stopTicking(); });
}

PreviewArea::~PreviewArea() {
    stopTicking();
}

std::optional<Image> PreviewArea::picture(bool dark, double scale) {
    if (!item_)
        return std::nullopt;
    const auto drawing =
        DrawingContext::forHost(preferences_, artwork_).withDark(dark).withScale(scale);
    return ItemRenderer::render(*item_->view, drawing,
                                dark ? ItemRenderer::Background::Dark
                                     : ItemRenderer::Background::Light);
}

void PreviewArea::paint(cairo_t* cairo, double scale) {
    double x = 0;
    for (const bool dark : {false, true}) {
        auto image = picture(dark, scale);
        if (!image)
            return;
        cairo_save(cairo);
        cairo_translate(cairo, x, kPadding);
        // The picture holds device pixels; the context counts in points.
        cairo_scale(cairo, 1.0 / scale, 1.0 / scale);
        cairo_set_source_surface(cairo, image->cairoSurface(), 0, 0);
        cairo_paint(cairo);
        cairo_restore(cairo);
        x += image->size().width + kGap;
    }
    const int width = static_cast<int>(x - kGap);
    if (get_content_width() != width)
        set_content_width(width);
}

void PreviewArea::tick() {
    if (item_)
        item_->sample();
    queue_draw();
}

void PreviewArea::startTicking() {
    if (!item_ || timer_.connected())
        return;
    timer_ = Glib::signal_timeout().connect_seconds(
        [this] {
            tick();
            return true;
        },
        1);
}

void PreviewArea::stopTicking() {
    timer_.disconnect();
}

} // namespace corvane
