#pragma once

#include "hardware/SMCTypes.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace corvane {

// The client of the system management controller: reads and writes four-character keys over
// a connection. No lock: one thread at a time uses an instance, as the sensor cycle does.
class SensorSMCController {
public:
    struct KeyInfo {
        std::uint32_t size = 0;
        std::string type;
    };
    // Intel controllers keep a key's size and type for the life of the instance; Apple silicon
    // ones ask on every read.
    enum class KeyInfoCaching { kept, none };

    explicit SensorSMCController(std::unique_ptr<SMCConnection> connection,
                                 KeyInfoCaching caching = KeyInfoCaching::kept);
    ~SensorSMCController();
    SensorSMCController(const SensorSMCController&) = delete;
    SensorSMCController& operator=(const SensorSMCController&) = delete;

    // The process's controller over the applesmc driver under $CORVANEBAR_SYSROOT; made on
    // first use, dropped by cleanup.
    static SensorSMCController& sharedSMC();
    static void cleanup();

    // 0, or why the controller cannot be reached; kIOReturnError when already open.
    IOReturn open();
    void openIfNeeded();
    void close();
    bool isOpen() const { return open_; }

    IOReturn processInput(const SMCParamStruct& input, SMCParamStruct& output);
    // Always 0: an absent key or a failed call reads as size 0 and no type.
    IOReturn readKey(std::string_view key, SMCResultData& val);
    void dataForKey(std::string_view key, SMCResultData& returnData) { readKey(key, returnData); }
    // The number in two fractional bits ("%0.4x" of its integer part times 4), or a native
    // float for a key of four bytes: how fan speeds are written.
    IOReturn writeValue(double value, std::string_view key);
    // A typed write: a float for four bytes, an integer for one, else exactly four hex digits.
    IOReturn writeRawValue(std::string_view value, std::string_view key);
    // The key at an index of the controller's table, "" when there is none.
    std::string keyAtIndex(std::uint32_t index);

    bool debug = false;
    const std::map<std::string, KeyInfo, std::less<>>& keyCache() const { return keyCache_; }

private:
    std::uint32_t packedKey(std::string_view key);
    // The info call of a write; nullopt with the code to return when the key refuses it.
    IOReturn writeKeyInfo(std::string_view key, std::uint32_t requestSize, SMCParamStruct& info);

    std::unique_ptr<SMCConnection> connection_;
    KeyInfoCaching caching_;
    bool open_ = false;
    std::map<std::string, KeyInfo, std::less<>> keyCache_;
};

// Reads the key into `data` and decodes it.
double valueForSMCKey(SensorSMCController& smc, std::string_view key, SMCResultData& data,
                      bool fauxMac);

} // namespace corvane
