#include "foundation/SysRoot.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

SysRoot SysRoot::fromEnvironment() {
    const char* root = std::getenv("CORVANEBAR_SYSROOT");
    return root && *root ? SysRoot(root) : SysRoot();
}

std::filesystem::path SysRoot::path(std::string_view livePath) const {
    while (!livePath.empty() && livePath.front() == '/')
        livePath.remove_prefix(1);
    return root_ / livePath;
}

int openRegularFile(const std::filesystem::path& file) {
    // Non-blocking, so that a FIFO without a writer cannot hang the open; and only a regular
    // file is read: a device such as /dev/zero never ends. procfs and sysfs files are regular.
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return -1;
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

std::optional<std::string> SysRoot::readFile(std::string_view livePath, std::size_t limit) const {
    const int fd = openRegularFile(path(livePath));
    if (fd < 0)
        return std::nullopt;
    std::string content;
    char buffer[8192];
    while (content.size() < limit) {
        const ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, limit - content.size()));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            // Some sysfs attributes exist but refuse reads (EIO, EACCES, ENODATA).
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0)
            break;
        content.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return content;
}

std::optional<std::string> SysRoot::readAttribute(std::string_view livePath) const {
    auto content = readFile(livePath, std::size_t{64} * 1024);
    if (!content)
        return std::nullopt;
    return std::string(trimmed(*content));
}

std::optional<std::int64_t> SysRoot::readInteger(std::string_view livePath) const {
    auto text = readAttribute(livePath);
    return text ? parseInteger(*text) : std::nullopt;
}

std::optional<std::uint64_t> SysRoot::readUnsigned(std::string_view livePath) const {
    auto text = readAttribute(livePath);
    return text ? parseUnsigned(*text) : std::nullopt;
}

bool SysRoot::exists(std::string_view livePath) const {
    std::error_code error;
    return std::filesystem::exists(path(livePath), error);
}

bool SysRoot::isDirectory(std::string_view livePath) const {
    std::error_code error;
    return std::filesystem::is_directory(path(livePath), error);
}

std::vector<std::string> SysRoot::list(std::string_view livePath) const {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator it(path(livePath), error), end; !error && it != end;
         it.increment(error))
        names.push_back(it->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::string> SysRoot::readLink(std::string_view livePath) const {
    std::error_code error;
    auto target = std::filesystem::read_symlink(path(livePath), error);
    if (error)
        return std::nullopt;
    return target.string();
}

} // namespace corvane
