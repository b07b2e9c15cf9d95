#include "../collectors/disks/DiskFixture.h"
#include "SectionFixture.h"
#include "foundation/DistributedNotificationCenter.h"
#include "preferences/PreferencesFixture.h"
#include "shell/DisksController.h"
#include "support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>

namespace corvane::test {
namespace {

class PageChoicesTest : public PreferencesFixture {
protected:
    std::vector<std::string> strings(const char* key) {
        std::vector<std::string> out;
        const Value list = onDisk(key);
        for (const Value& entry : list.arrayItems())
            out.push_back(entry.isDictionary() ? entry["key"].stringValue() : entry.stringValue());
        return out;
    }

    CVBPreferences& preferences = install();
    DistributedNotificationCenter bus{nullptr};
    PostLog posts{bus};
};

TEST_F(PageChoicesTest, PanelVolumesAndDropdownFiltersOfTheDisksPage) {
    DiskRig rig(diskFixture("disks-nvme-laptop"));
    rig.manager.diskEvent();
    const std::string root = "f00d-pseudo-root", boot = "b007-pseudo-0001";
    DiskChoices choices(preferences, rig.manager, &bus);

    EXPECT_TRUE(choices.inPanel(root));            // nothing stored: the boot volume
    EXPECT_FALSE(choices.setInPanel(root, false)); // the last volume stays
    ASSERT_TRUE(choices.setInPanel(boot, true));
    EXPECT_EQ(strings("Disks_MenubarItems"), (std::vector<std::string>{root, boot}));
    EXPECT_TRUE(onDisk("Disks_MenubarItems")[0]["boot"].boolValue());
    EXPECT_EQ(onDisk("Disks_MenubarItems")[1]["name"].stringValue(), "boot");
    EXPECT_FALSE(onDisk("Disks_MenubarItems")[1].contains("boot"));
    // A boot entry follows the boot volume, whatever key it was stored with.
    ASSERT_TRUE(preferences.setObject(
        Value::array({Value::dict({{"key", "old"}, {"boot", true}}), Value::dict({{"key", boot}})}),
        "Disks_MenubarItems"));
    ASSERT_TRUE(choices.setInPanel(root, false));
    EXPECT_EQ(strings("Disks_MenubarItems"), std::vector<std::string>{boot});

    ASSERT_TRUE(choices.setVolumeShown(boot, false));
    ASSERT_TRUE(choices.setVolumeShown(boot, false));
    ASSERT_TRUE(choices.setActivityShown("nvme0n1", false));
    EXPECT_EQ(strings("FilteringDisks"), std::vector<std::string>{boot});
    EXPECT_FALSE(choices.volumeShown(boot));
    EXPECT_TRUE(choices.volumeShown(root));
    EXPECT_FALSE(choices.activityShown("nvme0n1"));

    posts.names.clear();
    ASSERT_TRUE(choices.resetFiltering());
    EXPECT_TRUE(strings("FilteringDisks").empty());
    EXPECT_TRUE(strings("FilteringDiskActivity").empty());
    EXPECT_EQ(posts.names, (std::vector<std::string>(2, "CorvaneBarDisksPreferencesChanged")));
}

// A USB stick pulled out and put back while the page is open: the page is told each time the
// volumes it offers change, and the stick's ticks are still there when it comes back.
TEST_F(PageChoicesTest, TheDisksPageFollowsAStickThatGoesAndComesBack) {
    namespace fs = std::filesystem;
    TemporaryDirectory copy;
    fs::copy(diskFixture("disks-sata-desktop"), copy.path(),
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    DiskRig rig(copy.path());
    rig.manager.diskEvent();
    const auto stickKey = [&] {
        for (const auto& volume : rig.disks.volumes())
            if (volume->path == "/media/user/STICK")
                return volume->key();
        return std::string();
    };
    const std::string stick = stickKey();
    ASSERT_FALSE(stick.empty());
    DiskChoices choices(preferences, rig.manager);
    ASSERT_TRUE(choices.setVolumeShown(stick, false));
    ASSERT_TRUE(choices.setActivityShown("sdb", false));
    const auto offersStick = [&] {
        const auto lines = DiskChoiceWatcher::offered(rig.manager);
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(stick) != std::string::npos;
        });
    };
    int rebuilt = 0;
    DiskChoiceWatcher watcher(rig.manager, [&] { ++rebuilt; });
    rig.manager.diskEvent(); // nothing changed: no rebuild
    EXPECT_EQ(rebuilt, 0);

    // The stick's entries of the block tree and its mount, kept aside while it is out.
    const fs::path aside = copy / "aside";
    const std::vector<std::string> entries{"sys/block/sdb", "sys/class/block/sdb",
                                           "sys/class/block/sdb1"};
    const std::string mountinfo(
        std::istreambuf_iterator<char>(std::ifstream(copy / "proc/self/mountinfo").rdbuf()), {});
    for (const auto& entry : entries) {
        fs::create_directories((aside / entry).parent_path());
        fs::rename(copy / entry, aside / entry);
    }
    std::ofstream(copy / "proc/self/mountinfo")
        << std::regex_replace(mountinfo, std::regex(".*/dev/sdb1.*\n"), "");
    rig.manager.diskEvent();
    EXPECT_EQ(rebuilt, 1);
    EXPECT_FALSE(offersStick());

    for (const auto& entry : entries)
        fs::rename(aside / entry, copy / entry);
    std::ofstream(copy / "proc/self/mountinfo") << mountinfo;
    rig.manager.diskEvent();
    EXPECT_EQ(rebuilt, 2);
    EXPECT_TRUE(offersStick());
    EXPECT_EQ(stickKey(), stick);
    EXPECT_FALSE(choices.volumeShown(stick));
    EXPECT_FALSE(choices.activityShown("sdb"));
}

} // namespace
} // namespace corvane::test
