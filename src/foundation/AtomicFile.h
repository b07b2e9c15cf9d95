#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// Writes to a temporary file beside the target, flushes it to disk and renames it over the
// target, so a reader sees the old file or the new one, never a part. False on failure, which
// is logged and left in errno; the old file is then untouched.
//
// A symbolic link stays a link: the file it points to is replaced. A replaced file keeps its
// permissions; a new one is readable by all and writable by its owner. The folder must exist.
// `Durability::Visible` skips the flush: for files rewritten every second whose loss in a crash
// costs nothing (pictures of the panel), where a flush a second would keep the disk awake.
enum class Durability { Durable, Visible };
bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes,
                         Durability durability = Durability::Durable);

// A file rewritten every second (the pictures of a headless run): the bytes go into a side
// file beside it (swapFileOf), which then trades places with it in one step. A reader sees the
// old content or the new, whole, as with writeFileAtomically without the flush; but no file is
// made or deleted each time, which on ext4 costs a new inode and a forced write-out of the data
// for every rename over a file. Both files stay open between writes, so a write is a pwrite and
// the exchange: no open, close or truncation a second. Falls back to a rename where the file
// system cannot exchange, and opens afresh when a name no longer holds its file.
class FrequentlyWrittenFile {
public:
    explicit FrequentlyWrittenFile(std::filesystem::path file);
    ~FrequentlyWrittenFile();
    FrequentlyWrittenFile(const FrequentlyWrittenFile&) = delete;
    FrequentlyWrittenFile& operator=(const FrequentlyWrittenFile&) = delete;

    // False on failure, logged and left in errno.
    bool write(std::string_view bytes);
    // Removes the file and its side file.
    void remove();

private:
    struct Handle {
        int fd = -1;
        std::size_t size = 0;
    };
    bool writeThroughNames(std::string_view bytes);
    void openBoth(std::size_t shownSize);
    void close();

    std::filesystem::path file_;
    std::filesystem::path side_;
    Handle shown_;
    Handle spare_;
};
std::filesystem::path swapFileOf(const std::filesystem::path& file);

// The file that `file` names once symbolic links are followed, also when that file does not
// exist yet; `file` itself when the links go round in a circle.
std::filesystem::path resolvedFile(const std::filesystem::path& file);

// Removes the temporary files that writes of `file` left behind when their process died before
// the rename: only names of the form writeFileAtomically makes, only regular files of this
// user, only those untouched for `age`. Answers how many went.
int removeStaleTemporaries(const std::filesystem::path& file,
                           std::chrono::seconds age = std::chrono::minutes(10));

// The whole file, or nothing when it cannot be read.
std::optional<std::string> readFileContents(const std::filesystem::path& file);

} // namespace corvane
