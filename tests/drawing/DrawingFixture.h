#pragma once

#include "../preferences/PreferencesFixture.h"
#include "drawing/Artwork.h"
#include "drawing/DrawingContext.h"
#include "drawing/Image.h"
#include "drawing/ItemRenderer.h"

#include <algorithm>

namespace corvane::test {

// How many pixels of `image` pass `test(x, y, colour)`.
template <class Test>
int countPixels(const Image& image, Test test) {
    int count = 0;
    for (int y = 0; y < image.pixelHeight(); ++y)
        for (int x = 0; x < image.pixelWidth(); ++x)
            count += test(x, y, image.pixel(x, y)) ? 1 : 0;
    return count;
}

// Where the ink lies: the outermost columns and rows holding a pixel more opaque than `alpha`,
// or {width, height, -1, -1} in a picture without any.
struct Ink {
    int left, top, right, bottom;
};
inline Ink inkBounds(const Image& image, double alpha = 0) {
    Ink ink{image.pixelWidth(), image.pixelHeight(), -1, -1};
    countPixels(image, [&](int x, int y, Color c) {
        if (c.alpha > alpha)
            ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x),
                   std::max(ink.bottom, y)};
        return false;
    });
    return ink;
}

// The styles of a percentage and of stacked small text, by their preference keys.
inline const Value kPercentStyle = Value::dict({{"font", "CPU_MenubarTextSize"},
                                                {"color", "CPU_MenubarTextColor"},
                                                {"shadow", "CPU_MenubarTextShadowColor"},
                                                {"font-style", "CPU_MenubarFontStyle"},
                                                {"alignment", 1}});
inline const Value kSmallStyle = Value::dict({{"color", "Memory_UFUsedColor"},
                                              {"shadow", "Memory_UFUsedShadowColor"},
                                              {"font-style", "Memory_UFMenubarFontStyle"},
                                              {"alignment", 0}});

// Installed preferences and a host that draws with them, as the status program is one.
class DrawingFixture : public PreferencesFixture {
protected:
    // The host's context for the next frame: the look the preferences follow now.
    DrawingContext host(double scale = 1.0, bool modern = true) {
        return DrawingContext::forHost(preferences, artwork, scale, modern);
    }
    // Preferences of a second host in the same process, on files of their own.
    std::unique_ptr<CVBPreferences> otherHost() {
        auto env = environment();
        env.domain =
            std::make_shared<PreferenceDomain>(kExtrasDomain, otherFiles.path() / "x.plist");
        env.userDefaults =
            std::make_shared<PreferenceDomain>(kApplicationDomain, otherFiles.path() / "app.plist");
        return std::make_unique<CVBPreferences>(std::move(env));
    }
    // The desktop turns dark or light, as the portal tells it.
    void setDark(bool dark) {
        appearance->dark = dark;
        preferences.updateMenubarThemeIfNeeded();
    }
    // The item as the panel shows it, at two pixels a point, once `list` is stored under `key`.
    Image rendered(CVBModuleView& view, const char* key, const Value& list, bool dark) {
        setDark(dark);
        CVBSetObjectForKey(list, key);
        return ItemRenderer::render(view, host(2), ItemRenderer::Background::Transparent);
    }

    CVBPreferences& preferences = install();
    CVBCache artwork;
    TemporaryDirectory otherFiles;
};

} // namespace corvane::test
