// What a headless frame costs besides drawing: a panel picture encoded as the PNG file written
// beside its text each second.
#include "status/PanelItem.h"
#include "status/PixelConversion.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <vector>

namespace {

using namespace corvane;

// A graph item: a label at the left, bars of changing height, transparent elsewhere.
PanelPicture graphPicture(int width, int height) {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height, 0);
    for (int x = 0; x < width; ++x) {
        const int bar = x < width / 3 ? height : (x * 7) % height;
        for (int y = height - bar; y < height; ++y)
            pixels[static_cast<std::size_t>(y) * width + x] =
                x < width / 3 ? 0xff303030 : 0xcc2060c0;
    }
    return PanelPicture(width, height, std::move(pixels));
}

void BM_PngOfAPanelPicture(benchmark::State& state) {
    const int scale = static_cast<int>(state.range(0));
    const PanelPicture picture = graphPicture(37 * scale, 22 * scale);
    for (auto _ : state)
        benchmark::DoNotOptimize(pngBytes(picture));
}
BENCHMARK(BM_PngOfAPanelPicture)->Arg(1)->Arg(2);

} // namespace

BENCHMARK_MAIN();
