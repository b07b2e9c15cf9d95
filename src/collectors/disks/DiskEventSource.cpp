#include "collectors/disks/DiskEventSource.h"

#include "foundation/Log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <glib-unix.h>
#include <linux/netlink.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace corvane {

std::optional<VolumeSpace> StatvfsSpaceReader::read(const std::string& path) const {
    // A recorded tree holds no filesystems: its mount points are not there to ask.
    if (!root_.isLive())
        return std::nullopt;
    struct statvfs figures {};
    if (::statvfs(path.c_str(), &figures) != 0)
        return std::nullopt;
    const double fragment = static_cast<double>(figures.f_frsize);
    return VolumeSpace{static_cast<double>(figures.f_blocks) * fragment,
                       static_cast<double>(figures.f_bavail) * fragment, 0};
}

namespace {

int openUeventSocket() {
    const int fd =
        ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT);
    if (fd < 0)
        return -1;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = 1; // the kernel's own messages
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Whether a uevent message is about a block device: "SUBSYSTEM=block" among its fields.
bool isBlockEvent(std::string_view message) {
    std::size_t at = 0;
    while (at < message.size()) {
        const std::size_t end = message.find('\0', at);
        const std::string_view field =
            message.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at);
        if (field == "SUBSYSTEM=block")
            return true;
        if (end == std::string_view::npos)
            break;
        at = end + 1;
    }
    return false;
}

} // namespace

DiskEventSource::DiskEventSource(MainQueue& queue, std::function<void()> changed)
    : queue_(queue)
    , changed_(std::move(changed)) {
    ueventFd_ = openUeventSocket();
    if (ueventFd_ >= 0)
        ueventSource_ =
            g_unix_fd_add(ueventFd_, G_IO_IN, reinterpret_cast<GUnixFDSourceFunc>(&onUevent), this);
    else
        CVBLog("disks: no uevent socket (%s); disks are read on mount changes only",
               std::strerror(errno));
    mountFd_ = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
    if (mountFd_ >= 0)
        mountSource_ = g_unix_fd_add(mountFd_, static_cast<GIOCondition>(G_IO_PRI | G_IO_ERR),
                                     reinterpret_cast<GUnixFDSourceFunc>(&onMountTable), this);
}

DiskEventSource::~DiskEventSource() {
    if (ueventSource_)
        g_source_remove(ueventSource_);
    if (mountSource_)
        g_source_remove(mountSource_);
    if (pending_)
        queue_.cancel(pending_);
    if (ueventFd_ >= 0)
        ::close(ueventFd_);
    if (mountFd_ >= 0)
        ::close(mountFd_);
}

int DiskEventSource::onUevent(int fd, unsigned, void* self) {
    auto* source = static_cast<DiskEventSource*>(self);
    char buffer[8192];
    bool block = false;
    for (;;) {
        const ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
        if (got <= 0)
            break;
        block = block || isBlockEvent(std::string_view(buffer, static_cast<std::size_t>(got)));
    }
    if (block)
        source->settle();
    return G_SOURCE_CONTINUE;
}

int DiskEventSource::onMountTable(int fd, unsigned, void* self) {
    // The change is acknowledged by reading the table again from its start.
    char buffer[4096];
    ::lseek(fd, 0, SEEK_SET);
    while (::read(fd, buffer, sizeof buffer) > 0) {
    }
    static_cast<DiskEventSource*>(self)->settle();
    return G_SOURCE_CONTINUE;
}

void DiskEventSource::settle() {
    if (pending_)
        queue_.cancel(pending_);
    pending_ = queue_.after(kSettleDelay, [this] {
        pending_ = 0;
        changed_();
    });
}

} // namespace corvane
