#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// The root under which the Linux sources read /proc, /sys and /dev: "/" on a live machine, a
// recorded tree under tests/fixtures/sysroot in tests. Paths are given as on a live machine
// ("/proc/stat"). A missing or unreadable file is an ordinary answer (nothing), not an error.
class SysRoot {
public:
    SysRoot()
        : root_("/") {}
    explicit SysRoot(std::filesystem::path root)
        : root_(std::move(root)) {}
    // $CORVANEBAR_SYSROOT when set, else "/".
    static SysRoot fromEnvironment();

    const std::filesystem::path& root() const { return root_; }
    bool isLive() const { return root_ == "/"; }
    std::filesystem::path path(std::string_view livePath) const;

    // The whole file; procfs files report size 0, so this reads to the end. Files larger than
    // `limit` are cut there. Only regular files are read: a FIFO or a device is nothing.
    std::optional<std::string> readFile(std::string_view livePath,
                                        std::size_t limit = std::size_t{4} * 1024 * 1024) const;
    // A sysfs attribute: the file's text without surrounding white space.
    std::optional<std::string> readAttribute(std::string_view livePath) const;
    std::optional<std::int64_t> readInteger(std::string_view livePath) const;
    std::optional<std::uint64_t> readUnsigned(std::string_view livePath) const;

    bool exists(std::string_view livePath) const;
    bool isDirectory(std::string_view livePath) const;
    // Entry names, sorted; empty when the directory is missing.
    std::vector<std::string> list(std::string_view livePath) const;
    // The target of a symbolic link as written in it.
    std::optional<std::string> readLink(std::string_view livePath) const;

private:
    std::filesystem::path root_;
};

// A descriptor of the file if it is a regular one, opened so that nothing else can block the
// open; -1 otherwise.
int openRegularFile(const std::filesystem::path& file);

} // namespace corvane
