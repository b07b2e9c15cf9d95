#include "hardware/SensorSMCController.h"

#include "foundation/Log.h"
#include "foundation/SysRoot.h"
#include "foundation/TextParsing.h"
#include "hardware/AppleSMCSysfs.h"
#include "hardware/SMCValueCodec.h"

#include <cstdio>
#include <cstring>

namespace corvane {

namespace {

std::unique_ptr<SensorSMCController>& sharedInstance() {
    static std::unique_ptr<SensorSMCController> instance;
    return instance;
}

SMCParamStruct request(std::uint32_t key, std::uint8_t command, std::uint32_t size) {
    SMCParamStruct input;
    input.key = key;
    input.data8 = command;
    input.keyInfo.dataSize = size;
    return input;
}

IOReturn refusal(std::uint8_t result) {
    return result == kSMCKeyNotFound ? kIOReturnNotFound : kIOReturnInternalError;
}

std::optional<std::uint8_t> hexByte(std::string_view digits) {
    std::uint8_t value = 0;
    for (char c : digits) {
        int nibble;
        if (c >= '0' && c <= '9')
            nibble = c - '0';
        else if (c >= 'a' && c <= 'f')
            nibble = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            nibble = c - 'A' + 10;
        else
            return std::nullopt;
        value = static_cast<std::uint8_t>(value << 4 | nibble);
    }
    return value;
}

void putNativeFloat(SMCParamStruct& input, double value) {
    const auto number = static_cast<float>(value);
    std::memcpy(input.bytes.data(), &number, sizeof number);
}

} // namespace

std::string unpackSMCKey(std::uint32_t packed) {
    std::string key(4, '\0');
    for (int i = 0; i < 4; ++i)
        key[static_cast<std::size_t>(i)] = static_cast<char>(packed >> (24 - 8 * i));
    return key;
}

SensorSMCController::SensorSMCController(std::unique_ptr<SMCConnection> connection,
                                         KeyInfoCaching caching)
    : connection_(std::move(connection))
    , caching_(caching) {}

SensorSMCController::~SensorSMCController() {
    close();
}

SensorSMCController& SensorSMCController::sharedSMC() {
    auto& instance = sharedInstance();
    if (!instance)
        instance = std::make_unique<SensorSMCController>(
            std::make_unique<AppleSMCSysfs>(SysRoot::fromEnvironment()));
    return *instance;
}

void SensorSMCController::cleanup() {
    sharedInstance().reset();
}

IOReturn SensorSMCController::open() {
    if (open_)
        return kIOReturnError;
    const IOReturn result = connection_->open();
    open_ = result == kIOReturnSuccess;
    return result;
}

void SensorSMCController::openIfNeeded() {
    if (!open_)
        open();
}

void SensorSMCController::close() {
    if (!open_)
        return;
    connection_->close();
    open_ = false;
}

IOReturn SensorSMCController::processInput(const SMCParamStruct& input, SMCParamStruct& output) {
    if (!open_)
        return kIOReturnNotFound;
    return connection_->call(input, output);
}

std::uint32_t SensorSMCController::packedKey(std::string_view key) {
    const std::uint32_t packed = packSMCKey(key);
    if (packed == 0 && debug)
        CVBLog("error converting key - %.*s", static_cast<int>(key.size()), key.data());
    return packed;
}

IOReturn SensorSMCController::readKey(std::string_view key, SMCResultData& val) {
    val = SMCResultData{};
    std::uint32_t size = 0;
    if (const auto cached = keyCache_.find(key); cached != keyCache_.end()) {
        size = cached->second.size;
        std::snprintf(val.dataType.data(), val.dataType.size(), "%s", cached->second.type.c_str());
    } else {
        SMCParamStruct output;
        const IOReturn called = processInput(request(packedKey(key), kSMCReadKeyInfo, 2), output);
        size = output.keyInfo.dataSize;
        // The type as four characters; an absent key answers with none.
        const std::string type =
            output.keyInfo.dataType ? unpackSMCKey(output.keyInfo.dataType) : std::string();
        std::snprintf(val.dataType.data(), val.dataType.size(), "%s", type.c_str());
        // An absent key is kept too and never asked for again. A connection that could not be
        // reached at all says nothing about the key, so that is not kept.
        if (caching_ == KeyInfoCaching::kept && called == kIOReturnSuccess)
            keyCache_.emplace(std::string(key), KeyInfo{size, type});
    }
    val.dataSize = size;
    SMCParamStruct output;
    processInput(request(packedKey(key), kSMCReadBytes, size), output);
    val.bytes = output.bytes;
    return kIOReturnSuccess;
}

IOReturn SensorSMCController::writeKeyInfo(std::string_view key, std::uint32_t requestSize,
                                           SMCParamStruct& info) {
    const IOReturn called =
        processInput(request(packSMCKey(key), kSMCReadKeyInfo, requestSize), info);
    if (called != kIOReturnSuccess)
        return called;
    return info.result == 0 ? kIOReturnSuccess : refusal(info.result);
}

IOReturn SensorSMCController::writeValue(double value, std::string_view key) {
    SMCParamStruct info;
    if (const IOReturn refused = writeKeyInfo(key, 0, info))
        return refused;
    char hex[16];
    std::snprintf(hex, sizeof hex, "%.4x", static_cast<unsigned>(static_cast<int>(value) * 4));
    auto input = request(packSMCKey(key), kSMCWriteBytes, info.keyInfo.dataSize);
    if (info.keyInfo.dataSize == 4) {
        putNativeFloat(input, value);
    } else {
        input.bytes[0] = hexByte(std::string_view(hex, 2)).value_or(0);
        input.bytes[1] = hexByte(std::string_view(hex + 2, 2)).value_or(0);
    }
    SMCParamStruct output;
    return processInput(input, output);
}

IOReturn SensorSMCController::writeRawValue(std::string_view value, std::string_view key) {
    SMCParamStruct info;
    if (const IOReturn refused = writeKeyInfo(key, 2, info))
        return refused;
    auto input = request(packSMCKey(key), kSMCWriteBytes, info.keyInfo.dataSize);
    if (info.keyInfo.dataSize == 4) {
        putNativeFloat(input, parseDouble(value).value_or(0.0));
    } else if (info.keyInfo.dataSize == 1) {
        input.bytes[0] = static_cast<std::uint8_t>(leadingInteger(value));
    } else if (value.size() == 4) {
        const auto high = hexByte(value.substr(0, 2));
        const auto low = hexByte(value.substr(2, 2));
        if (high && low) {
            input.bytes[0] = *high;
            input.bytes[1] = *low;
        }
    }
    SMCParamStruct output;
    return processInput(input, output);
}

std::string SensorSMCController::keyAtIndex(std::uint32_t index) {
    SMCParamStruct input;
    input.data8 = kSMCReadIndex;
    input.data32 = index;
    SMCParamStruct output;
    if (processInput(input, output) != kIOReturnSuccess || output.key == 0)
        return {};
    return unpackSMCKey(output.key);
}

double valueForSMCKey(SensorSMCController& smc, std::string_view key, SMCResultData& data,
                      bool fauxMac) {
    smc.readKey(key, data);
    return convertData(data, fauxMac);
}

} // namespace corvane
