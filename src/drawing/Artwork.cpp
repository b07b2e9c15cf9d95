#include "drawing/Artwork.h"

#include "drawing/CVBMenubarColorDetector.h"
#include "drawing/DrawingStyle.h"
#include "drawing/Surface.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "preferences/CVBPreferences.h"

#include <cairo.h>
#include <cmath>
#include <librsvg/rsvg.h>

namespace corvane {

Artwork& Artwork::shared() {
    static Artwork artwork;
    return artwork;
}

std::shared_ptr<const Image> Artwork::imageNamed(const std::string& name, double scale) {
    const auto key = std::make_pair(name, scale);
    if (auto it = images_.find(key); it != images_.end())
        return it->second;
    const auto file = Paths::dataDirectory() / "images" / (name + ".svg");
    GError* error = nullptr;
    RsvgHandle* handle = rsvg_handle_new_from_file(file.c_str(), &error);
    std::shared_ptr<const Image> image;
    gdouble width = 0;
    gdouble height = 0;
    if (handle && rsvg_handle_get_intrinsic_size_in_pixels(handle, &width, &height)) {
        auto rendered = std::make_shared<Image>(width, height, scale);
        cairo_t* cr = cairo_create(rendered->cairoSurface());
        const RsvgRectangle viewport{0, 0, width * scale, height * scale};
        if (rsvg_handle_render_document(handle, cr, &viewport, &error))
            image = rendered;
        cairo_destroy(cr);
    }
    if (!image)
        CVBLog("Artwork %s: cannot be drawn (%s)", name.c_str(),
               error ? error->message : "no size");
    g_clear_error(&error);
    if (handle)
        g_object_unref(handle);
    images_[key] = image; // a missing picture is asked for once
    return image;
}

CVBCache& CVBCache::cache() {
    static CVBCache cache;
    return cache;
}

std::shared_ptr<const Image> CVBCache::tintedImage(const std::string& name,
                                                   const std::string& colorKey, bool disabled,
                                                   bool down, double scale) {
    Color tint = CVBMenubarColorDetector::sharedDetector().tintColor();
    if (disabled)
        tint.alpha = 0.3;
    if (!colorKey.empty() && !CVBObjectForKey(colorKey).isNull())
        tint = CVBColorForKey(colorKey);
    if (down && !DrawingStyle::modern())
        tint = Color::white();
    // Keyed by the colour itself: a change of panel look or of the stored colour is a new
    // picture, never a stale one.
    const auto cacheKey = std::make_pair("tint-" + name + "-" + stringFromColor(tint), scale);
    if (auto it = images_.find(cacheKey); it != images_.end())
        return it->second;
    const auto original = Artwork::shared().imageNamed(name, scale);
    if (!original || original->size().width <= 0 || original->size().height <= 0)
        return nullptr;
    auto tinted = std::make_shared<Image>(original->size().width, original->size().height, scale);
    Surface s(*tinted);
    s.drawImage(*original, {0, 0});
    cairo_set_operator(s.cairo(), CAIRO_OPERATOR_IN);
    s.fillRect({0, 0, original->size().width, original->size().height}, tint);
    images_[cacheKey] = tinted;
    return tinted;
}

} // namespace corvane
