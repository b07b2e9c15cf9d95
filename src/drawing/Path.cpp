#include "drawing/Path.h"

#include <algorithm>
#include <cairo.h>
#include <cmath>

namespace corvane {

namespace {
// The distance of the control points for a quarter ellipse made of one cubic curve.
constexpr double kKappa = 0.5522847498307936;
} // namespace

Path& Path::moveTo(Point p) {
    steps_.push_back({Kind::Move, {p, {}, {}}});
    return *this;
}

Path& Path::lineTo(Point p) {
    steps_.push_back({Kind::Line, {p, {}, {}}});
    return *this;
}

Path& Path::curveTo(Point c1, Point c2, Point end) {
    steps_.push_back({Kind::Curve, {c1, c2, end}});
    return *this;
}

Path& Path::close() {
    steps_.push_back({Kind::Close, {}});
    return *this;
}

Path& Path::addRect(const Rect& r) {
    return moveTo({r.x, r.y})
        .lineTo({r.maxX(), r.y})
        .lineTo({r.maxX(), r.maxY()})
        .lineTo({r.x, r.maxY()})
        .close();
}

Path& Path::addOval(const Rect& r) {
    const double rx = r.width / 2;
    const double ry = r.height / 2;
    const Point c = r.center();
    const double kx = rx * kKappa;
    const double ky = ry * kKappa;
    return moveTo({c.x + rx, c.y})
        .curveTo({c.x + rx, c.y + ky}, {c.x + kx, c.y + ry}, {c.x, c.y + ry})
        .curveTo({c.x - kx, c.y + ry}, {c.x - rx, c.y + ky}, {c.x - rx, c.y})
        .curveTo({c.x - rx, c.y - ky}, {c.x - kx, c.y - ry}, {c.x, c.y - ry})
        .curveTo({c.x + kx, c.y - ry}, {c.x + rx, c.y - ky}, {c.x + rx, c.y})
        .close();
}

Path& Path::addRoundedRect(const Rect& r, double radiusX, double radiusY) {
    const double rx = std::clamp(radiusX, 0.0, r.width / 2);
    const double ry = std::clamp(radiusY, 0.0, r.height / 2);
    if (rx <= 0 || ry <= 0)
        return addRect(r);
    const double kx = rx * (1 - kKappa);
    const double ky = ry * (1 - kKappa);
    return moveTo({r.x + rx, r.y})
        .lineTo({r.maxX() - rx, r.y})
        .curveTo({r.maxX() - kx, r.y}, {r.maxX(), r.y + ky}, {r.maxX(), r.y + ry})
        .lineTo({r.maxX(), r.maxY() - ry})
        .curveTo({r.maxX(), r.maxY() - ky}, {r.maxX() - kx, r.maxY()}, {r.maxX() - rx, r.maxY()})
        .lineTo({r.x + rx, r.maxY()})
        .curveTo({r.x + kx, r.maxY()}, {r.x, r.maxY() - ky}, {r.x, r.maxY() - ry})
        .lineTo({r.x, r.y + ry})
        .curveTo({r.x, r.y + ky}, {r.x + kx, r.y}, {r.x + rx, r.y})
        .close();
}

Rect Path::bounds() const {
    bool any = false;
    double minX = 0, minY = 0, maxX = 0, maxY = 0;
    for (const Step& step : steps_) {
        const int count = step.kind == Kind::Curve ? 3 : step.kind == Kind::Close ? 0 : 1;
        for (int i = 0; i < count; ++i) {
            const Point p = step.points[i];
            minX = any ? std::min(minX, p.x) : p.x;
            minY = any ? std::min(minY, p.y) : p.y;
            maxX = any ? std::max(maxX, p.x) : p.x;
            maxY = any ? std::max(maxY, p.y) : p.y;
            any = true;
        }
    }
    return {minX, minY, maxX - minX, maxY - minY};
}

void Path::apply(cairo_t* cr) const {
    cairo_new_path(cr);
    for (const Step& s : steps_) {
        switch (s.kind) {
        case Kind::Move:
            cairo_move_to(cr, s.points[0].x, s.points[0].y);
            break;
        case Kind::Line:
            cairo_line_to(cr, s.points[0].x, s.points[0].y);
            break;
        case Kind::Curve:
            cairo_curve_to(cr, s.points[0].x, s.points[0].y, s.points[1].x, s.points[1].y,
                           s.points[2].x, s.points[2].y);
            break;
        case Kind::Close:
            cairo_close_path(cr);
            break;
        }
    }
}

} // namespace corvane
