#include "support/GoldenImage.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace corvane::test {

namespace {

const std::filesystem::path kGoldenDirectory = std::filesystem::path(CVB_FIXTURES_DIR) / "golden";

// A channel may be off by this much before the pixel counts as different.
constexpr double kChannelTolerance = 24.0 / 255;
// And this share of pixels may differ, for text edges.
constexpr double kPixelTolerance = 0.004;

bool differs(const Color& a, const Color& b) {
    // Premultiplied, so that invisible pixels compare equal whatever their colour.
    return std::abs(a.red * a.alpha - b.red * b.alpha) > kChannelTolerance ||
           std::abs(a.green * a.alpha - b.green * b.alpha) > kChannelTolerance ||
           std::abs(a.blue * a.alpha - b.blue * b.alpha) > kChannelTolerance ||
           std::abs(a.alpha - b.alpha) > kChannelTolerance;
}

} // namespace

::testing::AssertionResult matchesGolden(const Image& image, const std::string& name) {
    const auto golden = kGoldenDirectory / (name + ".png");
    const char* update = std::getenv("CVB_UPDATE_GOLDEN");
    if (update && std::string(update) == "1") {
        if (!image.writePng(golden))
            return ::testing::AssertionFailure() << "cannot write " << golden;
        return ::testing::AssertionSuccess() << "wrote " << golden;
    }
    const auto expected = Image::readPng(golden, image.scale());
    if (!expected)
        return ::testing::AssertionFailure()
               << "no golden picture " << golden << "; run with CVB_UPDATE_GOLDEN=1 to make it";
    const auto actual = std::filesystem::current_path() / (name + ".actual.png");
    if (expected->pixelWidth() != image.pixelWidth() ||
        expected->pixelHeight() != image.pixelHeight()) {
        image.writePng(actual);
        return ::testing::AssertionFailure()
               << name << ": " << image.pixelWidth() << "x" << image.pixelHeight()
               << " pixels, golden " << expected->pixelWidth() << "x" << expected->pixelHeight()
               << "; drawn picture in " << actual;
    }
    int different = 0;
    for (int y = 0; y < image.pixelHeight(); ++y) {
        for (int x = 0; x < image.pixelWidth(); ++x)
            different += differs(image.pixel(x, y), expected->pixel(x, y)) ? 1 : 0;
    }
    const int allowed =
        static_cast<int>(kPixelTolerance * image.pixelWidth() * image.pixelHeight());
    if (different > allowed) {
        image.writePng(actual);
        return ::testing::AssertionFailure()
               << name << ": " << different << " pixels differ (allowed " << allowed
               << "); drawn picture in " << actual;
    }
    return ::testing::AssertionSuccess();
}

} // namespace corvane::test
