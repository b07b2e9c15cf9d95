#include "status/PixelConversion.h"

#include <algorithm>
#include <cairo.h>
#include <cstring>

namespace corvane {

namespace {

std::uint32_t straightChannel(std::uint32_t value, std::uint32_t alpha) {
    return std::min<std::uint32_t>(255, (value * 255 + alpha / 2) / alpha);
}

} // namespace

std::uint32_t unpremultiplied(std::uint32_t premultiplied) {
    const std::uint32_t alpha = premultiplied >> 24;
    if (alpha == 0)
        return 0;
    if (alpha == 255)
        return premultiplied;
    const std::uint32_t red = straightChannel((premultiplied >> 16) & 0xff, alpha);
    const std::uint32_t green = straightChannel((premultiplied >> 8) & 0xff, alpha);
    const std::uint32_t blue = straightChannel(premultiplied & 0xff, alpha);
    return alpha << 24 | red << 16 | green << 8 | blue;
}

std::vector<std::uint8_t> straightArgbBytes(const PanelPicture& picture) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(picture.pixels().size() * 4);
    for (const std::uint32_t pixel : picture.pixels()) {
        const std::uint32_t straight = unpremultiplied(pixel);
        bytes.push_back(static_cast<std::uint8_t>(straight >> 24));
        bytes.push_back(static_cast<std::uint8_t>(straight >> 16));
        bytes.push_back(static_cast<std::uint8_t>(straight >> 8));
        bytes.push_back(static_cast<std::uint8_t>(straight));
    }
    return bytes;
}

std::vector<std::uint8_t> nativeArgbBytes(const PanelPicture& picture) {
    std::vector<std::uint8_t> bytes(picture.pixels().size() * 4);
    if (!bytes.empty())
        std::memcpy(bytes.data(), picture.pixels().data(), bytes.size());
    return bytes;
}

std::vector<std::uint8_t> pngBytes(const PanelPicture& picture) {
    std::vector<std::uint8_t> png;
    if (picture.empty())
        return png;
    // Cairo's rows of ARGB32 are four bytes a pixel with no padding, as the picture's are.
    std::vector<std::uint32_t> pixels = picture.pixels();
    cairo_surface_t* surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(pixels.data()), CAIRO_FORMAT_ARGB32, picture.width(),
        picture.height(), picture.width() * 4);
    const auto append = [](void* out, const unsigned char* data, unsigned int length) {
        auto* bytes = static_cast<std::vector<std::uint8_t>*>(out);
        bytes->insert(bytes->end(), data, data + length);
        return CAIRO_STATUS_SUCCESS;
    };
    if (cairo_surface_write_to_png_stream(surface, append, &png) != CAIRO_STATUS_SUCCESS)
        png.clear();
    cairo_surface_destroy(surface);
    return png;
}

} // namespace corvane
