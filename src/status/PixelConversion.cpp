#include "status/PixelConversion.h"

#include <algorithm>
#include <cstring>
#include <png.h>

namespace corvane {

namespace {

std::uint32_t straightChannel(std::uint32_t value, std::uint32_t alpha) {
    return std::min<std::uint32_t>(255, (value * 255 + alpha / 2) / alpha);
}

} // namespace

std::uint32_t unpremultiplied(std::uint32_t premultiplied) {
    const std::uint32_t alpha = premultiplied >> 24;
    if (alpha == 0)
        return 0;
    if (alpha == 255)
        return premultiplied;
    const std::uint32_t red = straightChannel((premultiplied >> 16) & 0xff, alpha);
    const std::uint32_t green = straightChannel((premultiplied >> 8) & 0xff, alpha);
    const std::uint32_t blue = straightChannel(premultiplied & 0xff, alpha);
    return alpha << 24 | red << 16 | green << 8 | blue;
}

namespace {

// Each pixel made straight and laid out as four bytes in the order `shifts` takes them from
// the 32-bit value. Written through a pointer: pushing bytes one by one cost more than the
// conversion.
std::vector<std::uint8_t> straightBytes(const PanelPicture& picture, const int (&shifts)[4]) {
    std::vector<std::uint8_t> bytes(picture.pixels().size() * 4);
    std::uint8_t* out = bytes.data();
    for (const std::uint32_t pixel : picture.pixels()) {
        const std::uint32_t straight = unpremultiplied(pixel);
        for (const int shift : shifts)
            *out++ = static_cast<std::uint8_t>(straight >> shift);
    }
    return bytes;
}

} // namespace

std::vector<std::uint8_t> straightArgbBytes(const PanelPicture& picture) {
    return straightBytes(picture, {24, 16, 8, 0});
}

std::vector<std::uint8_t> nativeArgbBytes(const PanelPicture& picture) {
    std::vector<std::uint8_t> bytes(picture.pixels().size() * 4);
    if (!bytes.empty())
        std::memcpy(bytes.data(), picture.pixels().data(), bytes.size());
    return bytes;
}

namespace {

struct PngWriter {
    png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = writer ? png_create_info_struct(writer) : nullptr;
    ~PngWriter() { png_destroy_write_struct(&writer, &info); }
};

void appendBytes(png_structp writer, png_bytep data, png_size_t length) {
    auto* out = static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(writer));
    out->insert(out->end(), data, data + length);
}

// libpng reports a failure with longjmp: nothing with a destructor lives in this frame.
bool encodeRows(png_structp writer, png_infop info, const std::uint8_t* rgba, int width,
                int height) {
    if (setjmp(png_jmpbuf(writer)))
        return false;
    png_set_IHDR(writer, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // Pictures of a few kilobytes, written every second: speed before size. Stored without
    // compression they take a third of the time that the fastest compression takes.
    png_set_compression_level(writer, 0);
    // A small hash table: the default one is cleared for every picture and dwarfs it.
    png_set_compression_mem_level(writer, 1);
    png_set_filter(writer, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_write_info(writer, info);
    for (int y = 0; y < height; ++y)
        png_write_row(writer,
                      rgba + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 4);
    png_write_end(writer, nullptr);
    return true;
}

} // namespace

std::vector<std::uint8_t> pngBytes(const PanelPicture& picture) {
    std::vector<std::uint8_t> png;
    if (picture.empty())
        return png;
    const std::vector<std::uint8_t> rgba = straightBytes(picture, {16, 8, 0, 24});
    PngWriter encoder;
    if (!encoder.info)
        return png;
    png_set_write_fn(encoder.writer, &png, appendBytes, nullptr);
    if (!encodeRows(encoder.writer, encoder.info, rgba.data(), picture.width(), picture.height()))
        png.clear();
    return png;
}

} // namespace corvane
