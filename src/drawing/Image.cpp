#include "drawing/Image.h"

#include "foundation/Log.h"

#include <cairo.h>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

namespace corvane {

Image::Image(double width, double height, double scale)
    : width_(std::max(0.0, width))
    , height_(std::max(0.0, height))
    , scale_(scale > 0 ? scale : 1.0) {
    surface_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32,
                                          static_cast<int>(std::ceil(width_ * scale_)),
                                          static_cast<int>(std::ceil(height_ * scale_)));
}

Image::~Image() {
    if (surface_)
        cairo_surface_destroy(surface_);
}

Image::Image(Image&& other) noexcept
    : width_(other.width_)
    , height_(other.height_)
    , scale_(other.scale_)
    , surface_(std::exchange(other.surface_, nullptr)) {}

Image& Image::operator=(Image&& other) noexcept {
    if (this != &other) {
        if (surface_)
            cairo_surface_destroy(surface_);
        width_ = other.width_;
        height_ = other.height_;
        scale_ = other.scale_;
        surface_ = std::exchange(other.surface_, nullptr);
    }
    return *this;
}

int Image::pixelWidth() const {
    return surface_ ? cairo_image_surface_get_width(surface_) : 0;
}

int Image::pixelHeight() const {
    return surface_ ? cairo_image_surface_get_height(surface_) : 0;
}

Color Image::pixel(int x, int y) const {
    if (!surface_ || x < 0 || y < 0 || x >= pixelWidth() || y >= pixelHeight())
        return {0, 0, 0, 0};
    cairo_surface_flush(surface_);
    const unsigned char* data = cairo_image_surface_get_data(surface_);
    const int stride = cairo_image_surface_get_stride(surface_);
    std::uint32_t argb = 0;
    std::memcpy(&argb, data + y * stride + x * 4, sizeof argb);
    const double a = ((argb >> 24) & 0xff) / 255.0;
    if (a == 0)
        return {0, 0, 0, 0};
    auto channel = [&](int shift) { return ((argb >> shift) & 0xff) / 255.0 / a; };
    return {channel(16), channel(8), channel(0), a};
}

bool Image::writePng(const std::filesystem::path& file) const {
    if (!surface_ || cairo_surface_write_to_png(surface_, file.c_str()) != CAIRO_STATUS_SUCCESS) {
        CVBLog("Cannot write the picture %s", file.c_str());
        return false;
    }
    return true;
}

std::optional<Image> Image::readPng(const std::filesystem::path& file, double scale) {
    cairo_surface_t* loaded = cairo_image_surface_create_from_png(file.c_str());
    if (cairo_surface_status(loaded) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(loaded);
        CVBLog("Cannot read the picture %s", file.c_str());
        return std::nullopt;
    }
    scale = scale > 0 ? scale : 1.0;
    Image image(cairo_image_surface_get_width(loaded) / scale,
                cairo_image_surface_get_height(loaded) / scale, scale);
    cairo_t* cr = cairo_create(image.surface_);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_surface(cr, loaded, 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_destroy(loaded);
    return image;
}

} // namespace corvane
