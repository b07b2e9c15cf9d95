#pragma once

#include "foundation/SysRoot.h"
#include "hardware/SMCTypes.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// The applesmc driver's attribute files. The key index is one cursor for the whole machine:
// write an index to "key_at_index", then read the key's name, type, length and bytes.
class AppleSMCFiles {
public:
    virtual ~AppleSMCFiles() = default;
    // The attribute's bytes as the driver gives them (a trailing newline included).
    virtual std::optional<std::string> read(std::string_view attribute) = 0;
    virtual bool write(std::string_view attribute, std::string_view text) = 0;
};

// The live driver under a SysRoot.
class AppleSMCDriverFiles final : public AppleSMCFiles {
public:
    explicit AppleSMCDriverFiles(SysRoot root)
        : root_(std::move(root)) {}
    std::optional<std::string> read(std::string_view attribute) override;
    bool write(std::string_view attribute, std::string_view text) override;

private:
    std::string path(std::string_view attribute) const;
    SysRoot root_;
};

// A key table recorded by scripts/capture-sysroot ("index TAB name TAB type TAB length TAB
// hex bytes" a line), served as the driver serves it: the index cursor included. Other
// attributes (fans, temperatures) come from the recorded tree; writes are kept in written().
class RecordedAppleSMC final : public AppleSMCFiles {
public:
    RecordedAppleSMC(std::string_view table, SysRoot tree);
    std::optional<std::string> read(std::string_view attribute) override;
    bool write(std::string_view attribute, std::string_view text) override;
    const std::vector<std::pair<std::string, std::string>>& written() const { return written_; }

private:
    struct Key {
        std::string name, type, bytes;
    };
    std::vector<Key> keys_;
    std::optional<std::size_t> cursor_;
    AppleSMCDriverFiles tree_;
    std::vector<std::pair<std::string, std::string>> written_;
};

// The files for a root: a recorded key table beside a recorded tree ("<tree>.smc-keys"), else
// the driver under the root.
std::unique_ptr<AppleSMCFiles> makeAppleSMCFiles(const SysRoot& root);

// A controller connection over the driver. Only the fan keys can be written (the driver has
// no write of other keys); every other write is refused. Without the driver, open answers
// kIOReturnNotFound; without the right to move the cursor (only root has it),
// kIOReturnNotPrivileged.
class AppleSMCSysfs final : public SMCConnection {
public:
    explicit AppleSMCSysfs(const SysRoot& root)
        : AppleSMCSysfs(makeAppleSMCFiles(root)) {}
    explicit AppleSMCSysfs(std::unique_ptr<AppleSMCFiles> files)
        : files_(std::move(files)) {}

    IOReturn open() override;
    void close() override;
    IOReturn call(const SMCParamStruct& input, SMCParamStruct& output) override;

    // Temperature keys the driver shows to everyone ("temp%d_label"): the key list when the
    // cursor is out of reach.
    std::vector<std::string> labelledKeys();

private:
    struct KeyEntry {
        std::uint32_t index = 0;
        std::uint32_t size = 0;
        std::uint32_t type = 0;
    };
    std::optional<std::string> readAt(std::uint32_t index, std::string_view attribute);
    IOReturn readBytes(const KeyEntry& entry, SMCParamStruct& output);
    IOReturn writeBytes(const SMCParamStruct& input);
    std::size_t fanCount();

    // Moving the cursor and reading behind it must not interleave between threads.
    std::mutex cursor_;
    std::unique_ptr<AppleSMCFiles> files_;
    std::vector<std::uint32_t> byIndex_;
    std::map<std::uint32_t, KeyEntry> byKey_;
};

} // namespace corvane
