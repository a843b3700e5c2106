#include "NativeCameraKorva/KorvaBinaryCommunication.h"

#include "Hex.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace HexBytes;
using namespace Korva::Binary;
using Bytes = std::vector<unsigned char>;

TEST(Checksum, SumsAllBytesButTheLastTwoModulo65536) {
    const struct {
        const char* what;
        Bytes message;
        std::uint16_t sum;
    } rows[] = {
        {"a probe", "01 0000000E 01 04 00000001 00 FFFF"_hex, 0x15},
        {"a message without arguments", "01 00000008 00 0009"_hex, 9},
        {"nothing but the checksum", "1234"_hex, 0},
        {"bytes above 127", "80FF 0000"_hex, 0x17F},
        {"more than 65535", Bytes(302, 255), 10964},
        {"millions of bytes", Bytes(3'000'001, 255), static_cast<std::uint16_t>(2'999'999u * 255)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(calculateChkSum(row.message.data(), row.message.size()), row.sum) << row.what;
}

TEST(ChecksumField, LiesTwoBytesBeforeTheEndOfTheMessageAtWhateverAddress) {
    for (Bytes message : {"01 0000000E 01 04 00000001 00 1234"_hex, "01 0000000D 01 05 00000000 1234"_hex}) {
        unsigned char field[2];
        std::memcpy(field, static_cast<const void*>(getChkSum(reinterpret_cast<Header*>(message.data()))),
                    sizeof field);
        EXPECT_EQ(field[0], 0x12);
        EXPECT_EQ(field[1], 0x34);
    }
}

} // namespace
