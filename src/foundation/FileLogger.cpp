#include "foundation/FileLogger.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace corvane {

FileLogger::FileLogger(std::filesystem::path directory, std::string name,
                       std::uint64_t maximumFileSize, int maximumFileCount)
    : directory_(std::move(directory))
    , name_(std::move(name))
    , maximumFileSize_(maximumFileSize)
    , maximumFileCount_(std::max(1, maximumFileCount)) {}

FileLogger::~FileLogger() {
    if (fd_ >= 0)
        ::close(fd_);
}

std::filesystem::path FileLogger::currentFile() const {
    return directory_ / (name_ + ".log");
}

std::filesystem::path FileLogger::archiveFile(int number) const {
    return directory_ / (name_ + "." + std::to_string(number) + ".log");
}

std::string FileLogger::formatLine(double seconds, std::string_view message) {
    const double whole = std::floor(seconds);
    const auto t = static_cast<std::time_t>(whole);
    const int millis = std::clamp(static_cast<int>((seconds - whole) * 1000.0), 0, 999);
    std::tm tm{};
    localtime_r(&t, &tm);
    char stamp[80];
    std::snprintf(stamp, sizeof stamp, "%04d/%02d/%02d %02d:%02d:%02d:%03d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, millis);
    std::string line = stamp;
    line += "  ";
    line += message;
    return line;
}

bool FileLogger::openIfNeeded() {
    if (fd_ >= 0)
        return true;
    if (failed_)
        return false;
    std::error_code error;
    std::filesystem::create_directories(directory_, error);
    fd_ = ::open(currentFile().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        // Reported once; a process without a writable log directory still runs.
        std::fprintf(stderr, "corvanebar: cannot open log file %s: %s\n", currentFile().c_str(),
                     std::strerror(errno));
        failed_ = true;
        return false;
    }
    struct stat st {};
    size_ = ::fstat(fd_, &st) == 0 ? static_cast<std::uint64_t>(st.st_size) : 0;
    return true;
}

void FileLogger::roll() {
    ::close(fd_);
    fd_ = -1;
    std::error_code error;
    const int archives = maximumFileCount_ - 1;
    if (archives == 0) {
        std::filesystem::remove(currentFile(), error);
        return;
    }
    std::filesystem::remove(archiveFile(archives), error);
    for (int n = archives - 1; n >= 1; --n)
        std::filesystem::rename(archiveFile(n), archiveFile(n + 1), error);
    std::filesystem::rename(currentFile(), archiveFile(1), error);
}

void FileLogger::log(std::string_view message) {
    struct timeval tv {};
    gettimeofday(&tv, nullptr);
    std::string line = formatLine(static_cast<double>(tv.tv_sec) + tv.tv_usec / 1e6, message);
    line.push_back('\n');

    std::lock_guard lock(mutex_);
    if (!openIfNeeded())
        return;
    // A file never passes the limit, unless a single line is larger than the limit itself.
    if (size_ > 0 && size_ + line.size() > maximumFileSize_) {
        roll();
        if (!openIfNeeded())
            return;
    }
    const char* data = line.data();
    std::size_t left = line.size();
    while (left > 0) {
        const ssize_t written = ::write(fd_, data, left);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        data += written;
        left -= static_cast<std::size_t>(written);
        size_ += static_cast<std::uint64_t>(written);
    }
}

} // namespace corvane
