#pragma once

#include "drawing/Geometry.h"
#include "foundation/Color.h"

#include <filesystem>
#include <memory>
#include <optional>

using cairo_surface_t = struct _cairo_surface;

namespace corvane {

// A picture in memory, sized in points and held at a scale factor (2 for HiDPI output), with
// premultiplied alpha. Owns its pixels; copies share none.
class Image {
public:
    Image(double width, double height, double scale = 1.0);
    Image(Image&& other) noexcept = default;
    Image& operator=(Image&& other) noexcept = default;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    Size size() const { return {width_, height_}; }
    double scale() const { return scale_; }
    int pixelWidth() const;
    int pixelHeight() const;
    // The colour of one pixel, y counted from the top row as in the file, alpha not
    // premultiplied; for tests and previews.
    Color pixel(int x, int y) const;
    bool writePng(const std::filesystem::path& file) const;
    // A PNG file's pixels as a picture at the scale; nothing (and a log line) when unreadable.
    static std::optional<Image> readPng(const std::filesystem::path& file, double scale = 1.0);

    cairo_surface_t* cairoSurface() const { return surface_.get(); }

private:
    struct Release {
        void operator()(cairo_surface_t* surface) const noexcept;
    };

    double width_;
    double height_;
    double scale_;
    std::unique_ptr<cairo_surface_t, Release> surface_;
};

} // namespace corvane
