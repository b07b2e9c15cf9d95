#include "drawing/Surface.h"

#include "drawing/GraphicsHandles.h"
#include "foundation/GLibHandles.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace corvane {

namespace {

cairo_operator_t cairoOperator(Compositing operation) {
    switch (operation) {
    case Compositing::DestinationOut:
        return CAIRO_OPERATOR_DEST_OUT;
    case Compositing::SourceIn:
        return CAIRO_OPERATOR_IN;
    case Compositing::SourceOver:
        break;
    }
    return CAIRO_OPERATOR_OVER;
}

// A layout of the text in the attributes' font; `width` < 0 lays out on one unbounded line.
GObjectRef<PangoLayout> makeLayout(cairo_t* cr, std::string_view text, const TextAttributes& a,
                                   double width) {
    auto owned = GObjectRef<PangoLayout>::adopt(pango_cairo_create_layout(cr));
    PangoLayout* layout = owned.get();
    // Unhinted metrics keep widths the same at every scale, so items measure alike on any
    // screen.
    const CairoFontOptions options(cairo_font_options_create());
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(pango_layout_get_context(layout), options.get());
    pango_layout_context_changed(layout);

    const PangoFontDescriptionPtr font(pango_font_description_new());
    pango_font_description_set_family(font.get(), a.family.c_str());
    pango_font_description_set_absolute_size(font.get(), a.size * PANGO_SCALE);
    pango_font_description_set_weight(font.get(), static_cast<PangoWeight>(a.weight));
    pango_layout_set_font_description(layout, font.get());
    const PangoAttrListPtr list(pango_attr_list_new());
    if (a.tabularDigits)
        pango_attr_list_insert(list.get(), pango_attr_font_features_new("tnum=1"));
    if (a.letterSpacing != 0)
        pango_attr_list_insert(list.get(), pango_attr_letter_spacing_new(
                                               static_cast<int>(a.letterSpacing * PANGO_SCALE)));
    pango_layout_set_attributes(layout, list.get());
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    if (width >= 0) {
        pango_layout_set_width(layout, static_cast<int>(width * PANGO_SCALE));
        pango_layout_set_alignment(layout, a.alignment == TextAlignment::Centre ? PANGO_ALIGN_CENTER
                                           : a.alignment == TextAlignment::Right
                                               ? PANGO_ALIGN_RIGHT
                                               : PANGO_ALIGN_LEFT);
    }
    return owned;
}

} // namespace

void Surface::Release::operator()(cairo_t* cr) const noexcept {
    cairo_destroy(cr);
}

Surface::Surface(Image& target)
    : cr_(cairo_create(target.cairoSurface()))
    , height_(target.size().height)
    , scale_(target.scale()) {
    // Checked once: a failed context ignores every operation drawn with it.
    if (const cairo_status_t status = cairo_status(cairo()); status != CAIRO_STATUS_SUCCESS)
        CVBLog("Cannot draw on the picture: %s", cairo_status_to_string(status));
    cairo_scale(cairo(), target.scale(), target.scale());
    // Turn the picture over once: the layouts count y upward from the bottom.
    cairo_translate(cairo(), 0, height_);
    cairo_scale(cairo(), 1, -1);
}

void Surface::save() {
    cairo_save(cairo());
}

void Surface::restore() {
    cairo_restore(cairo());
}

void Surface::setColor(const Color& c) {
    cairo_set_source_rgba(cairo(), c.red, c.green, c.blue, c.alpha);
}

void Surface::clipToRect(const Rect& r) {
    clipToPath(Path::rect(r));
}

void Surface::clipToPath(const Path& path) {
    path.apply(cairo());
    cairo_clip(cairo());
}

void Surface::fillRect(const Rect& r, const Color& color) {
    fillPath(Path::rect(r), color);
}

void Surface::fillOval(const Rect& r, const Color& color) {
    fillPath(Path::oval(r), color);
}

void Surface::fillRoundedRect(const Rect& r, double rx, double ry, const Color& color) {
    fillPath(Path::roundedRect(r, rx, ry), color);
}

void Surface::fillPath(const Path& path, const Color& color) {
    path.apply(cairo());
    setColor(color);
    cairo_fill(cairo());
}

void Surface::strokePath(const Path& path, const Color& color, double lineWidth,
                         const std::vector<double>& dashes, double dashPhase) {
    path.apply(cairo());
    setColor(color);
    cairo_set_line_width(cairo(), lineWidth);
    cairo_set_dash(cairo(), dashes.data(), static_cast<int>(dashes.size()), dashPhase);
    cairo_stroke(cairo());
    cairo_set_dash(cairo(), nullptr, 0, 0);
}

void Surface::fillPathWithGradient(const Path& path, const Color& from, const Color& to,
                                   double angleDegrees) {
    const Rect b = path.bounds();
    const double radians = angleDegrees * M_PI / 180.0;
    const double dx = std::cos(radians);
    const double dy = std::sin(radians);
    // Half the extent of the bounds along the direction, so both ends touch the corners.
    const double half = (std::fabs(dx) * b.width + std::fabs(dy) * b.height) / 2;
    const Point c = b.center();
    const CairoPattern gradient(cairo_pattern_create_linear(c.x - dx * half, c.y - dy * half,
                                                            c.x + dx * half, c.y + dy * half));
    cairo_pattern_add_color_stop_rgba(gradient.get(), 0, from.red, from.green, from.blue,
                                      from.alpha);
    cairo_pattern_add_color_stop_rgba(gradient.get(), 1, to.red, to.green, to.blue, to.alpha);
    path.apply(cairo());
    cairo_set_source(cairo(), gradient.get());
    cairo_fill(cairo());
}

