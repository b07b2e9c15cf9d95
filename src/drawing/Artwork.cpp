#include "drawing/Artwork.h"

#include "drawing/GraphicsHandles.h"
#include "drawing/Surface.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "preferences/CVBPreferences.h"

#include <cmath>

namespace corvane {

Artwork::Artwork() = default;
Artwork::~Artwork() = default;

std::shared_ptr<const Image> Artwork::imageNamed(const std::string& name, double scale) {
    const auto key = std::make_pair(name, scale);
    if (auto it = images_.find(key); it != images_.end())
        return it->second;
    // Pictures drawn ahead at whole scales (<name>@2x.png beside the SVG) spare the status
    // program the SVG library, a third of its memory; other scales draw the SVG.
    if (scale >= 1 && scale <= 4 && scale == std::floor(scale)) {
        const auto raster = Paths::dataDirectory() / "images" /
                            (name + "@" + std::to_string(static_cast<int>(scale)) + "x.png");
        std::error_code error;
        if (std::filesystem::exists(raster, error)) {
            if (auto image = Image::readPng(raster, scale)) {
                auto shared = std::make_shared<const Image>(std::move(*image));
                images_[key] = shared;
                return shared;
            }
        }
    }
    if (!svgTried_) {
        svgTried_ = true;
        svg_ = SvgLibrary::load();
    }
    std::string why = "no SVG library";
    const auto file = Paths::dataDirectory() / "images" / (name + ".svg");
    auto image = svg_ ? svg_->render(file, scale, why) : nullptr;
    if (!image)
        CVBLog("Artwork %s: cannot be drawn (%s)", name.c_str(), why.c_str());
    images_[key] = image; // a missing picture is asked for once
    return image;
}

std::shared_ptr<const Image> CVBCache::tintedImage(const std::string& name, const Color& tint,
                                                   double scale) {
    if (auto it = tinted_.find(std::tie(name, tint.red, tint.green, tint.blue, tint.alpha, scale));
        it != tinted_.end())
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
    tinted_[TintKey(name, tint.red, tint.green, tint.blue, tint.alpha, scale)] = tinted;
    return tinted;
}

} // namespace corvane
