#include "status/PanelItem.h"

#include "foundation/Log.h"

#include <cstring>

namespace corvane {

namespace {

bool sizeMatches(int width, int height, std::size_t count) {
    return width > 0 && height > 0 &&
           static_cast<std::size_t>(width) * static_cast<std::size_t>(height) == count;
}

} // namespace

PanelPicture::PanelPicture(int width, int height, std::vector<std::uint32_t> pixels) {
    if (pixels.empty() && width >= 0 && height >= 0)
        return;
    if (!sizeMatches(width, height, pixels.size())) {
        CVBLog("Panel picture of %d x %d pixels handed %zu pixels; left empty", width, height,
               pixels.size());
        return;
    }
    width_ = width;
    height_ = height;
    pixels_ = std::move(pixels);
}

PanelPicture PanelPicture::fromRows(const unsigned char* data, int width, int height, int stride) {
    if (!data || width <= 0 || height <= 0 || stride < width * 4) {
        CVBLog("Panel picture rows of %d x %d pixels, %d bytes apart, cannot be read", width,
               height, stride);
        return {};
    }
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) *
                                      static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        std::memcpy(&pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)],
                    data + static_cast<std::ptrdiff_t>(y) * stride,
                    static_cast<std::size_t>(width) * 4);
    return {width, height, std::move(pixels)};
}

const PanelPicture& pictureFor(const PanelItem& item, PictureShape shape, double scale) {
    const bool sharp = scale >= 1.5;
    const PanelPicture& wide = sharp && !item.picture2x.empty() ? item.picture2x : item.picture;
    const PanelPicture& square = sharp && !item.compact2x.empty() ? item.compact2x : item.compact;
    if (shape == PictureShape::Compact)
        return square.empty() ? wide : square;
    return wide.empty() ? square : wide;
}

namespace {

const char* rowType(DropdownRow::Kind kind) {
    switch (kind) {
    case DropdownRow::Kind::Header:
        return "header";
    case DropdownRow::Kind::Separator:
        return "separator";
    case DropdownRow::Kind::Picture:
        return "picture";
    case DropdownRow::Kind::Action:
        return "action";
    case DropdownRow::Kind::Text:
        break;
    }
    return "text";
}

} // namespace

Value describedRow(const DropdownRow& row) {
    Value entry = Value::dict({{"type", rowType(row.kind)}, {"text", row.text}});
    if (row.kind == DropdownRow::Kind::Action) {
        entry.set("action", row.action);
        entry.set("enabled", row.enabled);
    }
    if (row.kind == DropdownRow::Kind::Picture) {
        entry.set("width", row.picture.width());
        entry.set("height", row.picture.height());
    }
    return entry;
}

} // namespace corvane
