#pragma once

#include "../preferences/PreferencesFixture.h"
#include "drawing/Artwork.h"
#include "drawing/DrawingContext.h"

namespace corvane::test {

// Installed preferences and a host that draws with them, as the status program is one.
class DrawingFixture : public PreferencesFixture {
protected:
    // The host's context for the next frame: the look the preferences follow now.
    DrawingContext host(double scale = 1.0, bool modern = true) {
        return DrawingContext::forHost(preferences, artwork, scale, modern);
    }
    // The desktop turns dark or light, as the portal tells it.
    void setDark(bool dark) {
        appearance->dark = dark;
        preferences.updateMenubarThemeIfNeeded();
    }

    CVBPreferences& preferences = install();
    CVBCache artwork;
};

} // namespace corvane::test
