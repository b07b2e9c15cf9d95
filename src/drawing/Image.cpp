#include "drawing/Image.h"

#include "drawing/GraphicsHandles.h"
#include "foundation/Log.h"

#include <cairo.h>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace corvane {

void Image::Release::operator()(cairo_surface_t* surface) const noexcept {
    cairo_surface_destroy(surface);
}

Image::Image(double width, double height, double scale)
    : width_(std::max(0.0, width))
    , height_(std::max(0.0, height))
    , scale_(scale > 0 ? scale : 1.0)
    , surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32,
                                          static_cast<int>(std::ceil(width_ * scale_)),
                                          static_cast<int>(std::ceil(height_ * scale_)))) {
    // Checked here once: a failed surface quietly ignores every operation drawn on it.
    if (const cairo_status_t status = cairo_surface_status(surface_.get());
        status != CAIRO_STATUS_SUCCESS)
        CVBLog("Cannot make a picture of %g x %g points at scale %g: %s", width_, height_, scale_,
               cairo_status_to_string(status));
}

int Image::pixelWidth() const {
    return surface_ ? cairo_image_surface_get_width(surface_.get()) : 0;
}

int Image::pixelHeight() const {
    return surface_ ? cairo_image_surface_get_height(surface_.get()) : 0;
}

Color Image::pixel(int x, int y) const {
    if (!surface_ || x < 0 || y < 0 || x >= pixelWidth() || y >= pixelHeight())
        return {0, 0, 0, 0};
    cairo_surface_flush(surface_.get());
    const unsigned char* data = cairo_image_surface_get_data(surface_.get());
    const int stride = cairo_image_surface_get_stride(surface_.get());
    std::uint32_t argb = 0;
    std::memcpy(&argb, data + y * stride + x * 4, sizeof argb);
    const double a = ((argb >> 24) & 0xff) / 255.0;
    if (a == 0)
        return {0, 0, 0, 0};
    auto channel = [&](int shift) { return ((argb >> shift) & 0xff) / 255.0 / a; };
    return {channel(16), channel(8), channel(0), a};
}

bool Image::writePng(const std::filesystem::path& file) const {
    if (!surface_ ||
        cairo_surface_write_to_png(surface_.get(), file.c_str()) != CAIRO_STATUS_SUCCESS) {
        CVBLog("Cannot write the picture %s", file.c_str());
        return false;
    }
    return true;
}

std::optional<Image> Image::readPng(const std::filesystem::path& file, double scale) {
    const CairoSurface loaded(cairo_image_surface_create_from_png(file.c_str()));
    if (cairo_surface_status(loaded.get()) != CAIRO_STATUS_SUCCESS) {
        CVBLog("Cannot read the picture %s", file.c_str());
        return std::nullopt;
    }
    scale = scale > 0 ? scale : 1.0;
    Image image(cairo_image_surface_get_width(loaded.get()) / scale,
                cairo_image_surface_get_height(loaded.get()) / scale, scale);
    const CairoContext cr(cairo_create(image.cairoSurface()));
    cairo_set_operator(cr.get(), CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr.get(), loaded.get(), 0, 0);
    cairo_paint(cr.get());
    return image;
}

} // namespace corvane
