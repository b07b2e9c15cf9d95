#pragma once

#include "status/PanelItem.h"

#include <cstdint>
#include <vector>

namespace corvane {

// One premultiplied ARGB word made straight: each colour divided by the alpha, rounded to the
// nearest step and held at 255 where a broken picture has more colour than alpha. A fully
// transparent pixel becomes 0.
std::uint32_t unpremultiplied(std::uint32_t premultiplied);

// A panel picture as tray icons carry it: straight ARGB, four bytes a pixel with the alpha
// first (network byte order), rows top to bottom.
std::vector<std::uint8_t> straightArgbBytes(const PanelPicture& picture);

// The picture's words as they lie in memory: premultiplied, in this machine's byte order.
std::vector<std::uint8_t> nativeArgbBytes(const PanelPicture& picture);

// The picture as a PNG file in memory, for menus that take icons as files; empty for an empty
// picture or when it cannot be encoded.
std::vector<std::uint8_t> pngBytes(const PanelPicture& picture);

} // namespace corvane
