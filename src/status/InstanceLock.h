#pragma once

#include <filesystem>

namespace corvane {

// One running copy of a program per user: an exclusive lock on a file, held while the object
// lives and dropped by the system when the process ends, however it ends.
class InstanceLock {
public:
    explicit InstanceLock(const std::filesystem::path& file);
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // False when another process holds the lock. A file that cannot be made at all is logged
    // and counts as held by this process: a broken runtime directory must not stop the program.
    bool acquired() const { return acquired_; }

private:
    int fd_ = -1;
    bool acquired_ = false;
};

} // namespace corvane
