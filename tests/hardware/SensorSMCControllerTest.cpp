#include "hardware/SensorSMCController.h"

#include "foundation/Log.h"
#include "hardware/AppleSMCSysfs.h"
#include "hardware/SMCValueCodec.h"
#include "support/RecordedMachine.h"

#include <gtest/gtest.h>
#include <map>

using namespace corvane;

namespace {

// The recorded applesmc tree with its key table, served through the index cursor.
std::unique_ptr<RecordedAppleSMC> recordedMac() {
    const auto root = test::recordedRoot("hw-macbookpro11-1");
    const auto table = SysRoot(root.root().parent_path()).readFile("/hw-macbookpro11-1.smc-keys");
    EXPECT_TRUE(table.has_value());
    return std::make_unique<RecordedAppleSMC>(table.value_or(""), root);
}

// Forwards to the driver connection, counting calls by command and keeping the last write.
class CountingConnection final : public SMCConnection {
public:
    explicit CountingConnection(std::unique_ptr<SMCConnection> inner)
        : inner_(std::move(inner)) {}
    IOReturn open() override { return inner_->open(); }
    void close() override { inner_->close(); }
    IOReturn call(const SMCParamStruct& input, SMCParamStruct& output) override {
        ++calls[input.data8];
        if (input.data8 == kSMCWriteBytes)
            lastWrite = input;
        return inner_->call(input, output);
    }
    std::map<int, int> calls;
    SMCParamStruct lastWrite;

private:
    std::unique_ptr<SMCConnection> inner_;
};

struct Rig {
    explicit Rig(
        SensorSMCController::KeyInfoCaching caching = SensorSMCController::KeyInfoCaching::kept) {
        auto files = recordedMac();
        driver = files.get();
        auto counting =
            std::make_unique<CountingConnection>(std::make_unique<AppleSMCSysfs>(std::move(files)));
        connection = counting.get();
        smc = std::make_unique<SensorSMCController>(std::move(counting), caching);
        EXPECT_EQ(smc->open(), kIOReturnSuccess);
    }
    double read(std::string_view key) {
        SMCResultData data;
        return valueForSMCKey(*smc, key, data, false);
    }
    RecordedAppleSMC* driver;
    CountingConnection* connection;
    std::unique_ptr<SensorSMCController> smc;
};

TEST(SensorSMCController, ReadsRecordedKeysThroughTheIndexCursor) {
    Rig rig;
    EXPECT_DOUBLE_EQ(rig.read("TC0P"), 52.5);
    EXPECT_DOUBLE_EQ(rig.read("F0Ac"), 1299.0);
    EXPECT_DOUBLE_EQ(rig.read("TB2T"), -127.0); // a sentinel: no reading
    EXPECT_DOUBLE_EQ(rig.read("FNum"), 1.0);    // type "ui8 " keeps its blank
    EXPECT_DOUBLE_EQ(rig.read("#KEY"), 12.0);
    EXPECT_EQ(rig.smc->keyAtIndex(0), "#KEY");
    EXPECT_EQ(rig.smc->keyAtIndex(4), "FS! ");
    EXPECT_EQ(rig.smc->keyAtIndex(12), "");
    EXPECT_EQ(rig.smc->open(), kIOReturnError); // already open
}

TEST(SensorSMCController, AnAbsentKeyIsCachedOnceAndDecodesToMinusOne) {
    Rig rig;
    SMCResultData data;
    rig.smc->readKey("ZZZZ", data);
    EXPECT_EQ(data.dataSize, 0u);
    EXPECT_EQ(data.type(), "");
    EXPECT_DOUBLE_EQ(convertData(data, false), -1.0);
    ASSERT_TRUE(rig.smc->keyCache().contains("ZZZZ"));
    EXPECT_EQ(rig.smc->keyCache().at("ZZZZ").size, 0u);
    rig.smc->readKey("ZZZZ", data);
    rig.read("TC0P");
    rig.read("TC0P");
    EXPECT_EQ(rig.connection->calls[kSMCReadKeyInfo], 2); // ZZZZ and TC0P, once each
    EXPECT_EQ(rig.connection->calls[kSMCReadBytes], 4);

    Rig uncached(SensorSMCController::KeyInfoCaching::none);
    uncached.read("TC0P");
    uncached.read("TC0P");
    EXPECT_EQ(uncached.connection->calls[kSMCReadKeyInfo], 2);
    EXPECT_TRUE(uncached.smc->keyCache().empty());
}

TEST(SensorSMCController, AShortKeyPacksToZeroAndIsLoggedForEachCall) {
    Rig rig;
    rig.smc->debug = true;
    LogCapture log;
    EXPECT_DOUBLE_EQ(rig.read("TC0"), -1.0);
    const std::string lines = log.lines();
    const auto first = lines.find("error converting key - TC0");
    ASSERT_NE(first, std::string::npos);
    EXPECT_NE(lines.find("error converting key - TC0", first + 1), std::string::npos);
}

TEST(SensorSMCController, WritesFanTargetsInTwoFractionalBits) {
    struct Case {
        double value;
        std::uint8_t high, low;
        const char* rpm;
    };
    for (const auto& c : {Case{2000, 0x1F, 0x40, "2000"}, Case{1500.7, 0x17, 0x70, "1500"}}) {
        Rig rig;
        EXPECT_EQ(rig.smc->writeValue(c.value, "F0Tg"), kIOReturnSuccess);
        EXPECT_EQ(rig.connection->lastWrite.bytes[0], c.high) << c.value;
        EXPECT_EQ(rig.connection->lastWrite.bytes[1], c.low) << c.value;
        ASSERT_EQ(rig.driver->written().size(), 1u);
        EXPECT_EQ(rig.driver->written()[0],
                  (std::pair<std::string, std::string>{"fan1_output", c.rpm}));
    }
    Rig rig;
    EXPECT_EQ(rig.smc->writeValue(1300, "F0Mn"), kIOReturnSuccess);
    EXPECT_EQ(rig.driver->written().back().first, "fan1_min");
}

TEST(SensorSMCController, TheDriverRefusesEveryKeyButTheFanKeysAndShortRawValues) {
    Rig rig;
    EXPECT_EQ(rig.smc->writeValue(50, "TC0P"), kIOReturnInternalError);
    EXPECT_EQ(rig.smc->writeValue(50, "ZZZZ"), kIOReturnNotFound);
    EXPECT_TRUE(rig.driver->written().empty());
    // Raw writes need exactly four hex digits.
    EXPECT_EQ(rig.smc->writeRawValue("0001", "FS! "), kIOReturnSuccess);
    EXPECT_EQ(rig.driver->written().back(),
              (std::pair<std::string, std::string>{"fan1_manual", "1"}));
    EXPECT_EQ(rig.smc->writeRawValue("001", "FS! "), kIOReturnSuccess);
    EXPECT_EQ(rig.connection->lastWrite.bytes[1], 0);
    EXPECT_EQ(rig.driver->written().back(),
              (std::pair<std::string, std::string>{"fan1_manual", "0"}));
}

TEST(AppleSMCSysfs, WithoutTheDriverOpenFailsAndReadsAreNeutral) {
    SensorSMCController smc(std::make_unique<AppleSMCSysfs>(test::recordedRoot("hw-no-dmi")));
    EXPECT_EQ(smc.open(), kIOReturnNotFound);
    SMCResultData data;
    EXPECT_DOUBLE_EQ(valueForSMCKey(smc, "TC0P", data, false), -1.0);
    EXPECT_TRUE(smc.keyCache().empty()); // nothing was learnt about the key
    EXPECT_EQ(smc.writeValue(2000, "F0Tg"), kIOReturnNotFound);
}

// The cursor can only be moved by root; a reader without that right is told so.
class ReadOnlyFiles final : public AppleSMCFiles {
public:
    std::optional<std::string> read(std::string_view attribute) override {
        return attribute == "key_count" ? std::optional<std::string>("3\n") : std::nullopt;
    }
    bool write(std::string_view, std::string_view) override { return false; }
};

TEST(AppleSMCSysfs, WithoutTheRightToMoveTheCursorOpenSaysSoAndLabelsStayReadable) {
    AppleSMCSysfs driver(std::make_unique<ReadOnlyFiles>());
    EXPECT_EQ(driver.open(), kIOReturnNotPrivileged);
    // The temperature keys everyone may read are named still.
    EXPECT_EQ(AppleSMCSysfs(recordedMac()).labelledKeys(),
              (std::vector<std::string>{"TB0T", "TC0P", "TC0D"}));
}

} // namespace
