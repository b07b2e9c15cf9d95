#include "hardware/AppleSMCSysfs.h"

#include "foundation/Log.h"
#include "foundation/TextParsing.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace corvane {

namespace {

constexpr std::string_view kDriverDirectory = "/sys/devices/platform/applesmc.768/";

// The driver ends every text attribute with one newline; a type keeps its blanks ("flt ").
std::string_view withoutNewline(std::string_view text) {
    if (!text.empty() && text.back() == '\n')
        text.remove_suffix(1);
    return text;
}

std::optional<std::string> decodeHex(std::string_view hex) {
    if (hex.size() % 2)
        return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        unsigned byte = 0;
        for (char c : hex.substr(i, 2)) {
            static constexpr const char* digits = "0123456789abcdef";
            const char* at = c ? std::strchr(digits, c | 0x20) : nullptr;
            if (!at)
                return std::nullopt;
            byte = byte * 16 + static_cast<unsigned>(at - digits);
        }
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

// Fan speeds are written in rpm; the keys hold them with two fractional bits, or as a float.
long fanSpeed(const SMCParamStruct& input) {
    if (input.keyInfo.dataSize == 4) {
        float value;
        std::memcpy(&value, input.bytes.data(), sizeof value);
        return static_cast<long>(value);
    }
    return ((input.bytes[0] << 8) | input.bytes[1]) >> 2;
}

} // namespace

std::string AppleSMCDriverFiles::path(std::string_view attribute) const {
    return root_.path(std::string(kDriverDirectory) + std::string(attribute)).string();
}

std::optional<std::string> AppleSMCDriverFiles::read(std::string_view attribute) {
    // Not SysRoot::readFile: the data attribute is binary and must not be trimmed.
    return root_.readFile(std::string(kDriverDirectory) + std::string(attribute), 4096);
}

bool AppleSMCDriverFiles::write(std::string_view attribute, std::string_view text) {
    const int fd = ::open(path(attribute).c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(fd);
    return written;
}

RecordedAppleSMC::RecordedAppleSMC(std::string_view table, SysRoot tree)
    : tree_(std::move(tree)) {
    for (auto line : splitLines(table)) {
        std::vector<std::string_view> fields;
        std::size_t start = 0;
        for (std::size_t tab; (tab = line.find('\t', start)) != std::string_view::npos;
             start = tab + 1)
            fields.push_back(line.substr(start, tab - start));
        fields.push_back(line.substr(start));
        if (fields.size() != 5 || line.starts_with('#'))
            continue;
        auto bytes = decodeHex(trimmed(fields[4]));
        if (!bytes || fields[1].size() != 4)
            continue;
        keys_.push_back({std::string(fields[1]), std::string(fields[2]), std::move(*bytes)});
    }
}

std::optional<std::string> RecordedAppleSMC::read(std::string_view attribute) {
    if (attribute == "key_count")
        return std::to_string(keys_.size()) + "\n";
    if (attribute.starts_with("key_at_index")) {
        if (!cursor_ || *cursor_ >= keys_.size())
            return std::nullopt;
        const Key& key = keys_[*cursor_];
        if (attribute == "key_at_index")
            return std::to_string(*cursor_) + "\n";
        if (attribute == "key_at_index_name")
            return key.name + "\n";
        if (attribute == "key_at_index_type")
            return key.type + "\n";
        if (attribute == "key_at_index_data_length")
            return std::to_string(key.bytes.size()) + "\n";
        if (attribute == "key_at_index_data")
            return key.bytes;
        return std::nullopt;
    }
    return tree_.read(attribute);
}

bool RecordedAppleSMC::write(std::string_view attribute, std::string_view text) {
    if (attribute == "key_at_index") {
        const auto index = parseUnsigned(text);
        if (!index || *index >= keys_.size())
            return false; // the driver answers EINVAL
        cursor_ = static_cast<std::size_t>(*index);
        return true;
    }
    if (!tree_.read(attribute))
        return false;
    written_.emplace_back(attribute, text);
    return true;
}

std::unique_ptr<AppleSMCFiles> makeAppleSMCFiles(const SysRoot& root) {
    if (!root.isLive()) {
        const SysRoot beside(root.root().parent_path());
        const std::string table = root.root().filename().string() + ".smc-keys";
        if (auto text = beside.readFile("/" + table))
            return std::make_unique<RecordedAppleSMC>(*text, root);
    }
    return std::make_unique<AppleSMCDriverFiles>(root);
}

std::optional<std::string> AppleSMCSysfs::readAt(std::uint32_t index, std::string_view attribute) {
    if (!files_->write("key_at_index", std::to_string(index)))
        return std::nullopt;
    return files_->read(attribute);
}

IOReturn AppleSMCSysfs::open() {
    const std::lock_guard lock(cursor_);
    const auto count = files_->read("key_count");
    if (!count)
        return kIOReturnNotFound;
    byIndex_.clear();
    byKey_.clear();
    const auto total = static_cast<std::uint32_t>(parseUnsigned(*count).value_or(0));
    for (std::uint32_t index = 0; index < total; ++index) {
        if (!files_->write("key_at_index", std::to_string(index))) {
            if (index > 0)
                break; // fewer keys than counted: keep those read
            CVBLog("applesmc: cannot move the key index (%s); the daemon reads the keys",
                   std::strerror(errno));
            return kIOReturnNotPrivileged;
        }
        const auto name = files_->read("key_at_index_name");
        const auto type = files_->read("key_at_index_type");
        const auto size = files_->read("key_at_index_data_length");
        if (!name || withoutNewline(*name).size() != 4)
            continue;
        const std::uint32_t key = packSMCKey(withoutNewline(*name));
        const std::string_view typeText = type ? withoutNewline(*type) : std::string_view();
        byIndex_.push_back(key);
        byKey_[key] = {index,
                       static_cast<std::uint32_t>(size ? parseUnsigned(*size).value_or(0) : 0),
                       typeText.size() == 4 ? packSMCKey(typeText) : 0};
    }
    return kIOReturnSuccess;
}

void AppleSMCSysfs::close() {
    const std::lock_guard lock(cursor_);
    byIndex_.clear();
    byKey_.clear();
}

IOReturn AppleSMCSysfs::readBytes(const KeyEntry& entry, SMCParamStruct& output) {
    const auto bytes = readAt(entry.index, "key_at_index_data");
    if (!bytes)
        return kIOReturnError;
    std::memcpy(output.bytes.data(), bytes->data(), std::min(bytes->size(), output.bytes.size()));
    return kIOReturnSuccess;
}

std::size_t AppleSMCSysfs::fanCount() {
    std::size_t count = 0;
    while (count < 10 && files_->read("fan" + std::to_string(count + 1) + "_input"))
        ++count;
    return count;
}

IOReturn AppleSMCSysfs::writeBytes(const SMCParamStruct& input) {
    const std::string key = unpackSMCKey(input.key);
    const auto fan = [&](const char* attribute, long fanIndex, std::string_view text) {
        return files_->write("fan" + std::to_string(fanIndex + 1) + attribute, text)
                   ? kIOReturnSuccess
                   : kIOReturnNotPrivileged;
    };
    if (key[0] == 'F' && key[1] >= '0' && key[1] <= '9' &&
        (key.ends_with("Mn") || key.ends_with("Tg")))
        return fan(key.ends_with("Mn") ? "_min" : "_output", key[1] - '0',
                   std::to_string(fanSpeed(input)));
    if (key == "FS! ") {
        const unsigned mask = (input.bytes[0] << 8) | input.bytes[1];
        for (std::size_t i = 0, count = fanCount(); i < count; ++i)
            if (const IOReturn result =
                    fan("_manual", static_cast<long>(i), (mask >> i) & 1 ? "1" : "0"))
                return result;
        return kIOReturnSuccess;
    }
    return kIOReturnInternalError;
}

IOReturn AppleSMCSysfs::call(const SMCParamStruct& input, SMCParamStruct& output) {
    const std::lock_guard lock(cursor_);
    output = SMCParamStruct{};
    output.key = input.key;
    if (input.data8 == kSMCReadIndex) {
        if (input.data32 >= byIndex_.size()) {
            output.result = kSMCKeyNotFound;
            return kIOReturnSuccess;
        }
        output.key = byIndex_[input.data32];
        return kIOReturnSuccess;
    }
    const auto entry = byKey_.find(input.key);
    if (entry == byKey_.end()) {
        output.result = kSMCKeyNotFound;
        return input.data8 == kSMCWriteBytes ? kIOReturnNotFound : kIOReturnSuccess;
    }
    switch (input.data8) {
    case kSMCReadKeyInfo:
        output.keyInfo.dataSize = entry->second.size;
        output.keyInfo.dataType = entry->second.type;
        return kIOReturnSuccess;
    case kSMCReadBytes:
        return readBytes(entry->second, output);
    case kSMCWriteBytes:
        if (const IOReturn result = writeBytes(input)) {
            output.result = 1;
            return result;
        }
        return kIOReturnSuccess;
    default:
        output.result = 1;
        return kIOReturnInternalError;
    }
}

std::vector<std::string> AppleSMCSysfs::labelledKeys() {
    std::vector<std::string> keys;
    for (int i = 1; i < 256; ++i) {
        const auto label = files_->read("temp" + std::to_string(i) + "_label");
        if (!label)
            break;
        keys.emplace_back(trimmed(*label));
    }
    return keys;
}

} // namespace corvane
