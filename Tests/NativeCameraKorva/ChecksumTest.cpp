#include "NativeCameraKorva/KorvaBinaryCommunication.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace Korva::Binary;
using Bytes = std::vector<unsigned char>;

TEST(Checksum, SumsAllBytesButTheLastTwo) {
    const Bytes probe{0x01, 0x00, 0x00, 0x00, 0x0E, 0x01, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFF, 0xFF};
    EXPECT_EQ(calculateChkSum(probe.data(), probe.size()), 0x0015);
}

TEST(Checksum, OfAMessageWithoutArguments) {
    const Bytes message{0x01, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x09};
    EXPECT_EQ(calculateChkSum(message.data(), message.size()), 9);
}

TEST(Checksum, OfAMessageThatIsOnlyItsChecksumIsZero) {
    const Bytes message{0x12, 0x34};
    EXPECT_EQ(calculateChkSum(message.data(), message.size()), 0);
}

TEST(Checksum, WrapsModulo65536) {
    const Bytes message(302, 255);
    EXPECT_EQ(calculateChkSum(message.data(), message.size()), 10964);
}

TEST(Checksum, TakesBytesAsUnsigned) {
    const Bytes message{0x80, 0xFF, 0x00, 0x00};
    EXPECT_EQ(calculateChkSum(message.data(), message.size()), 0x17F);
}

TEST(Checksum, OfMillionsOfBytesIsTheSumModulo65536) {
    Bytes message(3'000'001);
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < message.size(); ++i) {
        message[i] = static_cast<unsigned char>(i * 7 + i / 251);
        if (i + 2 < message.size())
            sum += message[i];
    }
    EXPECT_EQ(calculateChkSum(message.data(), message.size()), static_cast<std::uint16_t>(sum));
}

TEST(ChecksumField, LiesTwoBytesBeforeTheEndOfTheMessage) {
    Bytes message{0x01, 0x00, 0x00, 0x00, 0x0E, 0x01, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0x12, 0x34};
    auto* const header = reinterpret_cast<Header*>(message.data());
    EXPECT_EQ(reinterpret_cast<unsigned char*>(getChkSum(header)), message.data() + 12);
}

TEST(ChecksumField, MayLieAtAnOddAddress) {
    Bytes message{0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0xAB, 0xCD};
    auto* const header = reinterpret_cast<Header*>(message.data());
    unsigned char field[2];
    std::memcpy(field, static_cast<const void*>(getChkSum(header)), sizeof field);
    EXPECT_EQ(field[0], 0xAB);
    EXPECT_EQ(field[1], 0xCD);
}

} // namespace
