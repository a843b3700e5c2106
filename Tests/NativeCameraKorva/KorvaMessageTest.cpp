#include "NativeCameraKorva/KorvaMessage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

using namespace Korva::Binary;

// Codes and byte order are held by the bytes of the requests and responses.

TEST(MessageRecords, LieInWireOrder) {
    const unsigned char wire[] = {0x01, 0x12, 0x34, 0x56, 0x78, 0x05};
    static_assert(sizeof(Header) == 6 && sizeof(ArgHeader) == 5);
    static_assert(sizeof(Command) == 1 && sizeof(ArgCode) == 1);
    Header header;
    std::memcpy(&header, wire, sizeof header);
    EXPECT_EQ(header.command, 1);
    EXPECT_EQ(bigEndian32(header.length), 0x12345678u);
    EXPECT_EQ(header.argCount, 5);
    ArgHeader argHeader;
    std::memcpy(&argHeader, wire, sizeof argHeader);
    EXPECT_EQ(argHeader.type, 1);
    EXPECT_EQ(bigEndian32(argHeader.length), 0x12345678u);
}

TEST(MessageRecords, FullArgHoldsHeaderThenValueThenDataAndBeginsEmpty) {
    static_assert(!std::is_copy_constructible_v<FullArg> && !std::is_copy_assignable_v<FullArg>);
    static_assert(std::is_nothrow_move_constructible_v<FullArg>);
    const FullArg arg;
    const auto* const base = reinterpret_cast<const unsigned char*>(&arg);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&arg.header), base);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&arg.value), base + 5);
    EXPECT_GT(reinterpret_cast<const unsigned char*>(&arg.data), base + 8);
    EXPECT_EQ(arg.header.type, 0);
    EXPECT_EQ(bigEndian32(arg.header.length), 0u);
    EXPECT_EQ(arg.value, (std::array<std::uint8_t, 4>{}));
    EXPECT_EQ(arg.data, nullptr);
}

} // namespace
