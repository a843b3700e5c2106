#include "ImagingLibrary/image_t.h"

#include "Support/ArrayAllocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace {

using Support::FreeCounter;

constexpr int copy = 0;
constexpr int borrow = 1;
constexpr int adopt = 2;
constexpr std::uint32_t invalidFormat = 5;

/// A picture's pixels that a host might own: 3 x 2 RGB.
unsigned char* newPixels() {
    auto* const pixels = new unsigned char[18];
    for (unsigned char i = 0; i < 18; ++i)
        pixels[i] = i;
    return pixels;
}

void expectEmpty(const image_t& image) {
    EXPECT_EQ(image.format, 0u);
    EXPECT_EQ(image.width, 0);
    EXPECT_EQ(image.height, 0u);
    EXPECT_EQ(image.pixels, nullptr);
    EXPECT_EQ(image.bytesPerRow(), 0u);
}

void expectForm(const image_t& image, std::uint32_t format, std::int32_t width, std::uint32_t height) {
    EXPECT_EQ(image.format, format);
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
}

/// Lowers the most bytes that an image allocates while it lives.
class ByteLimit {
public:
    explicit ByteLimit(std::size_t bytes) { image_t::setByteLimit(bytes); }
    ByteLimit(const ByteLimit&) = delete;
    ByteLimit& operator=(const ByteLimit&) = delete;
    ~ByteLimit() { image_t::setByteLimit(image_t::defaultByteLimit); }
};

TEST(Image, IsEmptyByDefault) {
    expectEmpty(image_t());
}

TEST(Image, BufferModesHaveTheNumbersThatHostsPass) {
    EXPECT_EQ(static_cast<int>(PixelBufferMode::copy), 0);
    EXPECT_EQ(static_cast<int>(PixelBufferMode::borrow), 1);
    EXPECT_EQ(static_cast<int>(PixelBufferMode::adopt), 2);
}

TEST(Image, FieldsStandInTheOrderThatOtherModulesReadThem) {
    const image_t image;
    const auto offset = [&image](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&image);
    };
    EXPECT_EQ(offset(&image.format), 0);
    EXPECT_EQ(offset(&image.width), 4);
    EXPECT_EQ(offset(&image.height), 8);
    EXPECT_EQ(offset(&image.pixels), 16);
    static_assert(std::is_same_v<decltype(image_t::format), std::uint32_t>);
    static_assert(std::is_same_v<decltype(image_t::width), std::int32_t>);
    static_assert(std::is_same_v<decltype(image_t::height), std::uint32_t>);
    static_assert(std::is_same_v<image_t::Deleter, std::function<void(unsigned char*)>>);
}

TEST(Image, BytesPerPixelAreChannelsTimesBytesPerSample) {
    constexpr std::array<std::uint32_t, 5> channelsOfLayout{0, 3, 4, 1, 2};
    for (std::uint32_t layout = 1; layout <= 4; ++layout) {
        const std::uint32_t channels = channelsOfLayout[layout];
        EXPECT_EQ(image_t::channels(layout), channels);
        EXPECT_EQ(image_t::bytesPerPixel(layout), channels);
        EXPECT_EQ(image_t::bytesPerPixel(layout + 16), 2 * channels);
        EXPECT_EQ(image_t::bytesPerPixel(layout + 32), 4 * channels);
        EXPECT_EQ(image_t::bytesPerPixel(layout + 64), 4 * channels);
    }
}

TEST(Image, UnknownFormatsHaveNoBytesPerPixel) {
    for (std::uint32_t format = 0; format < 4096; ++format) {
        const std::uint32_t layout = format & 15;
        const std::uint32_t depth = format - layout;
        const bool isKnown =
            layout >= 1 && layout <= 4 && (depth == 0 || depth == 16 || depth == 32 || depth == 64);
        EXPECT_EQ(image_t::bytesPerPixel(format) != 0, isKnown) << format;
    }
    EXPECT_EQ(image_t::bytesPerPixel(0x80000001u), 0u);
    EXPECT_EQ(image_t::bytesPerPixel(std::numeric_limits<std::uint32_t>::max()), 0u);
}

TEST(Image, AllocatesItsRowsWithoutClearingThem) {
    const image_t image(17, 3, 2, nullptr, copy);
    expectForm(image, 17, 3, 2);
    EXPECT_EQ(image.bytesPerRow(), 18u);
    EXPECT_EQ(Support::lastArrayLength(), 36u);
    ASSERT_NE(image.pixels, nullptr);
    EXPECT_TRUE(std::all_of(image.pixels.get(), image.pixels.get() + 36,
                            [](unsigned char byte) { return byte == Support::freshByte; }));
}

