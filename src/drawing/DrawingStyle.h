#pragma once

namespace corvane {

// The two looks of the panel items: the modern one (flat graphs in the panel's own text
// colour) and the older one (shaded outlines, white highlight while the menu is open). Every
// branch between them asks here, so the choice lives in one place.
class DrawingStyle {
public:
    static bool modern() { return modern_; }
    static void setModern(bool modern) { modern_ = modern; }

private:
    static inline bool modern_ = true;
};

} // namespace corvane
