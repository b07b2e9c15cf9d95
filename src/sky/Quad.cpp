#include "sky/Quad.h"

#include <cmath>

namespace corvane {

QuadCrossing quad(double yMinus, double y0, double yPlus) {
    QuadCrossing result;
    const double a = 0.5 * (yMinus + yPlus) - y0;
    const double b = 0.5 * (yPlus - yMinus);
    result.xe = -b / (2.0 * a);
    result.ye = (a * result.xe + b) * result.xe + y0;
    const double discriminant = b * b - 4.0 * a * y0;
    if (discriminant < 0.0) {
        return result;
    }
    const double dx = 0.5 * std::sqrt(discriminant) / std::fabs(a);
    result.root1 = result.xe - dx;
    result.root2 = result.xe + dx;
    if (std::fabs(result.root1) <= 1.0) {
        ++result.count;
    }
    if (std::fabs(result.root2) <= 1.0) {
        ++result.count;
    }
    if (result.root1 < -1.0) {
        result.root1 = result.root2;
    }
    return result;
}

} // namespace corvane
