// The Linux sources live, in a private user and network namespace with a veth pair: nothing
// leaves the namespace. The outer test starts the namespace runner under `unshare -rnm`, which
// runs this program again with the inner tests (disabled outside it).
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/network/RtnetlinkSource.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/TextParsing.h"
#include "support/MainContext.h"
#include "support/Spawn.h"

#include <arpa/inet.h>
#include <chrono>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <set>
#include <sys/socket.h>
#include <unistd.h>

using namespace corvane;

namespace {

using test::spawn;
using test::Spawned;

TEST(NetworkNamespace, LiveSourcesInAPrivateNamespace) {
    if (const Spawned ip = spawn({"ip", "-V"}); !ip.ran || ip.status != 0)
        GTEST_SKIP() << "iproute2's ip is not installed";
    const Spawned probe = spawn({"unshare", "-rnm", "true"});
    if (!probe.ran || probe.status != 0)
        GTEST_SKIP() << "a user and network namespace is refused here: " << probe.output;
    char self[4096] = {};
    ASSERT_GT(::readlink("/proc/self/exe", self, sizeof self - 1), 0);
    const Spawned inner = spawn(
        {"unshare", "-rnm", CVB_NAMESPACE_RUNNER, "--veth", "v0:10.9.0.2/24,v1", "--neighbour",
         "v0:10.9.0.77:02:00:00:00:00:77", "--route", "v0:10.9.0.1", "--", self,
         "--gtest_also_run_disabled_tests", "--gtest_filter=InsideNamespace.*", "--gtest_brief=1"});
    EXPECT_EQ(inner.status, 0) << inner.output;
    EXPECT_TRUE(test::ranAndPassed(inner.output)) << inner.output;
}

class InsideNamespace : public ::testing::Test {
protected:
    NetworkStatCollector::NetworkItem v0() const { return net.itemWithBsd("v0"); }
    // Runs the main context until `done` or two seconds passed; the seconds it took.
    double waitUntil(const std::function<bool()>& done) {
        const auto start = std::chrono::steady_clock::now();
        test::runMainContextUntil(done, 2.0);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    void beat() {
        net.setID(net.idForInterval(0) + 1, 0);
        net.updateStats();
    }

    GLibMainQueue queue;
    EngineContext context{queue, kSettingsTierCount, nullptr};
    NetworkStatCollectorLinux net{context, SysRoot(), std::make_unique<RtnetlinkSource>(SysRoot())};
};

TEST_F(InsideNamespace, DISABLED_ServicesFollowTheKernelWithinAHundredMilliseconds) {
    net.watchChanges();
    ASSERT_TRUE(v0());
    EXPECT_EQ(v0()->ipv4, std::vector<std::string>{"10.9.0.2"});
    EXPECT_EQ(v0()->routerIPV4, "10.9.0.1");
    EXPECT_EQ(v0()->connectionstatus, 100);
    EXPECT_EQ(net.primaryInterface(), "v0");

    // The addresses `ip -br addr` lists are the items' addresses.
    const Spawned ip = spawn({"ip", "-br", "addr"});
    for (std::string_view line : splitLines(ip.output)) {
        const auto fields = splitWhitespace(line);
        if (fields.size() < 2 || fields[0] == "lo")
            continue;
        const std::string name(fields[0].substr(0, fields[0].find('@')));
        std::set<std::string> shown, listed;
        for (std::size_t i = 2; i < fields.size(); ++i)
            shown.emplace(fields[i].substr(0, fields[i].find('/')));
        auto item = net.itemWithBsd(name);
        ASSERT_TRUE(item) << name;
        listed.insert(item->ipv4.begin(), item->ipv4.end());
        listed.insert(item->ipv6.begin(), item->ipv6.end());
        EXPECT_EQ(shown, listed) << line;
    }

    ASSERT_EQ(spawn({"ip", "address", "add", "10.9.0.9/24", "dev", "v0"}).status, 0);
    const double seen = waitUntil([&] { return v0()->ipv4.size() == 2; });
    EXPECT_EQ(v0()->ipv4.size(), 2u);
    EXPECT_LT(seen, 0.1);
    RecordProperty("addressSeenMicroseconds", static_cast<int>(seen * 1e6));

    ASSERT_EQ(spawn({"ip", "link", "set", "v1", "down"}).status, 0); // v0 loses its carrier
    waitUntil([&] { return v0()->connectionstatus == 0; });
    EXPECT_EQ(v0()->connectionstatus, 0);
    ASSERT_EQ(spawn({"ip", "link", "set", "v1", "up"}).status, 0);
    waitUntil([&] { return v0()->connectionstatus == 100; });
    EXPECT_EQ(v0()->connectionstatus, 100);
}

TEST_F(InsideNamespace, DISABLED_UploadRateTimesElapsedIsTheBytesOnTheWire) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(9);
    ::inet_pton(AF_INET, "10.9.0.77", &to.sin_addr); // a permanent neighbour with no host
    ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&to), sizeof to), 0);
    std::vector<char> payload(1400, 'x');
    ASSERT_GT(::send(fd, payload.data(), payload.size(), 0), 0); // the counter is not 0 now
    beat();
    const double before = v0()->lastTime;
    constexpr std::size_t kTotal = 10 * 1024 * 1024;
    std::size_t sent = 0, datagrams = 0;
    while (sent < kTotal) {
        if (::send(fd, payload.data(), payload.size(), 0) == static_cast<ssize_t>(payload.size())) {
            sent += payload.size();
            ++datagrams;
        }
    }
    ::close(fd);
    g_usleep(G_USEC_PER_SEC / 4);
    beat();
    const double elapsed = v0()->lastTime - before;
    const double upload = v0()->sampleAtIndex(0, 0).values[NetworkStatCollectorItem::Upload];
    // Each datagram carries UDP, IPv4 and Ethernet headers: 8 + 20 + 14 bytes.
    const double wire = static_cast<double>(sent + datagrams * 42);
    EXPECT_NEAR(upload * elapsed, wire, wire * 0.05);
    RecordProperty("measuredPerMille", static_cast<int>(upload * elapsed / wire * 1000));
}

} // namespace
