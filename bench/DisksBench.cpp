// The disks' share of the status program's second: activity of ten disks from a kept-open
// /proc/diskstats, the volumes' beat (every third second, no mount-table read), and the
// rescan a disk event costs.
#include "collectors/disks/DiskSystem.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using namespace corvane;

// A tree of ten disks with one partition each, all mounted.
class TenDisks {
public:
    TenDisks() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "cvb-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            std::abort();
        root_ = pattern;
        std::filesystem::create_directories(root_ / "proc/self");
        std::filesystem::create_directories(root_ / "sys/dev/block");
        std::ofstream stats(root_ / "proc/diskstats");
        std::ofstream mounts(root_ / "proc/self/mountinfo");
        for (int i = 0; i < 10; ++i) {
            const std::string disk = "sd" + std::string(1, static_cast<char>('a' + i));
            const auto dir = root_ / "sys/block" / disk;
            std::filesystem::create_directories(dir / (disk + "1"));
            std::filesystem::create_directories(dir / "device");
            write(dir / "dev", "8:" + std::to_string(i * 16));
            write(dir / "size", "1000000");
            write(dir / "device/serial", "SERIAL" + std::to_string(i));
            write(dir / (disk + "1/partition"), "1");
            write(dir / (disk + "1/dev"), "8:" + std::to_string(i * 16 + 1));
            std::filesystem::create_directory_symlink("../../block/" + disk + "/" + disk + "1",
                                                      root_ / "sys/dev/block" /
                                                          ("8:" + std::to_string(i * 16 + 1)));
            stats << "   8 " << i * 16 << " " << disk
                  << " 9000 10 720000 500 4000 20 320000 900 0 800 1400 0 0 0 0 0 0\n";
            mounts << 30 + i << " 1 8:" << i * 16 + 1 << " / /mnt/" << disk << " rw - ext4 /dev/"
                   << disk << "1 rw\n";
        }
    }
    TenDisks(const TenDisks&) = delete;
    TenDisks& operator=(const TenDisks&) = delete;
    ~TenDisks() { std::filesystem::remove_all(root_); }
    const std::filesystem::path& root() const { return root_; }

private:
    static void write(const std::filesystem::path& file, const std::string& text) {
        std::ofstream(file) << text << "\n";
    }
    std::filesystem::path root_;
};

class NoSpace final : public VolumeSpaceReader {
public:
    std::optional<VolumeSpace> read(const std::string&) const override {
        return VolumeSpace{1e12, 4e11, 0};
    }
};

struct Rig {
    TenDisks tree;
    ManualMainQueue queue;
    EngineContext context{queue, kSettingsTierCount, nullptr};
    DiskSystem disks{context, SysRoot(tree.root()), {}, std::make_shared<NoSpace>()};
    double identifier = 0;
};

void BM_DiskActivityTenDisks(benchmark::State& state) {
    Rig rig;
    rig.disks.manager().diskEvent();
    if (rig.disks.activity().disks().size() != 10)
        state.SkipWithError("the tree did not give ten disks");
    for (auto _ : state) {
        rig.disks.activity().setID(++rig.identifier, 0);
        rig.disks.activity().updateStats();
    }
}
BENCHMARK(BM_DiskActivityTenDisks);

// The floor: the kernel's part of that second, the ten-disk table read through the same
// kept-open descriptor, nothing parsed.
void BM_DiskstatsFloor(benchmark::State& state) {
    TenDisks tree;
    SysRootFile diskstats(SysRoot(tree.root()), "/proc/diskstats");
    for (auto _ : state)
        benchmark::DoNotOptimize(diskstats.read());
}
BENCHMARK(BM_DiskstatsFloor);

// The same on this machine's own /proc/diskstats, as the status program reads it.
void BM_DiskActivityThisMachine(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    DiskSystem disks{context, SysRoot(), {}, std::make_shared<NoSpace>()};
    disks.manager().diskEvent();
    double identifier = 0;
    for (auto _ : state) {
        disks.activity().setID(++identifier, 0);
        disks.activity().updateStats();
    }
    state.counters["disks"] = static_cast<double>(disks.activity().disks().size());
}
BENCHMARK(BM_DiskActivityThisMachine);

// A beat of the volumes: ten samples repeated between reads, no file touched.
void BM_DiskVolumesBeat(benchmark::State& state) {
    Rig rig;
    rig.disks.manager().diskEvent();
    if (rig.disks.disks().volumes().size() != 10)
        state.SkipWithError("the tree did not give ten volumes");
    for (auto _ : state) {
        rig.disks.disks().setID(++rig.identifier, 0);
        rig.disks.disks().updateStats();
    }
}
BENCHMARK(BM_DiskVolumesBeat);

// What one disk event costs: the block tree, the mount table and the tree of groups again.
void BM_DiskEventRescan(benchmark::State& state) {
    Rig rig;
    for (auto _ : state)
        rig.disks.manager().diskEvent();
}
BENCHMARK(BM_DiskEventRescan);

} // namespace

BENCHMARK_MAIN();
