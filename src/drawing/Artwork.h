#pragma once

#include "drawing/Image.h"
#include "drawing/SvgLibrary.h"
#include "foundation/Color.h"
#include "text/TextContext.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace corvane {

// The pictures the views name ("menubar-label-cpu", "menubar-fan"), drawn as SVG under
// <data>/images and rendered at the scale of the surface they go on.
class Artwork {
public:
    Artwork();
    ~Artwork();
    Artwork(Artwork&&) = default;
    Artwork& operator=(Artwork&&) = default;

    // The picture at the scale, or nothing (and one log line) when there is none.
    std::shared_ptr<const Image> imageNamed(const std::string& name, double scale = 1.0);
    void clear() { images_.clear(); }

private:
    std::map<std::pair<std::string, double>, std::shared_ptr<const Image>> images_;
    std::unique_ptr<SvgLibrary> svg_;
    bool svgTried_ = false;
};

// What a host keeps across frames: the artwork and its tinted copies, as labels and icons are
// drawn in the panel's colour or the colour the user chose, and the formatter and string
// tables its texts are made with. One per host; the tinted copies are keyed by their colour,
// so they are never stale, and dropped wholesale past a bound so that colour edits do not
// grow it.
class CVBCache {
public:
    static constexpr std::size_t kMaximumTinted = 128;

    // The picture filled with the tint, its shape kept.
    std::shared_ptr<const Image> tintedImage(const std::string& name, const Color& tint,
                                             double scale = 1.0);
    Artwork& artwork() { return artwork_; }
    TextCaches& text() { return text_; }
    std::size_t tintedCount() const { return tinted_.size(); }
    void clear() {
        artwork_.clear();
        tinted_.clear();
    }

private:
    Artwork artwork_;
    TextCaches text_;
    // By name, tint (red, green, blue, alpha) and scale: asked each frame, so no key text.
    using TintKey = std::tuple<std::string, double, double, double, double, double>;
    std::map<TintKey, std::shared_ptr<const Image>, std::less<>> tinted_;
};

} // namespace corvane
