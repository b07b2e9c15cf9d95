// Real loop devices as root, in a private mount namespace: the test program starts itself
// again under `unshare -m`, where the LiveDiskInNamespace tests do the work.
#include "LoopDisk.h"
#include "collectors/disks/DiskSystem.h"
#include "foundation/GLibMainQueue.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

using namespace corvane;
using corvane::test::LoopDisk;

namespace {

constexpr const char* kInside = "CVB_DISKS_IN_NAMESPACE";

// Runs the loop until `done` holds after a disk update, or `seconds` pass; answers the time
// it took, or nothing.
class Waiter final : public DiskManagerDelegate {
public:
    Waiter(GLibMainQueue& queue, DiskManager& manager)
        : queue_(queue)
        , manager_(manager) {
        manager_.addDelegate(this);
    }
    ~Waiter() override { manager_.removeDelegate(this); }
    std::optional<double> waitFor(std::function<bool()> done, double seconds) {
        done_ = std::move(done);
        const auto start = std::chrono::steady_clock::now();
        const auto timer = queue_.after(seconds, [this] { queue_.quit(); });
        if (!done_())
            queue_.run();
        queue_.cancel(timer);
        if (!done_())
            return std::nullopt;
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    void diskManagedUpdated() override {
        if (done_ && done_())
            queue_.quit();
    }

private:
    GLibMainQueue& queue_;
    DiskManager& manager_;
    std::function<bool()> done_;
};

std::pair<double, double> dfFigures(const std::string& path) {
    std::string text;
    if (FILE* out = ::popen(("df -B1 --output=size,avail " + path + " | tail -1").c_str(), "r")) {
        char line[128] = {};
        if (std::fgets(line, sizeof line, out))
            text = line;
        ::pclose(out);
    }
    std::istringstream in(text);
    double size = 0, available = 0;
    in >> size >> available;
    return {size, available};
}

} // namespace

TEST(LiveDisk, InAPrivateMountNamespace) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root for loop devices and mounts";
    if (std::getenv(kInside))
        GTEST_SKIP() << "already inside";
    char self[4096] = {};
    ASSERT_GT(::readlink("/proc/self/exe", self, sizeof self - 1), 0);
    const std::string command = std::string(kInside) + "=1 unshare -m --propagation private " +
                                self + " --gtest_filter='LiveDiskInNamespace.*' 2>&1";
    std::string output;
    FILE* child = ::popen(command.c_str(), "r");
    ASSERT_NE(child, nullptr);
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, child))
        output += buffer;
    EXPECT_EQ(::pclose(child), 0) << output;
    EXPECT_EQ(output.find("[  SKIPPED ]"), std::string::npos) << output;
}

TEST(LiveDiskInNamespace, VolumeFollowsMountUnmountAndDetach) {
    if (!std::getenv(kInside))
        GTEST_SKIP() << "run by LiveDisk.InAPrivateMountNamespace";
    LoopDisk loop(32);
    ASSERT_TRUE(loop.ready()) << "no loop device could be set up";
    GLibMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    DiskSystem system(context, SysRoot(), probeWithBlkid, std::make_shared<StatvfsSpaceReader>());
    system.startMonitoring();
    Waiter waiter(queue, system.manager());
    const std::string name = loop.name();
    const auto volume = [&] { return system.disks().itemWithBSD(name); };
    const auto inGroup = [&](const std::string& group) {
        for (const auto& entry : system.manager().stucture()) {
            for (const auto& partition : entry.partitions) {
                if (partition.collector->bsd == name)
                    return entry.bsd == group;
            }
        }
        return false;
    };

    ASSERT_TRUE(loop.mountIt());
    const auto appeared =
        waiter.waitFor([&] { return volume() && volume()->path == loop.mountPoint(); }, 1.0);
    ASSERT_TRUE(appeared) << "the mount was not seen within a second";
    EXPECT_EQ(volume()->type, VolumeDiskImage);
    EXPECT_NE(volume()->key(), name); // keyed by the filesystem's UUID
    EXPECT_TRUE(inGroup("_removable"));
    // The space as the reader takes it is df's.
    const auto space = StatvfsSpaceReader().read(loop.mountPoint());
    ASSERT_TRUE(space);
    const auto [size, available] = dfFigures(loop.mountPoint());
    EXPECT_EQ(space->total, size);
    EXPECT_EQ(space->available, available);

    loop.unmount();
    ASSERT_TRUE(waiter.waitFor([&] { return volume() && !volume()->mounted; }, 1.0))
        << "the unmount was not seen within a second";
    EXPECT_EQ(volume()->type, VolumeNotMounted);
    EXPECT_EQ(volume()->hardwareType, VolumeDiskImage);
    EXPECT_TRUE(inGroup("_notmounted"));

    loop.detach();
    EXPECT_TRUE(waiter.waitFor([&] { return volume() == nullptr; }, 1.0))
        << "the detached device was not seen going within a second";
}

TEST(LiveDiskInNamespace, WritesShowInTheRates) {
    if (!std::getenv(kInside))
        GTEST_SKIP() << "run by LiveDisk.InAPrivateMountNamespace";
    LoopDisk loop(32);
    ASSERT_TRUE(loop.ready()) << "no loop device could be set up";
    GLibMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    DiskActivityStatCollector activity(context, SysRoot());
    // An image has no identity of its own; one is given so that the kernel's counting of a
    // real device is what is checked here.
    ActivityDisk disk;
    disk.bsd = loop.name();
    disk.serial = "LIVE";
    activity.rebuildDisks({disk});
    ASSERT_EQ(activity.disks().size(), 1u);
    activity.setID(1, 0);
    activity.updateStats();

    constexpr std::size_t kBytes = 8u << 20;
    const int fd = ::open(loop.device().c_str(), O_WRONLY | O_DIRECT);
    ASSERT_GE(fd, 0);
    void* block = nullptr;
    ASSERT_EQ(::posix_memalign(&block, 4096, kBytes), 0);
    std::memset(block, 0x5a, kBytes);
    EXPECT_EQ(::write(fd, block, kBytes), static_cast<ssize_t>(kBytes));
    ::fsync(fd);
    ::close(fd);
    std::free(block);
    ::usleep(200'000);
    activity.setID(2, 0);
    activity.updateStats();

    const auto item = activity.disks().front();
    const double elapsed = item->sampleAtIndex(0, 0).time - item->sampleAtIndex(1, 0).time;
    const double written = item->write * elapsed;
    EXPECT_NEAR(written, static_cast<double>(kBytes), 0.05 * kBytes);
}
