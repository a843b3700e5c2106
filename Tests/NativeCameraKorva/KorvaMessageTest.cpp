#include "NativeCameraKorva/KorvaMessage.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace {

using namespace Korva::Binary;

TEST(MessageRecords, LieInWireOrder) {
    const unsigned char wire[] = {0x01, 0x12, 0x34, 0x56, 0x78, 0x05};
    Header header;
    static_assert(sizeof(Header) == sizeof wire);
    std::memcpy(&header, wire, sizeof wire);
    EXPECT_EQ(header.command, 1);
    EXPECT_EQ(bigEndian32(header.length), 0x12345678u);
    EXPECT_EQ(header.argCount, 5);

    ArgHeader argHeader;
    static_assert(sizeof(ArgHeader) == 5);
    std::memcpy(&argHeader, wire, sizeof argHeader);
    EXPECT_EQ(argHeader.type, 1);
    EXPECT_EQ(bigEndian32(argHeader.length), 0x12345678u);
}

TEST(MessageRecords, FullArgHoldsHeaderThenValueThenDataAndBeginsEmpty) {
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

TEST(MessageRecords, MovingAFullArgTransfersItsDataAndItCannotBeCopied) {
    static_assert(!std::is_copy_constructible_v<FullArg> && !std::is_copy_assignable_v<FullArg>);
    static_assert(std::is_nothrow_move_constructible_v<FullArg>);
    FullArg from;
    from.header.type = 6;
    from.data.reset(new std::uint8_t[3]{7, 8, 9});
    const std::uint8_t* const bytes = from.data.get();
    std::vector<FullArg> args;
    args.push_back(std::move(from));
    EXPECT_EQ(from.data, nullptr);
    EXPECT_EQ(args.front().data.get(), bytes);
    EXPECT_EQ(args.front().header.type, 6);
}

TEST(MessageRecords, CodesHaveTheirWireValues) {
    static_assert(sizeof(Command) == 1 && sizeof(ArgCode) == 1);
    EXPECT_EQ(static_cast<int>(Command::Camera), 1);
    constexpr ArgCode inOrder[] = {ArgCode::Done,     ArgCode::Error,  ArgCode::Exposure,
                                   ArgCode::Mode,     ArgCode::Format, ArgCode::TakeImage,
                                   ArgCode::GetImage, ArgCode::Depth,  ArgCode::Shift};
    int value = 0;
    for (const ArgCode code : inOrder)
        EXPECT_EQ(static_cast<int>(code), value++);
    EXPECT_EQ(value, 9);
}

TEST(MessageRecords, BigEndianConversionsSwapBytesAndUndoThemselves) {
    const unsigned char wire[] = {0x0A, 0x0B, 0x0C, 0x0D};
    std::uint32_t number32 = 0;
    std::memcpy(&number32, wire, sizeof number32);
    EXPECT_EQ(bigEndian32(number32), 0x0A0B0C0Du);
    EXPECT_EQ(bigEndian32(bigEndian32(0x01020304u)), 0x01020304u);
    std::uint16_t number16 = 0;
    std::memcpy(&number16, wire, sizeof number16);
    EXPECT_EQ(bigEndian16(number16), 0x0A0B);
    EXPECT_EQ(bigEndian16(bigEndian16(0x0102)), 0x0102);
}

} // namespace
