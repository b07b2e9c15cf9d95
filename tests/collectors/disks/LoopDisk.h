#pragma once

#include "support/TemporaryDirectory.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mount.h>

namespace corvane::test {

// An image file with an ext4 filesystem behind a loop device, detached when it goes. Root
// only; the mount belongs in a private mount namespace so that nothing outside sees it.
class LoopDisk {
public:
    explicit LoopDisk(int megabytes) {
        const std::string image = (dir_ / "disk.img").string();
        const std::string make = "truncate -s " + std::to_string(megabytes) + "M " + image +
                                 " && mkfs.ext4 -q -F " + image + " >/dev/null 2>&1";
        if (std::system(make.c_str()) != 0)
            return;
        if (FILE* out = ::popen(("losetup -f --show " + image).c_str(), "r")) {
            char line[64] = {};
            if (std::fgets(line, sizeof line, out))
                device_ = std::string(line, std::string(line).find_first_of("\n"));
            ::pclose(out);
        }
    }
    ~LoopDisk() {
        unmount();
        detach();
    }
    LoopDisk(const LoopDisk&) = delete;
    LoopDisk& operator=(const LoopDisk&) = delete;

    bool ready() const { return device_.starts_with("/dev/loop"); }
    // "/dev/loop3" and "loop3".
    const std::string& device() const { return device_; }
    std::string name() const { return device_.substr(5); }
    std::string mountPoint() const { return (dir_ / "mnt").string(); }

    bool mountIt() {
        std::system(("mkdir -p " + mountPoint()).c_str());
        mounted_ = ::mount(device_.c_str(), mountPoint().c_str(), "ext4", 0, nullptr) == 0;
        return mounted_;
    }
    void unmount() {
        if (mounted_)
            ::umount2(mountPoint().c_str(), MNT_DETACH);
        mounted_ = false;
    }
    void detach() {
        if (ready())
            std::system(("losetup -d " + device_).c_str());
        device_.clear();
    }

private:
    TemporaryDirectory dir_;
    std::string device_;
    bool mounted_ = false;
};

} // namespace corvane::test
