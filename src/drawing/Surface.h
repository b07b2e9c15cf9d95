#pragma once

#include "drawing/Image.h"
#include "drawing/Path.h"
#include "drawing/TextAttributes.h"

#include <memory>
#include <string_view>
#include <vector>

using cairo_t = struct _cairo;

namespace corvane {

enum class Compositing { SourceOver, DestinationOut, SourceIn };

// The drawing operations the panel items are made of, on an image. Coordinates are points
// with the origin at the bottom left and y growing upward, as the item layouts are written;
// the surface turns them over once for Cairo.
class Surface {
public:
    // The height of the panel strip the items are laid out in.
    static constexpr double kStripHeight = 22;

    explicit Surface(Image& target);
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    void save();
    void restore();
    void clipToRect(const Rect& r);
    void clipToPath(const Path& path);

    void fillRect(const Rect& r, const Color& color);
    void fillOval(const Rect& r, const Color& color);
    void fillRoundedRect(const Rect& r, double radiusX, double radiusY, const Color& color);
    void fillPath(const Path& path, const Color& color);
    // An empty dash list draws a solid line.
    void strokePath(const Path& path, const Color& color, double lineWidth,
                    const std::vector<double>& dashes = {}, double dashPhase = 0);
    // From `from` to `to` across the path's bounds at an angle in degrees: 0 left to right,
    // 90 bottom to top.
    void fillPathWithGradient(const Path& path, const Color& from, const Color& to,
                              double angleDegrees);

    // Draws an image with its bottom left corner at the point.
    void drawImage(const Image& image, Point at, double alpha = 1.0,
                   Compositing operation = Compositing::SourceOver);

    // Text laid out in a rectangle: aligned across it, on its top edge, clipped to nothing.
    void drawText(std::string_view text, const Rect& in, const TextAttributes& attributes);
    Size measureText(std::string_view text, const TextAttributes& attributes) const;

    // A text of drawText drawn once into a picture of its own, to be drawn again at no cost
    // of laying it out. `offset` places the picture's bottom left corner from the top left
    // corner of the rectangle the text is laid out in.
    struct TextPicture {
        Image image;
        Point offset;
    };
    TextPicture textPicture(std::string_view text, double width,
                            const TextAttributes& attributes) const;
    // Draws the picture where drawText would draw its text; only where the rectangle's top
    // left corner falls on whole pixels is that exactly the same.
    void drawTextPicture(const TextPicture& picture, const Rect& in);
    bool onWholePixels(const Rect& in) const;

    void translate(double dx, double dy);
    void scale(double sx, double sy);
    void rotate(double degrees);

    cairo_t* cairo() const { return cr_.get(); }
    // Pixels per point of the target image.
    double scaleFactor() const { return scale_; }

private:
    struct Release {
        void operator()(cairo_t* cr) const noexcept;
    };
    void setColor(const Color& color);

    std::unique_ptr<cairo_t, Release> cr_;
    double height_;
    double scale_;
};

} // namespace corvane
