#include "foundation/AtomicFile.h"

#include "foundation/Log.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

namespace {

// mkstemp replaces the six X; removeStaleTemporaries recognises exactly this shape.
constexpr std::string_view kTemporaryMarker = ".tmp-";
constexpr std::size_t kRandomLength = 6;

bool isTemporaryOf(const std::string& name, const std::string& target) {
    if (name.size() != target.size() + kTemporaryMarker.size() + kRandomLength ||
        name.compare(0, target.size(), target) != 0 ||
        name.compare(target.size(), kTemporaryMarker.size(), kTemporaryMarker) != 0)
        return false;
    for (std::size_t i = name.size() - kRandomLength; i < name.size(); ++i) {
        const char c = name[i];
        const bool alphanumeric =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!alphanumeric)
            return false;
    }
    return true;
}

// From the start of the file, whatever its offset.
bool writeAll(int fd, std::string_view bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t n =
            ::pwrite(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

std::filesystem::path resolvedFile(const std::filesystem::path& file) {
    std::filesystem::path current = file;
    // As many links as the kernel follows before it gives up with ELOOP.
    for (int hops = 0; hops < 40; ++hops) {
        std::error_code error;
        if (!std::filesystem::is_symlink(std::filesystem::symlink_status(current, error)))
            return current;
        const std::filesystem::path target = std::filesystem::read_symlink(current, error);
        if (error)
            return current;
        current = target.is_absolute() ? target : current.parent_path() / target;
    }
    return file;
}

bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes,
                         Durability durability) {
    // Replacing the link itself would cut it from the file the user keeps elsewhere.
    const std::filesystem::path target = resolvedFile(file);
    std::string temporary = target.string() + std::string(kTemporaryMarker) + "XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        const int error = errno;
        CVBLog("Cannot write %s: no temporary file beside it (%s)", target.c_str(),
               std::strerror(error));
        errno = error;
        return false;
    }
    struct stat existing {};
    const mode_t mode = ::stat(target.c_str(), &existing) == 0 ? existing.st_mode & 07777 : 0644;
    bool ok = ::fchmod(fd, mode) == 0 && writeAll(fd, bytes) &&
              (durability == Durability::Visible || ::fsync(fd) == 0);
    ok = (::close(fd) == 0) && ok;
    ok = ok && ::rename(temporary.c_str(), target.c_str()) == 0;
    if (!ok) {
        const int error = errno;
        CVBLog("Cannot write %s: %s", target.c_str(), std::strerror(error));
        ::unlink(temporary.c_str());
        errno = error; // for a caller that tells the user why
    }
    return ok;
}

std::filesystem::path swapFileOf(const std::filesystem::path& file) {
    return file.parent_path() / ("." + file.filename().string() + ".swap");
}

FrequentlyWrittenFile::FrequentlyWrittenFile(std::filesystem::path file)
    : file_(std::move(file))
    , side_(swapFileOf(file_)) {}

FrequentlyWrittenFile::~FrequentlyWrittenFile() {
    close();
}

void FrequentlyWrittenFile::close() {
    for (Handle* handle : {&shown_, &spare_}) {
        if (handle->fd >= 0)
            ::close(handle->fd);
        *handle = Handle{};
    }
}

void FrequentlyWrittenFile::remove() {
    close();
    ::unlink(file_.c_str());
    ::unlink(side_.c_str());
}

bool FrequentlyWrittenFile::write(std::string_view bytes) {
    // A side file unlinked or renamed over by someone else is no longer the one the name holds.
    struct stat spare {};
    if (spare_.fd < 0 || shown_.fd < 0 || ::fstat(spare_.fd, &spare) != 0 || spare.st_nlink == 0)
        return writeThroughNames(bytes);
    // Cut to size after the write, never to nothing before it: ext4 writes out a file that was
    // emptied by a truncation. A file that does not shrink needs no cut at all.
    bool ok = writeAll(spare_.fd, bytes) &&
              (bytes.size() >= spare_.size ||
               ::ftruncate(spare_.fd, static_cast<off_t>(bytes.size())) == 0);
    spare_.size = bytes.size();
    if (!ok || ::renameat2(AT_FDCWD, side_.c_str(), AT_FDCWD, file_.c_str(), RENAME_EXCHANGE) != 0)
        return writeThroughNames(bytes);
    std::swap(shown_, spare_);
    return true;
}

bool FrequentlyWrittenFile::writeThroughNames(std::string_view bytes) {
    close();
    const int fd = ::open(side_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (fd < 0)
        return writeFileAtomically(file_, bytes, Durability::Visible);
    bool ok = writeAll(fd, bytes) && ::ftruncate(fd, static_cast<off_t>(bytes.size())) == 0;
    ok = (::close(fd) == 0) && ok;
    if (ok && ::renameat2(AT_FDCWD, side_.c_str(), AT_FDCWD, file_.c_str(), RENAME_EXCHANGE) == 0) {
        openBoth(bytes.size());
        return true;
    }
    // A first write has nothing to trade with; some file systems cannot exchange at all.
    ok = ok && (errno == ENOENT || errno == EINVAL) && ::rename(side_.c_str(), file_.c_str()) == 0;
    if (!ok) {
        const int error = errno;
        CVBLog("Cannot write %s: %s", file_.c_str(), std::strerror(error));
        ::unlink(side_.c_str());
        errno = error;
    }
    return ok;
}

void FrequentlyWrittenFile::openBoth(std::size_t shownSize) {
    shown_.fd = ::open(file_.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
    spare_.fd = ::open(side_.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
    struct stat spare {};
    if (shown_.fd < 0 || spare_.fd < 0 || ::fstat(spare_.fd, &spare) != 0) {
        close();
        return;
    }
    shown_.size = shownSize;
    spare_.size = static_cast<std::size_t>(spare.st_size);
}

int removeStaleTemporaries(const std::filesystem::path& file, std::chrono::seconds age) {
    const std::filesystem::path target = resolvedFile(file);
    const std::string name = target.filename().string();
    const std::filesystem::path folder =
        target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
    const auto now = std::time(nullptr);
    int removed = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string candidate = entry.path().filename().string();
        struct stat st {};
        if (!isTemporaryOf(candidate, name) || ::lstat(entry.path().c_str(), &st) != 0)
            continue;
        // Another user's file, a link or a write still under way is not ours to remove.
        if (!S_ISREG(st.st_mode) || st.st_uid != ::geteuid() || now - st.st_mtime < age.count())
            continue;
        if (::unlink(entry.path().c_str()) == 0) {
            CVBLog("Removed %s, left by a write that did not finish", entry.path().c_str());
            ++removed;
        }
    }
    return removed;
}

std::optional<std::string> readFileContents(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad())
        return std::nullopt;
    return std::move(content).str();
}

} // namespace corvane
