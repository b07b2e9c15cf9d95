#pragma once

#include <string>

// Geometry of the moon phase picture shared by the dropdown's large image and the menu bar's
// small one: a dark disc image, with the light image shown through a clip whose terminator is
// a cubic curve. The drawing itself belongs to the views; this holds the numbers they draw with.

namespace corvane {

struct MoonPhaseImageLayout {
    int size = 0;  // S, points
    int range = 0; // R, how far the terminator may travel, wider than the disc
    std::string darkImage;
    std::string lightImage;
};

// currentMoonImage: S 120, R 150; currentSmallMoonImage: S 16, R 22.
MoonPhaseImageLayout currentMoonImageLayout();
MoonPhaseImageLayout currentSmallMoonImageLayout();

struct MoonImagePoint {
    double x = 0.0;
    double y = 0.0;
};

// In the picture's own frame, before rotation: y from 0 to S.
struct MoonPhaseGeometry {
    double size = 0.0;
    MoonImagePoint centre;
    double clipRadius = 0.0;  // disc clip: S / 2 - 1
    double rotation = 0.0;    // radians, about the centre
    double terminatorX = 0.0; // control-point abscissa of the terminator curve
    bool older = false;       // past full: the side region lies to the right
    // Closed path: start, cubic to curveEnd through control1 and control2, then the two side
    // corners. Added to the disc and clipped by the even-odd rule, it leaves the lit part of the
    // disc: everything of the disc outside this region.
    MoonImagePoint start;
    MoonImagePoint control1;
    MoonImagePoint control2;
    MoonImagePoint curveEnd;
    MoonImagePoint side1;
    MoonImagePoint side2;

    // Whether a point of the unrotated picture shows the light image.
    bool isLit(double x, double y) const;
};

MoonPhaseGeometry moonPhaseGeometry(int size, int range, double age, double illumination,
                                    double angle);

} // namespace corvane
