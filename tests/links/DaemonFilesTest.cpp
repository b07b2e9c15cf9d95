#include "DaemonProcess.h"
#include "links/DaemonNames.h"
#include "links/DaemonProbe.h"
#include "support/Spawn.h"

#include <fstream>
#include <gtest/gtest.h>

namespace corvane {
namespace {

// A bus as strict as the system bus (nobody owns a name, nobody calls anyone unless a policy
// says so), with or without the daemon's policy, in a dbus-daemon of its own.
class PrivateSystemBus {
public:
    explicit PrivateSystemBus(bool withPolicy) {
        const std::string socket = (dir / "bus").string();
        std::ofstream(dir / "bus.conf")
            << "<busconfig><listen>unix:path=" << socket << "</listen><auth>EXTERNAL</auth>"
            <<
            R"(<policy context="default"><allow user="*"/><deny own="*"/>
<deny send_type="method_call"/><allow send_destination="org.freedesktop.DBus"/>
<allow send_requested_reply="true" send_type="method_return"/>
<allow send_requested_reply="true" send_type="error"/><allow send_type="signal"/>
<allow receive_type="method_call"/><allow receive_type="method_return"/>
<allow receive_type="error"/><allow receive_type="signal"/></policy>)"
            << (withPolicy ? "<include>" CVB_DAEMON_DATA
                             "/com.halvorn.corvanebardaemon.conf</include>"
                           : "")
            << "</busconfig>";
        address = "unix:path=" + socket;
        pid = ::fork();
        if (pid == 0) {
            const std::string config = "--config-file=" + (dir / "bus.conf").string();
            ::execlp("dbus-daemon", "dbus-daemon", config.c_str(), "--nofork", nullptr);
            ::_exit(127);
        }
        // The socket file comes a moment before the bus listens on it.
        test::runMainContextUntil(
            [&] {
                connection =
                    GObjectRef<GDBusConnection>::adopt(g_dbus_connection_new_for_address_sync(
                        address.c_str(),
                        static_cast<GDBusConnectionFlags>(
                            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                        nullptr, nullptr, nullptr));
                return static_cast<bool>(connection);
            },
            5);
    }
    ~PrivateSystemBus() {
        connection.reset();
        if (pid > 0) {
            ::kill(pid, SIGTERM);
            ::waitpid(pid, nullptr, 0);
        }
    }

    test::TemporaryDirectory dir;
    std::string address;
    pid_t pid = 0;
    GObjectRef<GDBusConnection> connection;
};

TEST(DaemonFiles, ThePolicyLetsTheDaemonServeOnAStrictBus) {
    for (const bool withPolicy : {true, false}) {
        PrivateSystemBus bus(withPolicy);
        ASSERT_TRUE(bus.connection) << "the bus did not start with the policy " << withPolicy;
        test::ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address.c_str());
        test::DaemonProcess daemon;
        // Without the policy nobody may own the name, so the daemon gives up.
        EXPECT_EQ(daemon.start(bus.connection.get()), withPolicy) << daemon.log();
        EXPECT_EQ(probeDaemon(bus.connection.get(), 2000).has_value(), withPolicy);
    }
}

TEST(DaemonFiles, TheXmlFilesAreWellFormedAndTheUnitVerifies) {
    const auto xml =
        test::spawn({"xmllint", "--noout", CVB_DAEMON_DATA "/com.halvorn.corvanebardaemon.conf",
                     CVB_DAEMON_DATA "/com.halvorn.corvanebar.daemon.policy"});
    EXPECT_EQ(xml.status, 0) << xml.output;
    if (test::spawn({"systemd-analyze", "--version"}).status != 0)
        GTEST_SKIP() << "systemd-analyze cannot run here";
    const auto unit = test::spawn({"systemd-analyze", "verify", CVB_DAEMON_UNIT});
    EXPECT_EQ(unit.status, 0) << unit.output;
}

} // namespace
} // namespace corvane
