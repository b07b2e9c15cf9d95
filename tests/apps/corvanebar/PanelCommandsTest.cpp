// The commands that put the items into other programs' panels, run as built: `corvanebar
// waybar` against the panel interface on a bus of the test's own, and `corvanebar
// gnome-extension install` into a home of the test's own.
#include "status/BusTestSupport.h"
#include "status/PanelService.h"
#include "support/RunningProgram.h"

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace corvane {
namespace {

using test::RunningProgram;

// A message bus of the test's own, so that no other test's status program answers.
class PrivateBus {
public:
    PrivateBus() {
        const char* argv[] = {"dbus-daemon", "--session", "--nofork", "--print-address=1", nullptr};
        int out = -1;
        if (!g_spawn_async_with_pipes(nullptr, const_cast<gchar**>(argv), nullptr,
                                      G_SPAWN_SEARCH_PATH, nullptr, nullptr, &pid_, nullptr, &out,
                                      nullptr, nullptr))
            return;
        char c = 0;
        while (::read(out, &c, 1) == 1 && c != '\n')
            address_ += c;
        ::close(out);
    }
    ~PrivateBus() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    const std::string& address() const { return address_; }

private:
    GPid pid_ = 0;
    std::string address_;
};

// The program with the given bus and home.
RunningProgram command(const std::vector<std::string>& arguments, const std::string& bus,
                       const std::filesystem::path& home) {
    return RunningProgram(arguments, {{"DBUS_SESSION_BUS_ADDRESS", bus}}, home);
}

nlohmann::json parsed(const std::optional<std::string>& line) {
    return line ? nlohmann::json::parse(*line, nullptr, false) : nlohmann::json();
}

TEST(WaybarCommand, FollowsTheItemWhileTheStatusProgramComesAndShowsIt) {
    PrivateBus bus;
    if (bus.address().empty())
        GTEST_SKIP() << "dbus-daemon cannot be started";
    test::TemporaryDirectory home;
    const nlohmann::json offline = {{"text", "–"},
                                    {"tooltip", "Corvane Bar is not running (systemctl --user "
                                                "start corvanebar-status)"},
                                    {"class", "offline"}};
    RunningProgram once = command({"waybar", "cpu", "--once"}, bus.address(), home.path());
    EXPECT_EQ(parsed(once.nextLine()), offline);
    EXPECT_EQ(once.finish(), 0);

    RunningProgram waybar = command({"waybar", "cpu"}, bus.address(), home.path());
    EXPECT_EQ(parsed(waybar.nextLine()), offline);

    std::string error;
    const auto connection = openPrivateConnection(bus.address(), error);
    ASSERT_TRUE(connection) << error;
    ASSERT_TRUE(requestBusName(connection.get(), "com.halvorn.corvanebarstatus", error)) << error;
    PanelService service(connection.get(), {}, {});
    PanelItem cpu = test::sampleItem("cpu");
    cpu.tooltip = "CPU: 12%\nTop: <make> & cc1plus";
    cpu.percentage = 12;
    service.show({cpu});
    // Waybar reads text and tooltip as Pango markup.
    EXPECT_EQ(parsed(waybar.nextLine()),
              (nlohmann::json{{"text", "12%"},
                              {"tooltip", "CPU: 12%\nTop: &lt;make&gt; &amp; cc1plus"},
                              {"class", "cpu"},
                              {"percentage", 12}}));
    // Switched off: an empty text hides the module.
    service.show({test::sampleItem("memory")});
    EXPECT_EQ(parsed(waybar.nextLine()),
              (nlohmann::json{{"text", ""}, {"tooltip", ""}, {"class", "off"}}));
    EXPECT_EQ(waybar.finish(SIGTERM), 0);
}

struct InstallCase {
    const char* version;
    int status;
    const char* build; // what the installed files must be, or nullptr
};

class GnomeExtensionInstall : public ::testing::TestWithParam<InstallCase> {};

TEST_P(GnomeExtensionInstall, PicksTheBuildForTheShell) {
    const InstallCase& c = GetParam();
    test::TemporaryDirectory home;
    const auto target = home / "gnome-shell/extensions/corvanebar@halvorn.com";
    // An older copy is replaced as a whole, not merged with.
    std::filesystem::create_directories(target);
    std::ofstream(target / "stale.js") << "old";
    RunningProgram install = command({"gnome-extension", "install", "--shell-version", c.version},
                                     "unix:path=/-", home.path());
    EXPECT_EQ(install.finish(), c.status);
    if (!c.build) {
        EXPECT_TRUE(std::filesystem::exists(target / "stale.js"));
        return;
    }
    EXPECT_FALSE(std::filesystem::exists(target / "stale.js"));
    std::ifstream script(target / "corvanebar.js");
    const std::string text((std::istreambuf_iterator<char>(script)), {});
    const bool module = text.find("\nexport {createCorvaneBar};") != std::string::npos;
    EXPECT_EQ(module, std::string_view(c.build) == "esm") << c.version;
    EXPECT_TRUE(std::filesystem::exists(target / "schemas/gschemas.compiled"));
}

INSTANTIATE_TEST_SUITE_P(Versions, GnomeExtensionInstall,
                         ::testing::Values(InstallCase{"43", 0, "legacy"},
                                           InstallCase{"44", 0, "legacy"},
                                           InstallCase{"45", 0, "esm"}, InstallCase{"48", 0, "esm"},
                                           InstallCase{"42", 1, nullptr}));

} // namespace
} // namespace corvane
