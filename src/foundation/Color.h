#pragma once

namespace corvane {

// A colour with components from 0 to 1, as the settings store and the drawing use it.
struct Color {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;

    static constexpr Color black() { return {0.0, 0.0, 0.0, 1.0}; }
    static constexpr Color white() { return {1.0, 1.0, 1.0, 1.0}; }
    // A grey of the given brightness.
    static constexpr Color gray(double white, double alpha = 1.0) {
        return {white, white, white, alpha};
    }

    friend constexpr bool operator==(const Color&, const Color&) = default;
};

} // namespace corvane