TEST(Image, FreesItsOwnBufferOnceAsAnArray) {
    auto image = std::make_unique<image_t>(3, 3, 2, nullptr, copy);
    const FreeCounter frees(image->pixels.get());
    image.reset();
    EXPECT_EQ(frees.count(), 1);
}

TEST(Image, AllocatesWithoutAnExternalBufferInEveryMode) {
    for (const int mode : {borrow, adopt, 3, -1}) {
        const image_t image(1, 3, 2, nullptr, mode);
        expectForm(image, 1, 3, 2);
        EXPECT_NE(image.pixels, nullptr) << mode;
    }
}

TEST(Image, BorrowsAndLeavesTheBufferToItsOwner) {
    const std::unique_ptr<unsigned char[]> pixels(newPixels());
    const FreeCounter frees(pixels.get());
    {
        const image_t image(1, 3, 2, pixels.get(), borrow);
        expectForm(image, 1, 3, 2);
        EXPECT_EQ(image.pixels.get(), pixels.get());
    }
    EXPECT_EQ(frees.count(), 0);
}

TEST(Image, AdoptsAndFreesTheBufferOnceAsAnArray) {
    unsigned char* const pixels = newPixels();
    const FreeCounter frees(pixels);
    {
        const image_t image(1, 3, 2, pixels, adopt);
        expectForm(image, 1, 3, 2);
        EXPECT_EQ(image.pixels.get(), pixels);
        EXPECT_EQ(frees.count(), 0);
    }
    EXPECT_EQ(frees.count(), 1);
}

TEST(Image, CopiesTheBufferInAnyOtherMode) {
    for (const int mode : {copy, 3, 4, -1, std::numeric_limits<int>::max()}) {
        const std::unique_ptr<unsigned char[]> pixels(newPixels());
        const FreeCounter frees(pixels.get());
        {
            const image_t image(1, 3, 2, pixels.get(), mode);
            expectForm(image, 1, 3, 2);
            EXPECT_NE(image.pixels.get(), pixels.get());
            EXPECT_TRUE(std::equal(pixels.get(), pixels.get() + 18, image.pixels.get())) << mode;
        }
        EXPECT_EQ(frees.count(), 0) << mode;
    }
}

TEST(Image, WithAnInvalidFormatHoldsNoBuffer) {
    const std::unique_ptr<unsigned char[]> pixels(newPixels());
    const FreeCounter frees(pixels.get());
    for (const int mode : {copy, borrow, 3}) {
        const image_t image(invalidFormat, 3, 2, pixels.get(), mode);
        expectForm(image, 0, 3, 2);
        EXPECT_EQ(image.pixels, nullptr);
        EXPECT_EQ(image_t(invalidFormat, 3, 2, nullptr, mode).pixels, nullptr);
    }
    EXPECT_EQ(frees.count(), 0);
}

TEST(Image, WithAnInvalidFormatStillAdoptsTheBuffer) {
    unsigned char* const pixels = newPixels();
    const FreeCounter frees(pixels);
    {
        const image_t image(invalidFormat, 3, 2, pixels, adopt);
        expectForm(image, 0, 3, 2);
        EXPECT_EQ(image.pixels.get(), pixels);
    }
    EXPECT_EQ(frees.count(), 1);
}

TEST(Image, OfNoPixelsHasItsSize) {
    const image_t image(17, 0, 7, nullptr, copy);
    expectForm(image, 17, 0, 7);
    EXPECT_NE(image.pixels, nullptr);
    EXPECT_EQ(Support::lastArrayLength(), 0u);
}

TEST(Image, OfNegativeWidthIsEmpty) {
    expectEmpty(image_t(3, -1, 1, nullptr, copy));
    expectEmpty(image_t(3, std::numeric_limits<std::int32_t>::min(), 0, nullptr, copy));
    std::array<unsigned char, 18> pixels{};
    expectEmpty(image_t(3, -1, 1, pixels.data(), borrow));
    expectEmpty(image_t(3, -1, 1, pixels.data(), copy));
}

