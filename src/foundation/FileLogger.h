#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>

namespace corvane {

// A log file that rolls by size: "<name>.log" is written, "<name>.1.log" is the newest
// archive, and at most `maximumFileCount` files exist in all. Safe from any thread.
class FileLogger {
public:
    static constexpr std::uint64_t kMaximumFileSize = 10485760;
    static constexpr int kMaximumFileCount = 7;

    FileLogger(std::filesystem::path directory, std::string name,
               std::uint64_t maximumFileSize = kMaximumFileSize,
               int maximumFileCount = kMaximumFileCount);
    ~FileLogger();
    FileLogger(const FileLogger&) = delete;
    FileLogger& operator=(const FileLogger&) = delete;

    // Writes "yyyy/MM/dd HH:mm:ss:SSS  message" as one line, local time.
    void log(std::string_view message);
    // The line as it is written, without its newline; `seconds` since 1970.
    static std::string formatLine(double seconds, std::string_view message);

    std::filesystem::path currentFile() const;
    std::filesystem::path archiveFile(int number) const;

private:
    bool openIfNeeded();
    void roll();

    std::filesystem::path directory_;
    std::string name_;
    std::uint64_t maximumFileSize_;
    int maximumFileCount_;
    std::mutex mutex_;
    int fd_ = -1;
    std::uint64_t size_ = 0;
    bool failed_ = false;
};

} // namespace corvane
