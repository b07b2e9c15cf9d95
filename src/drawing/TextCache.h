#pragma once

#include "drawing/Surface.h"
#include "drawing/TextAttributes.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace corvane {

// The widths and pictures of texts a view has laid out. A panel item draws the same few texts
// second after second, and laying a text out costs more than the rest of the item's drawing,
// the more so as once a second every cache of the text engine has gone cold.
class TextCache {
public:
    double width(std::string_view text, const TextAttributes& attributes, const Surface& surface);
    void draw(std::string_view text, const Rect& in, const TextAttributes& attributes,
              Surface& surface);
    void clear();

private:
    // Enough for a view's texts over minutes of changing values; a full table starts again.
    static constexpr std::size_t kMostWidths = 512;
    static constexpr std::size_t kMostPictures = 64;

    void keyOfLayout(std::string_view text, const TextAttributes& attributes);

    std::unordered_map<std::string, double> widths_;
    std::unordered_map<std::string, Surface::TextPicture> pictures_;
    std::string key_; // reused, so that a hit allocates nothing
};

} // namespace corvane
