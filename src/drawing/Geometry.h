#pragma once

namespace corvane {

struct Point {
    double x = 0;
    double y = 0;
    friend constexpr bool operator==(const Point&, const Point&) = default;
};

struct Size {
    double width = 0;
    double height = 0;
    friend constexpr bool operator==(const Size&, const Size&) = default;
};

// In points, origin at the bottom left, y growing upward.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    constexpr double maxX() const { return x + width; }
    constexpr double maxY() const { return y + height; }
    constexpr Point center() const { return {x + width / 2, y + height / 2}; }
    friend constexpr bool operator==(const Rect&, const Rect&) = default;
};

} // namespace corvane
