#pragma once

#include "foundation/SysRoot.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// A file under a SysRoot kept open and read again from its start on each call: procfs makes
// the text anew on every read, and sparing the open and close halves the cost of reading
// /proc/stat each second. A file that is missing is looked for again on the next read. Only a
// regular file is read, and never past the limit, where its text is cut.
class SysRootFile {
public:
    static constexpr std::size_t kLimit = std::size_t{4} * 1024 * 1024;

    SysRootFile(const SysRoot& root, std::string_view livePath);
    ~SysRootFile();
    SysRootFile(const SysRootFile&) = delete;
    SysRootFile& operator=(const SysRootFile&) = delete;

    // The whole text, valid until the next read; nothing when the file cannot be read.
    std::optional<std::string_view> read();

private:
    std::string path_;
    int fd_ = -1;
    std::string buffer_;
};

// The number of entries of a directory whose names are all digits: the processes in /proc.
std::size_t countNumericEntries(const SysRoot& root, std::string_view livePath);

} // namespace corvane
