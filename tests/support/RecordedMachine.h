#pragma once

#include "foundation/SysRoot.h"
#include "support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace corvane::test {

// The machines recorded under tests/fixtures/sysroot.
inline const std::filesystem::path kRecordedMachines =
    std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot";

inline SysRoot recordedRoot(const std::string& name) {
    return SysRoot(kRecordedMachines / name);
}

// A recorded machine in a scratch copy, which moves on to its ".later" recording in place, as
// the kernel's files do, and which a test can write to.
class RecordedMachine {
public:
    explicit RecordedMachine(const std::string& name)
        : later_(kRecordedMachines / (name + ".later")) {
        std::filesystem::copy(kRecordedMachines / name, dir_.path(),
                              std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::copy_symlinks);
    }
    SysRoot root() const { return SysRoot(dir_.path()); }
    const std::filesystem::path& path() const { return dir_.path(); }
    friend std::filesystem::path operator/(const RecordedMachine& machine,
                                           const std::filesystem::path& relative) {
        return machine.path() / relative;
    }
    // Replaces, or adds to, the file the program reads as `livePath`.
    void write(const std::string& livePath, const std::string& text) const {
        std::ofstream(dir_.path() / livePath.substr(1)) << text;
    }
    void append(const std::string& livePath, const std::string& text) const {
        std::ofstream(dir_.path() / livePath.substr(1), std::ios::app) << text;
    }
    void advance() const {
        if (!std::filesystem::exists(later_))
            return;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(later_))
            if (entry.is_regular_file())
                std::filesystem::copy_file(entry.path(),
                                           dir_.path() / entry.path().lexically_relative(later_),
                                           std::filesystem::copy_options::overwrite_existing);
    }

private:
    TemporaryDirectory dir_;
    std::filesystem::path later_;
};

} // namespace corvane::test
