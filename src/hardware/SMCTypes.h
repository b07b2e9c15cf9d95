#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvane {

// Result codes of the controller's kernel calls, as the callers compare them.
using IOReturn = std::uint32_t;
inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr IOReturn kIOReturnError = 0xe00002bc;
inline constexpr IOReturn kIOReturnNotPrivileged = 0xe00002c1;
inline constexpr IOReturn kIOReturnInternalError = 0xe00002c9;
inline constexpr IOReturn kIOReturnNotFound = 0xe00002f0;

// The controller's own status byte for a key it does not have.
inline constexpr std::uint8_t kSMCKeyNotFound = 132;

enum SMCCommand : std::uint8_t {
    kSMCReadBytes = 5,
    kSMCWriteBytes = 6,
    kSMCReadIndex = 8,
    kSMCReadKeyInfo = 9,
};

struct SMCVersion {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t build = 0;
    std::uint8_t reserved = 0;
    std::uint16_t release = 0;
};

struct SMCPLimitData {
    std::uint16_t version = 0;
    std::uint16_t length = 0;
    std::uint32_t cpuPLimit = 0;
    std::uint32_t gpuPLimit = 0;
    std::uint32_t memPLimit = 0;
};

struct SMCKeyInfoData {
    std::uint32_t dataSize = 0;
    std::uint32_t dataType = 0;
    std::uint8_t dataAttributes = 0;
};

// The record exchanged with the controller, for input and output alike. A wire format: the
// offsets are checked below.
struct SMCParamStruct {
    std::uint32_t key = 0;
    SMCVersion vers;
    SMCPLimitData pLimitData;
    SMCKeyInfoData keyInfo;
    std::uint8_t result = 0;
    std::uint8_t status = 0;
    std::uint8_t data8 = 0;
    std::uint32_t data32 = 0;
    std::array<std::uint8_t, 32> bytes{};
};

static_assert(sizeof(SMCParamStruct) == 80);
static_assert(offsetof(SMCParamStruct, vers) == 4);
static_assert(offsetof(SMCParamStruct, pLimitData) == 12);
static_assert(offsetof(SMCParamStruct, keyInfo) == 28);
static_assert(offsetof(SMCParamStruct, keyInfo) + offsetof(SMCKeyInfoData, dataType) == 32);
static_assert(offsetof(SMCParamStruct, keyInfo) + offsetof(SMCKeyInfoData, dataAttributes) == 36);
static_assert(offsetof(SMCParamStruct, result) == 40);
static_assert(offsetof(SMCParamStruct, status) == 41);
static_assert(offsetof(SMCParamStruct, data8) == 42);
static_assert(offsetof(SMCParamStruct, data32) == 44);
static_assert(offsetof(SMCParamStruct, bytes) == 48);

// What a read hands to the rest of the program; the caller owns it.
struct SMCResultData {
    std::uint32_t dataSize = 0;
    std::array<char, 5> dataType{};
    std::array<std::uint8_t, 32> bytes{};

    std::string_view type() const { return {dataType.data()}; }
};

// The first four bytes of the key, first one on top; 0 for a key of fewer than four bytes.
constexpr std::uint32_t packSMCKey(std::string_view key) {
    if (key.size() < 4)
        return 0;
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < 4; ++i)
        packed = (packed << 8) | static_cast<std::uint8_t>(key[i]);
    return packed;
}

// "%c%c%c%c", top byte first.
std::string unpackSMCKey(std::uint32_t packed);

// The channel to the controller: the kernel service on a Mac, the applesmc driver's files on
// Linux, a recorded table in tests. A call answers in `output` as the controller would.
class SMCConnection {
public:
    virtual ~SMCConnection() = default;
    virtual IOReturn open() = 0;
    virtual void close() = 0;
    virtual IOReturn call(const SMCParamStruct& input, SMCParamStruct& output) = 0;
};

} // namespace corvane
