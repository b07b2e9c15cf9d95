#pragma once

#include "drawing/Geometry.h"

#include <vector>

using cairo_t = struct _cairo;

namespace corvane {

// A shape made of lines and curves, kept as a list of steps so the same path can be filled,
// stroked and clipped to on any surface.
class Path {
public:
    Path& moveTo(Point p);
    Path& lineTo(Point p);
    Path& curveTo(Point control1, Point control2, Point end);
    Path& close();
    Path& addRect(const Rect& r);
    Path& addOval(const Rect& r);
    Path& addRoundedRect(const Rect& r, double radiusX, double radiusY);

    static Path rect(const Rect& r) { return Path().addRect(r); }
    static Path oval(const Rect& r) { return Path().addOval(r); }
    static Path roundedRect(const Rect& r, double rx, double ry) {
        return Path().addRoundedRect(r, rx, ry);
    }

    bool empty() const { return steps_.empty(); }
    // The smallest rectangle holding every point of the path, control points included.
    Rect bounds() const;
    // Makes the path the current path of a cairo context.
    void apply(cairo_t* cr) const;

private:
    enum class Kind { Move, Line, Curve, Close };
    struct Step {
        Kind kind;
        Point points[3];
    };
    std::vector<Step> steps_;
};

} // namespace corvane