TEST(Image, WhoseByteCountOverflowsIsEmpty) {
    constexpr auto mostWidth = std::numeric_limits<std::int32_t>::max();
    constexpr auto mostHeight = std::numeric_limits<std::uint32_t>::max();
    std::array<unsigned char, 18> pixels{};
    // 16 bytes x (2^31 - 1) x (2^32 - 1) is more than 2^66.
    expectEmpty(image_t(66, mostWidth, mostHeight, nullptr, copy));
    expectEmpty(image_t(66, mostWidth, mostHeight, pixels.data(), copy));
    expectEmpty(image_t(66, mostWidth, mostHeight, pixels.data(), borrow));
    // 16 bytes x 2^30 x 2^30 is 2^64, and 0 in 64 bits.
    expectEmpty(image_t(66, 1 << 30, 1u << 30, nullptr, copy));
    EXPECT_FALSE(image_t::isAllocatable(66, 1 << 30, 1u << 30));
    EXPECT_EQ(image_t::byteCount(66, mostWidth, mostHeight), 0u);
    EXPECT_FALSE(image_t::isAllocatable(66, mostWidth, mostHeight));
}

TEST(Image, OfRefusedSizeStillAdoptsTheBuffer) {
    unsigned char* const pixels = newPixels();
    const FreeCounter frees(pixels);
    {
        const image_t image(3, -1, 1, pixels, adopt);
        expectForm(image, 0, 0, 0);
        EXPECT_EQ(image.pixels.get(), pixels);
    }
    EXPECT_EQ(frees.count(), 1);
}

TEST(Image, AllocatesAtMost256Mebibytes) {
    EXPECT_EQ(image_t::byteLimit(), std::size_t{256} << 20);
    EXPECT_TRUE(image_t::isAllocatable(3, 1 << 14, 1 << 14));
    EXPECT_FALSE(image_t::isAllocatable(3, 1 << 14, (1 << 14) + 1));
    EXPECT_FALSE(image_t::isAllocatable(3, -1, 1));
    EXPECT_FALSE(image_t::isAllocatable(0, 1, 1));
    expectEmpty(image_t(3, 1 << 14, (1 << 14) + 1, nullptr, copy));
}

TEST(Image, AllocatesAtMostTheBytesOfALoweredLimit) {
    const ByteLimit limit(36);
    std::array<unsigned char, 42> pixels{};
    expectForm(image_t(17, 3, 2, nullptr, copy), 17, 3, 2);
    expectEmpty(image_t(17, 7, 1, nullptr, copy));
    expectEmpty(image_t(17, 7, 1, pixels.data(), copy));
}

TEST(Image, UsesABufferAboveTheLimitThatItNeedNotAllocate) {
    const ByteLimit limit(1);
    std::array<unsigned char, 18> pixels{};
    expectForm(image_t(1, 3, 2, pixels.data(), borrow), 1, 3, 2);
    expectForm(image_t(1, 3, 2, newPixels(), adopt), 1, 3, 2);
}

TEST(Image, IsEmptyWhereMemoryIsShort) {
    const Support::ArrayShortage shortage;
    std::array<unsigned char, 18> pixels{};
    expectEmpty(image_t(1, 3, 2, nullptr, copy));
    expectEmpty(image_t(1, 3, 2, pixels.data(), copy));
}

TEST(Image, ByteCountIsThatOfAllRows) {
    EXPECT_EQ(image_t::byteCount(17, 2748, 1836), 2748u * 1836u * 6u);
    EXPECT_EQ(image_t::byteCount(17, 0, 1836), 0u);
    EXPECT_EQ(image_t::byteCount(0, 2748, 1836), 0u);
    EXPECT_EQ(image_t::byteCount(17, -2748, 1836), 0u);
    EXPECT_EQ(image_t::byteCount(66, 1 << 20, 1 << 20), std::size_t{1} << 44);
}

TEST(Image, HandsItsBufferOnWhenMoved) {
    image_t first(1, 3, 2, nullptr, copy);
    unsigned char* const pixels = first.pixels.get();
    const FreeCounter frees(pixels);
    {
        image_t second(std::move(first));
        expectForm(second, 1, 3, 2);
        EXPECT_EQ(second.pixels.get(), pixels);
        EXPECT_EQ(first.pixels, nullptr);
        image_t third(3, 9, 9, nullptr, copy);
        third = std::move(second);
        expectForm(third, 1, 3, 2);
        EXPECT_EQ(third.pixels.get(), pixels);
        EXPECT_EQ(second.pixels, nullptr);
        EXPECT_EQ(frees.count(), 0);
    }
    EXPECT_EQ(frees.count(), 1);
}

TEST(Image, FreesTheBufferThatAMoveReplaces) {
    image_t image(3, 9, 9, nullptr, copy);
    const FreeCounter frees(image.pixels.get());
    image = image_t();
    EXPECT_EQ(frees.count(), 1);
    expectEmpty(image);
}

TEST(Image, CannotBeCopied) {
    static_assert(!std::is_copy_constructible_v<image_t>);
    static_assert(!std::is_copy_assignable_v<image_t>);
}

} // namespace
