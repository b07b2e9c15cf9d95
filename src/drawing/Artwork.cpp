#include "drawing/Artwork.h"

#include "drawing/GraphicsHandles.h"
#include "drawing/Surface.h"
#include "foundation/GLibHandles.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "preferences/CVBPreferences.h"

#include <cmath>
#include <librsvg/rsvg.h>

namespace corvane {

std::shared_ptr<const Image> Artwork::imageNamed(const std::string& name, double scale) {
    const auto key = std::make_pair(name, scale);
    if (auto it = images_.find(key); it != images_.end())
        return it->second;
    const auto file = Paths::dataDirectory() / "images" / (name + ".svg");
    GErrorHolder error;
    const auto handle =
        GObjectRef<RsvgHandle>::adopt(rsvg_handle_new_from_file(file.c_str(), error.out()));
    std::shared_ptr<const Image> image;
    const char* why = handle ? "no size" : error.message();
    gdouble width = 0;
    gdouble height = 0;
    if (handle && rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &width, &height)) {
        auto rendered = std::make_shared<Image>(width, height, scale);
        const CairoContext cr(cairo_create(rendered->cairoSurface()));
        const RsvgRectangle viewport{0, 0, width * scale, height * scale};
        if (rsvg_handle_render_document(handle.get(), cr.get(), &viewport, error.out()))
            image = rendered;
        else
            why = error.message();
    }
    if (!image)
        CVBLog("Artwork %s: cannot be drawn (%s)", name.c_str(), why);
    images_[key] = image; // a missing picture is asked for once
    return image;
}

std::shared_ptr<const Image> CVBCache::tintedImage(const std::string& name, const Color& tint,
                                                   double scale) {
    const auto cacheKey = std::make_pair("tint-" + name + "-" + stringFromColor(tint), scale);
    if (auto it = tinted_.find(cacheKey); it != tinted_.end())
        return it->second;
    const auto original = artwork_.imageNamed(name, scale);
    if (!original || original->size().width <= 0 || original->size().height <= 0)
        return nullptr;
    auto tinted = std::make_shared<Image>(original->size().width, original->size().height, scale);
    Surface s(*tinted);
    s.drawImage(*original, {0, 0});
    cairo_set_operator(s.cairo(), CAIRO_OPERATOR_IN);
    s.fillRect({0, 0, original->size().width, original->size().height}, tint);
    if (tinted_.size() >= kMaximumTinted)
        tinted_.clear();
    tinted_[cacheKey] = tinted;
    return tinted;
}

} // namespace corvane
