#pragma once

#include "drawing/Image.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace corvane {

// The pictures the views name ("menubar-label-cpu", "menubar-fan"), drawn as SVG under
// <data>/images and rendered at the scale of the surface they go on.
class Artwork {
public:
    static Artwork& shared();

    // The picture at the scale, or nothing (and one log line) when there is none.
    std::shared_ptr<const Image> imageNamed(const std::string& name, double scale = 1.0);
    void clear() { images_.clear(); }

private:
    std::map<std::pair<std::string, double>, std::shared_ptr<const Image>> images_;
};

// Tinted copies of the artwork, as labels and icons are drawn in the panel's colour or the
// colour the user chose.
class CVBCache {
public:
    static CVBCache& cache();

    // The picture filled with the tint, its shape kept. `colorKey` empty: the panel's colour.
    std::shared_ptr<const Image> tintedImage(const std::string& name, const std::string& colorKey,
                                             bool disabled, bool down, double scale = 1.0);
    void clear() { images_.clear(); }

private:
    std::map<std::pair<std::string, double>, std::shared_ptr<const Image>> images_;
};

} // namespace corvane
