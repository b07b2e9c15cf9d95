#pragma once

namespace corvane {

// A place on the sky as the low-precision models give it.
struct EquatorialPoint {
    double declination = 0.0;    // degrees
    double rightAscension = 0.0; // hours, 0 <= ra < 24
};

} // namespace corvane