void Surface::drawImage(const Image& image, Point at, double alpha, Compositing operation) {
    const Size size = image.size();
    cairo_save(cairo());
    // Images are stored top row first: turn the coordinates back for the copy.
    cairo_translate(cairo(), at.x, at.y + size.height);
    cairo_scale(cairo(), 1.0 / image.scale(), -1.0 / image.scale());
    cairo_set_source_surface(cairo(), image.cairoSurface(), 0, 0);
    cairo_set_operator(cairo(), cairoOperator(operation));
    cairo_paint_with_alpha(cairo(), alpha);
    cairo_restore(cairo());
}

void Surface::drawText(std::string_view text, const Rect& in, const TextAttributes& attributes) {
    const GObjectRef<PangoLayout> layout = makeLayout(cairo(), text, attributes, in.width);
    cairo_save(cairo());
    cairo_translate(cairo(), in.x, in.maxY());
    cairo_scale(cairo(), 1, -1);
    if (attributes.shadow) {
        cairo_move_to(cairo(), 0, 1);
        setColor(*attributes.shadow);
        pango_cairo_show_layout(cairo(), layout.get());
    }
    cairo_move_to(cairo(), 0, 0);
    setColor(attributes.color);
    pango_cairo_show_layout(cairo(), layout.get());
    cairo_restore(cairo());
}

Size Surface::measureText(std::string_view text, const TextAttributes& attributes) const {
    const GObjectRef<PangoLayout> layout = makeLayout(cairo(), text, attributes, -1);
    PangoRectangle logical{};
    pango_layout_get_extents(layout.get(), nullptr, &logical);
    return {static_cast<double>(logical.width) / PANGO_SCALE,
            static_cast<double>(logical.height) / PANGO_SCALE};
}

Surface::TextPicture Surface::textPicture(std::string_view text, double width,
                                          const TextAttributes& attributes) const {
    const GObjectRef<PangoLayout> layout = makeLayout(cairo(), text, attributes, width);
    PangoRectangle ink{}, logical{};
    pango_layout_get_extents(layout.get(), &ink, &logical);
    // The box of everything drawn, in the layout's points (y down from its top), with a pixel
    // of room for the smoothed edges, on the pixel grid.
    const double s = scale_;
    const auto points = [](int units) { return static_cast<double>(units) / PANGO_SCALE; };
    const double left = std::floor(points(std::min(ink.x, logical.x)) * s - 1) / s;
    const double top = std::floor(points(std::min(ink.y, logical.y)) * s - 1) / s;
    const double right =
        std::ceil(points(std::max(ink.x + ink.width, logical.x + logical.width)) * s + 1) / s;
    const double bottom =
        std::ceil((points(std::max(ink.y + ink.height, logical.y + logical.height)) +
                   (attributes.shadow ? 1 : 0)) *
                      s +
                  1) /
        s;
    TextPicture picture{Image(right - left, bottom - top, s), Point{left, -bottom}};
    const CairoContext cr(cairo_create(picture.image.cairoSurface()));
    cairo_scale(cr.get(), s, s);
    cairo_translate(cr.get(), -left, -top);
    pango_cairo_update_layout(cr.get(), layout.get());
    if (attributes.shadow) {
        const Color& c = *attributes.shadow;
        cairo_set_source_rgba(cr.get(), c.red, c.green, c.blue, c.alpha);
        cairo_move_to(cr.get(), 0, 1);
        pango_cairo_show_layout(cr.get(), layout.get());
    }
    const Color& c = attributes.color;
    cairo_set_source_rgba(cr.get(), c.red, c.green, c.blue, c.alpha);
    cairo_move_to(cr.get(), 0, 0);
    pango_cairo_show_layout(cr.get(), layout.get());
    return picture;
}

void Surface::drawTextPicture(const TextPicture& picture, const Rect& in) {
    drawImage(picture.image, {in.x + picture.offset.x, in.maxY() + picture.offset.y});
}

bool Surface::onWholePixels(const Rect& in) const {
    const auto whole = [](double v) { return std::abs(v - std::round(v)) < 1e-6; };
    // Turned, stretched or moved by parts of a pixel, the text would fall on the pixels
    // differently from its picture.
    cairo_matrix_t m;
    cairo_get_matrix(cairo(), &m);
    if (m.xy != 0 || m.yx != 0 || m.xx != scale_ || m.yy != -scale_)
        return false;
    double x = in.x, y = in.maxY();
    cairo_user_to_device(cairo(), &x, &y);
    return whole(x) && whole(y);
}

void Surface::translate(double dx, double dy) {
    cairo_translate(cairo(), dx, dy);
}

void Surface::scale(double sx, double sy) {
    cairo_scale(cairo(), sx, sy);
}

void Surface::rotate(double degrees) {
    cairo_rotate(cairo(), degrees * M_PI / 180.0);
}

} // namespace corvane
