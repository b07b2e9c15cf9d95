#include "window/InstallState.h"

#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace corvane::test {
namespace {

struct Case {
    const char* name;
    const char* unit;      // text of the user unit; null for none
    const char* autostart; // text of the autostart entry; null for none
    bool installed;
};

class InstallStateTest : public ::testing::TestWithParam<Case> {
protected:
    void write(const std::filesystem::path& file, const char* text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    TemporaryDirectory dir;
};

// "/bin/sh" stands for a program that is there, "/nonexistent/…" for one that was removed.
TEST_P(InstallStateTest, AnswersFromWhatIsThere) {
    const Case& c = GetParam();
    InstallLocations locations{{dir.path() / "units"}, {dir.path() / "autostart"}};
    if (c.unit)
        write(dir.path() / "units" / InstallState::kUnitName, c.unit);
    if (c.autostart)
        write(dir.path() / "autostart" / InstallState::kAutostartName, c.autostart);
    const InstallState state(locations);
    EXPECT_EQ(state.isInstalledAndValid(), c.installed);
    if (!c.installed) {
        EXPECT_NE(state.description().find("systemctl --user enable --now"), std::string::npos);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, InstallStateTest,
    ::testing::Values(
        Case{"nothing", nullptr, nullptr, false},
        Case{"unit", "[Service]\nExecStart=/bin/sh -c true\n", nullptr, true},
        Case{"unitOfRemovedProgram", "[Service]\nExecStart=/nonexistent/status\n", nullptr, false},
        Case{"unitWithoutProgram", "[Service]\n", nullptr, false},
        Case{"autostart", nullptr, "[Desktop Entry]\nExec=/bin/sh\n", true},
        Case{"autostartSwitchedOff", nullptr,
             "[Desktop Entry]\nExec=/bin/sh\nX-GNOME-Autostart-enabled=false\n", false},
        Case{"relativeProgram", nullptr, "[Desktop Entry]\nExec=sh\n", false}),
    [](const ::testing::TestParamInfo<Case>& param) { return std::string(param.param.name); });

} // namespace
} // namespace corvane::test
