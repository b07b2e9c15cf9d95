#include "hardware/SMCValueCodec.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace corvane;

namespace {

struct Decoding {
    const char* type;
    std::vector<std::uint8_t> bytes;
    float expected;
    bool fauxMac = false;
    std::uint32_t size = 0; // 0: the number of bytes
};

std::ostream& operator<<(std::ostream& out, const Decoding& row) {
    out << '"' << row.type << "\" " << std::hex;
    for (auto byte : row.bytes)
        out << int(byte) << ' ';
    return out << (row.fauxMac ? "fauxMac" : "") << " size " << std::dec << row.size;
}

float decoded(const Decoding& row) {
    SMCResultData data;
    std::copy(row.type, row.type + std::strlen(row.type), data.dataType.begin());
    std::copy(row.bytes.begin(), row.bytes.end(), data.bytes.begin());
    data.dataSize = row.size ? row.size : static_cast<std::uint32_t>(row.bytes.size());
    return convertData(data, row.fauxMac);
}

class Codec : public testing::TestWithParam<Decoding> {};

TEST_P(Codec, DecodesAsTheControllerMeantIt) {
    EXPECT_FLOAT_EQ(decoded(GetParam()), GetParam().expected);
}

// The name's two hex digits count the integer and the fraction bits: fifteen in all for the
// signed family, sixteen for the unsigned one. 0x4000 over each divisor of both.
TEST(FixedPoint, TheNameGivesTheDivisor) {
    const char* hex = "0123456789abcdef";
    for (int fraction = 1; fraction <= 15; ++fraction) {
        for (const auto& [family, bits] : {std::pair{"sp", 15}, std::pair{"fp", 16}}) {
            const std::string type = std::string(family) + hex[bits - fraction] + hex[fraction];
            EXPECT_FLOAT_EQ(decoded({type.c_str(), {0x40, 0}, 0}), 16384.0f / float(1 << fraction))
                << type;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    FixedPoint, Codec,
    testing::Values(Decoding{"sp78",
                             {0xE7, 0x80},
                             -24.5f}, // signed: a negative temperature
                                      // a name of the family that is not in the list divides by 1
                    Decoding{"sp12", {0x00, 0x05}, 5},
                    // unsigned: the top bit is magnitude (a fan at 16383 rpm)
                    Decoding{"fpe2", {0xFF, 0xFC}, 16383}, Decoding{"fpxx", {0x01, 0x00}, 256}));

INSTANTIATE_TEST_SUITE_P(
    Sentinels, Codec,
    testing::Values(Decoding{"sp78", {128, 0}, -128}, Decoding{"sp78", {129, 0}, -127},
                    Decoding{"sp78", {130, 0}, -126}, Decoding{"sp78", {131, 0}, -125},
                    Decoding{"sp78", {132, 0}, -124},
                    // the sentinel beats the divisor: the quotient would be -2.0
                    Decoding{"sp1e", {0x80, 0}, -128}, Decoding{"sp0f", {132, 0}, -124},
                    // unsigned too: the quotient would be 8192
                    Decoding{"fpe2", {0x80, 0}, -128}, Decoding{"fp1f", {131, 0}, -125},
                    // not a sentinel: 133, or a low byte that is not 0
                    Decoding{"sp1e", {0x85, 0}, -1.921875f},
                    Decoding{"sp78", {0x80, 0x01}, -127.99609375f},
                    Decoding{"fpe2", {0x7F, 0}, 8128}));

INSTANTIATE_TEST_SUITE_P(
    FauxMac, Codec,
    testing::Values(
        // "sp" keys of two bytes have no sentinels: the plain quotient stands
        Decoding{"sp78", {0x81, 0}, -127, true, 2},
        Decoding{"sp1e", {0x81, 0}, -1.984375f, true, 2}, Decoding{"sp1e", {0x80, 0}, -2, true, 2},
        // other sizes, and the unsigned family, keep them
        Decoding{"sp1e", {0x81, 0}, -127, true, 4}, Decoding{"fpe2", {0x80, 0}, -128, true, 2},
        // sign and magnitude, cut back to the width
        Decoding{"si8", {0x81}, 255, true}, Decoding{"si8", {0x05}, 5, true},
        Decoding{"si8", {0x80}, 0, true}, Decoding{"si16", {0x80, 0x01}, 65535, true},
        Decoding{"si16", {0x80, 0x02}, 65534, true},
        Decoding{"si32", {0x80, 0, 0, 0x01}, 4294967295.0f, true}));

INSTANTIATE_TEST_SUITE_P(
    Integers, Codec,
    testing::Values(Decoding{"ui32", {0, 1, 0, 2}, 65538}, Decoding{"ui16", {0x12, 0x34}, 4660},
                    Decoding{"ui8 ", {0xFF}, 255}, Decoding{"flag", {0x01}, 1},
                    // signed types are read from the unsigned width, on purpose
                    Decoding{"si8 ", {0xFF}, 255}, Decoding{"si16", {0xFF, 0xFF}, 65535},
                    Decoding{"si16", {0x80, 0x01}, 32769},
                    Decoding{"si32", {0xFF, 0xFF, 0xFF, 0xFE}, 4294967294.0f},
                    // "flt " is the one value stored in native order
                    Decoding{"flt ", {0x00, 0x00, 0x2A, 0x42}, 42.5f},
                    // the exact names need their exact spelling
                    Decoding{"ui1", {0x12, 0x34}, -1},
                    Decoding{"flt", {0x00, 0x00, 0x2A, 0x42}, -1}, Decoding{"hex_", {0x12}, -1},
                    Decoding{"", {0x12}, -1}, Decoding{"ch8*", {0x41}, -1}));

TEST(SMCKeyPacking, FirstFourBytesTopFirstAndShortKeysAreZero) {
    EXPECT_EQ(packSMCKey("TC0P"), 0x54433050u);
    EXPECT_EQ(packSMCKey("TC0PX"), 0x54433050u);
    EXPECT_EQ(packSMCKey("TC0"), 0u);
    EXPECT_EQ(unpackSMCKey(packSMCKey("FS! ")), "FS! ");
}

} // namespace
