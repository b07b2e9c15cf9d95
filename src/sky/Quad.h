#pragma once

namespace corvane {

// A parabola through three values sampled at x = -1, 0, +1 and where it crosses zero.
// Rise and set searches step an altitude function in equal intervals and ask this for the
// crossings inside the interval [-1, +1].
struct QuadCrossing {
    int count = 0;      // roots within [-1, +1]: 0, 1 or 2
    double root1 = 0.0; // the lower root, or the only one inside the interval
    double root2 = 0.0;
    double xe = 0.0; // abscissa of the extremum
    double ye = 0.0; // value at the extremum
};

// Three equal values make the parabola degenerate; xe and ye come out NaN and count is 0,
// which callers that look only at counts of 1 and 2 handle without special cases.
QuadCrossing quad(double yMinus, double y0, double yPlus);

} // namespace corvane
