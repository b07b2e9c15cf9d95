#include "foundation/SysRootFile.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <unistd.h>

namespace corvane {

SysRootFile::SysRootFile(const SysRoot& root, std::string_view livePath)
    : path_(root.path(livePath).string())
    , buffer_(8192, '\0') {}

SysRootFile::~SysRootFile() {
    if (fd_ >= 0)
        ::close(fd_);
}

std::optional<std::string_view> SysRootFile::read() {
    if (fd_ < 0) {
        fd_ = openRegularFile(path_);
        if (fd_ < 0)
            return std::nullopt;
    }
    std::size_t length = 0;
    while (length < kLimit) {
        if (length == buffer_.size())
            buffer_.resize(std::min(buffer_.size() * 2, kLimit));
        const ssize_t n = ::pread(fd_, buffer_.data() + length, buffer_.size() - length,
                                  static_cast<off_t>(length));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            ::close(fd_);
            fd_ = -1;
            return std::nullopt;
        }
        if (n == 0)
            break;
        length += static_cast<std::size_t>(n);
    }
    return std::string_view(buffer_.data(), length);
}

std::size_t countNumericEntries(const SysRoot& root, std::string_view livePath) {
    DIR* dir = ::opendir(root.path(livePath).c_str());
    if (!dir)
        return 0;
    std::size_t count = 0;
    while (const dirent* entry = ::readdir(dir)) {
        const char* name = entry->d_name;
        bool digits = *name != '\0';
        for (const char* c = name; *c && digits; ++c)
            digits = *c >= '0' && *c <= '9';
        count += digits ? 1 : 0;
    }
    ::closedir(dir);
    return count;
}

} // namespace corvane
