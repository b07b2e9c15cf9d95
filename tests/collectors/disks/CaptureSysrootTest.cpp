#include "foundation/AtomicFile.h"
#include "support/Spawn.h"
#include "support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

namespace corvane::test {
namespace {

namespace fs = std::filesystem;

const std::string kDisk = "sys/devices/pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0";

// A SATA drive and its partition as sysfs and udev show them, with identities that must not
// leave the machine.
const std::map<std::string, std::string> kFiles{
    {kDisk + "/model", "WDC WD40EFRX\n"},
    {kDisk + "/wwid", "naa.50014ee2b1c2d3e4\n"},
    {kDisk + "/vpd_pg80", std::string("\x00\x80\x00\x0c", 4) + "WD-WX41D12345"},
    {kDisk + "/block/sda/size", "7814037168\n"},
    {kDisk + "/block/sda/sda1/partition", "1\n"},
    {"run/udev/data/b8:0", "S:disk/by-id/ata-WDC_WD40EFRX_WD-WX41D12345\n"
                           "E:ID_SERIAL=WDC_WD40EFRX_WD-WX41D12345\n"
                           "E:ID_SERIAL_SHORT=WD-WX41D12345\n"
                           "E:ID_WWN=0x50014ee2b1c2d3e4\n"
                           "E:DEVLINKS=/dev/disk/by-id/wwn-0x50014ee2b1c2d3e4\n"
                           "E:ID_BUS=ata\n"},
    {"run/udev/data/b8:1", "E:ID_FS_UUID=7d3c0a52-e1f4-4b8e-9c6a-2f5e8d1b9a07\n"
                           "E:ID_FS_LABEL=data\n"},
    {"sys/class/dmi/id/product_serial", "C02XK1ABJGH5\n"},
};
const char* const kSecrets[] = {"WX41D12345", "50014ee2b1c2d3e4", "7d3c0a52", "C02XK1ABJGH5"};

void makeTree(const fs::path& root) {
    for (const auto& [path, text] : kFiles) {
        fs::create_directories((root / path).parent_path());
        std::ofstream(root / path, std::ios::binary) << text;
    }
    fs::create_directories(root / "sys/block");
    fs::create_directories(root / "sys/class/block");
    fs::create_directory_symlink("../../../0:0:0:0", root / kDisk / "block/sda/device");
    fs::create_directory_symlink("../" + kDisk.substr(4) + "/block/sda", root / "sys/block/sda");
    fs::create_directory_symlink("../../" + kDisk.substr(4) + "/block/sda/sda1",
                                 root / "sys/class/block/sda1");
}

std::string contents(const fs::path& file) {
    return readFileContents(file).value_or("");
}

// Every entry of a recorded tree: a file's bytes, a link's target; links are not followed.
std::map<std::string, std::string> entries(const fs::path& tree) {
    std::map<std::string, std::string> out;
    for (const auto& entry : fs::recursive_directory_iterator(tree)) {
        const std::string name = fs::relative(entry.path(), tree).string();
        if (entry.is_symlink())
            out[name] = "-> " + fs::read_symlink(entry.path()).string();
        else if (entry.is_regular_file())
            out[name] = contents(entry.path());
    }
    return out;
}

std::string udevValue(const std::string& record, const std::string& key) {
    const auto at = record.find("E:" + key + "=");
    if (at == std::string::npos)
        return {};
    const auto start = at + key.size() + 3;
    return record.substr(start, record.find('\n', start) - start);
}

TEST(CaptureSysroot, DriveIdentitiesBecomeStablePseudonymsAndNothingElseLeaks) {
    TemporaryDirectory work;
    makeTree(work / "machine");
    for (const char* into : {"first", "second"}) {
        const auto run = spawn({"bash", CVB_CAPTURE_SCRIPT, "--root", (work / "machine").string(),
                                "--into", (work / into).string(), "box"});
        ASSERT_TRUE(run.ran && run.status == 0) << run.output;
    }
    const auto first = entries(work / "first/box");
    EXPECT_EQ(entries(work / "second/box"), first);
    for (const auto& [name, text] : first)
        for (const char* secret : kSecrets) {
            EXPECT_EQ(name.find(secret), std::string::npos) << name;
            EXPECT_EQ(text.find(secret), std::string::npos) << name << ": " << text;
        }
    EXPECT_FALSE(first.contains("sys/class/dmi/id/product_serial"));

    // The same drive read two ways keeps one pseudonym, in the page format the sources read.
    const fs::path disk = work / "first/box" / kDisk;
    const std::string page = contents(disk / "vpd_pg80");
    ASSERT_GT(page.size(), 4u);
    const std::string serial = page.substr(4);
    EXPECT_TRUE(serial.starts_with("pseudo-")) << serial;
    EXPECT_EQ(static_cast<unsigned char>(page[3]), serial.size());
    const std::string udev = contents(work / "first/box/run/udev/data/b8:0");
    EXPECT_EQ(udevValue(udev, "ID_SERIAL_SHORT"), serial);
    EXPECT_EQ(udevValue(udev, "ID_BUS"), "ata");
    EXPECT_EQ(udev.find("S:"), std::string::npos) << "links name the drive by its serial";
    EXPECT_EQ(udevValue(contents(work / "first/box/run/udev/data/b8:1"), "ID_FS_LABEL"), "data");
    EXPECT_EQ(contents(disk / "model"), "WDC WD40EFRX\n");
    EXPECT_EQ(contents(work / "first/box/sys/block/sda/size"), "7814037168\n");
}

} // namespace
} // namespace corvane::test
