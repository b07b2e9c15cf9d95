#include "foundation/Log.h"
#include "status/PanelService.h"
#include "status/PixelConversion.h"
#include "status/TrayStyle.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

struct PixelCase {
    std::uint32_t premultiplied;
    std::uint32_t straight;
};

// Colour over alpha, rounded to nearest: what hosts multiply back must give the drawn pixel.
TEST(PixelConversion, StraightensEdgePixelsAndOrdersTrayBytes) {
    const PixelCase cases[] = {
        {0x00000000, 0x00000000}, // transparent
        {0x00ffffff, 0x00000000}, // no alpha, stray colour: still transparent
        {0xff336699, 0xff336699}, // opaque: unchanged
        {0x80402000, 0x80804000}, // half: doubled, 0x20 -> 64.25 -> 0x40
        {0xc0602010, 0xc0802b15}, // 0x10 * 255 / 192 = 21.25 -> 0x15, 0x20 -> 42.5 -> 0x2b
        {0x80010000, 0x80020000}, // 1.99 rounds up
        {0x7f7f0000, 0x7fff0000}, // full colour at partial alpha
        {0x01010101, 0x01ffffff}, // faintest alpha
        {0x40ff0000, 0x40ff0000}, // more colour than alpha (not premultiplied): held at 255
    };
    for (const auto& c : cases)
        EXPECT_EQ(unpremultiplied(c.premultiplied), c.straight) << std::hex << c.premultiplied;

    // Tray bytes are alpha first, in row order.
    const PanelPicture picture(2, 1, {0x80402000, 0xff0000ff});
    EXPECT_EQ(straightArgbBytes(picture),
              (std::vector<std::uint8_t>{0x80, 0x80, 0x40, 0x00, 0xff, 0x00, 0x00, 0xff}));
    // PNG signature, for menu icons.
    const auto png = pngBytes(picture);
    ASSERT_GT(png.size(), 8u);
    EXPECT_EQ(png[1], 'P');
    EXPECT_TRUE(pngBytes({}).empty());
}

TEST(PanelPicture, CopiesRowsRefusesCountsThatDoNotMatchAndPicksTheShapeAskedFor) {
    // Two rows of one pixel each, eight bytes apart as a padded surface lays them out.
    const std::uint32_t rows[] = {0xff010203, 0xdeadbeef, 0xff040506, 0xdeadbeef};
    const auto picture =
        PanelPicture::fromRows(reinterpret_cast<const unsigned char*>(rows), 1, 2, 8);
    EXPECT_EQ(picture.pixels(), (std::vector<std::uint32_t>{0xff010203, 0xff040506}));

    LogCapture log;
    EXPECT_TRUE(PanelPicture(3, 2, std::vector<std::uint32_t>(5)).empty());
    EXPECT_TRUE(
        PanelPicture::fromRows(reinterpret_cast<const unsigned char*>(rows), 2, 2, 4).empty());
    EXPECT_TRUE(log.contains("3 x 2 pixels handed 5 pixels"));
    EXPECT_TRUE(log.contains("cannot be read"));

    // The shape and scale asked for, or the nearest there is.
    PanelItem item;
    item.picture = PanelPicture(2, 1, {1, 1});
    item.picture2x = PanelPicture(4, 2, std::vector<std::uint32_t>(8, 2));
    item.compact = PanelPicture(1, 1, {3});
    EXPECT_EQ(&pictureFor(item, PictureShape::Wide, 1), &item.picture);
    EXPECT_EQ(&pictureFor(item, PictureShape::Wide, 2), &item.picture2x);
    EXPECT_EQ(&pictureFor(item, PictureShape::Compact, 2), &item.compact); // no compact 2x
    item.compact = {};
    EXPECT_EQ(&pictureFor(item, PictureShape::Compact, 1), &item.picture);
}

struct ShapeCase {
    const char* preference;
    const char* host;
    PictureShape shape;
};

TEST(TrayStyle, WideOnlyWhereThePanelKeepsItWideUnlessTheUserSaysOtherwise) {
    const ShapeCase cases[] = {
        {"auto", "waybar", PictureShape::Wide},
        {"auto", "mate-panel", PictureShape::Wide},
        {"auto", "xapp-sn-watcher", PictureShape::Wide},
        {"auto", "gnome-shell", PictureShape::Compact},
        {"auto", "kded5", PictureShape::Compact},
        {"auto", "swaybar", PictureShape::Compact}, // drops non-square icons
        {"auto", "wrapper-2.0", PictureShape::Compact},
        {"auto", "", PictureShape::Compact},
        {"wide", "swaybar", PictureShape::Wide},
        {"compact", "waybar", PictureShape::Compact},
        {"sideways", "waybar", PictureShape::Wide}, // unknown preference reads as auto
    };
    for (const auto& c : cases)
        EXPECT_EQ(pictureShapeFor(trayStyleNamed(c.preference), c.host), c.shape)
            << c.preference << " on " << c.host;
}

TEST(TrayStyle, HostProgramComesFromTheCommandLineOrTheShortName) {
    test::TemporaryDirectory proc;
    std::filesystem::create_directories(proc / "10");
    std::filesystem::create_directories(proc / "11");
    std::ofstream(proc / "10" / "cmdline") << std::string("/usr/bin/waybar\0-c\0x", 20);
    std::ofstream(proc / "10" / "comm") << "ignored\n";
    std::ofstream(proc / "11" / "cmdline"); // a kernel thread's is empty
    std::ofstream(proc / "11" / "comm") << "xapp-sn-watcher\n";
    EXPECT_EQ(programNameOfProcess(proc.path(), 10), "waybar");
    EXPECT_EQ(programNameOfProcess(proc.path(), 11), "xapp-sn-watcher");
    EXPECT_EQ(programNameOfProcess(proc.path(), 12), "");
}

TEST(PanelStyle, ForegroundColoursAsHexText) {
    EXPECT_EQ(colorFromHex("#ff8000"), (Color{1.0, 128 / 255.0, 0.0, 1.0}));
    EXPECT_EQ(colorFromHex("#00000080"), (Color{0, 0, 0, 128 / 255.0}));
    for (const char* bad : {"ff8000", "#ff80zz", "#fff", "", "#ff8000801"})
        EXPECT_FALSE(colorFromHex(bad)) << bad;
    EXPECT_EQ(hexFromColor({1.0, 0.5, 0.0, 1.0}), "#ff8000ff");
}

} // namespace
} // namespace corvane
