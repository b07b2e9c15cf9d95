// The hardware layer's per-second costs: decoding one key's bytes, and one pass over the
// hwmon inputs of a machine with 40 of them (kept descriptors, one pread each).
#include "hardware/HwmonReadings.h"
#include "hardware/SMCValueCodec.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using namespace corvane;
namespace fs = std::filesystem;

void BM_DecodeKey(benchmark::State& state) {
    const SMCResultData keys[] = {
        makeResultData("sp78", {0x34, 0x80}), makeResultData("fpe2", {0x14, 0x4c}),
        makeResultData("flt ", {0x00, 0x00, 0x2A, 0x42}), makeResultData("ui16", {0x12, 0x34})};
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(convertData(keys[i & 3], false));
        ++i;
    }
}
BENCHMARK(BM_DecodeKey);

// Four chips of ten temperatures each, laid out as sysfs lays them out.
class HwmonTree {
public:
    HwmonTree() {
        std::string pattern = (fs::temp_directory_path() / "cvb-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            std::abort();
        root_ = pattern;
        for (int chip = 0; chip < 4; ++chip) {
            const std::string device = "devices/platform/it87." + std::to_string(chip);
            const fs::path hwmon =
                root_ / "sys" / device / "hwmon" / ("hwmon" + std::to_string(chip));
            fs::create_directories(hwmon);
            std::ofstream(hwmon / "name") << "it87\n";
            for (int channel = 1; channel <= 10; ++channel)
                std::ofstream(hwmon / ("temp" + std::to_string(channel) + "_input"))
                    << 40000 + channel << "\n";
            fs::create_directories(root_ / "sys/class/hwmon");
            fs::create_symlink(fs::path("../..") / device / "hwmon" / hwmon.filename(),
                               root_ / "sys/class/hwmon" / hwmon.filename());
        }
    }
    ~HwmonTree() { fs::remove_all(root_); }
    const fs::path& root() const { return root_; }

private:
    fs::path root_;
};

void BM_HwmonPass40Inputs(benchmark::State& state) {
    HwmonTree tree;
    HwmonReadings readings{SysRoot(tree.root())};
    if (readings.inputs().size() != 40)
        state.SkipWithError("the tree does not hold 40 inputs");
    for (auto _ : state)
        readings.update();
}
BENCHMARK(BM_HwmonPass40Inputs)->Unit(benchmark::kMicrosecond);

void BM_HwmonPassRecordedDesktop(benchmark::State& state) {
    HwmonReadings readings{SysRoot(CVB_FIXTURES_DIR "/sysroot/hw-amd-desktop")};
    for (auto _ : state)
        readings.update();
}
BENCHMARK(BM_HwmonPassRecordedDesktop)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
