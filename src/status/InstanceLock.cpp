#include "status/InstanceLock.h"

#include "foundation/Log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace corvane {

InstanceLock::InstanceLock(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    fd_ = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0) {
        CVBLog("Cannot open the lock file %s (%s); not checking for another copy", file.c_str(),
               std::strerror(errno));
        acquired_ = true;
        return;
    }
    if (::flock(fd_, LOCK_EX | LOCK_NB) == 0) {
        acquired_ = true;
    } else if (errno != EWOULDBLOCK) {
        CVBLog("Cannot lock %s (%s); not checking for another copy", file.c_str(),
               std::strerror(errno));
        acquired_ = true;
    }
}

InstanceLock::~InstanceLock() {
    if (fd_ >= 0)
        ::close(fd_);
}

} // namespace corvane
