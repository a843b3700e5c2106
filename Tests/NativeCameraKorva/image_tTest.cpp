#include "ImagingLibrary/image_t.h"

#include "Support/ArrayAllocations.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace {

using Support::FreeCounter;

constexpr int copy = 0;
constexpr int borrow = 1;
constexpr int adopt = 2;
constexpr std::uint32_t invalidFormat = 5;
constexpr auto mostWidth = std::numeric_limits<std::int32_t>::max();
constexpr auto leastWidth = std::numeric_limits<std::int32_t>::min();
constexpr auto mostHeight = std::numeric_limits<std::uint32_t>::max();

struct Form {
    std::uint32_t format = 0;
    std::int32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const Form&) const = default;
};

Form formOf(const image_t& image) {
    return {image.format, image.width, image.height};
}

TEST(Image, IsLaidOutAndNumberedAsHostsReadItAndEmptyByDefault) {
    const image_t image;
    EXPECT_EQ(formOf(image), Form());
    EXPECT_EQ(image.pixels, nullptr);
    EXPECT_EQ(image.bytesPerRow(), 0u);
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
    static_assert(!std::is_copy_constructible_v<image_t> && !std::is_copy_assignable_v<image_t>);
    EXPECT_EQ(static_cast<int>(PixelBufferMode::copy), copy);
    EXPECT_EQ(static_cast<int>(PixelBufferMode::borrow), borrow);
    EXPECT_EQ(static_cast<int>(PixelBufferMode::adopt), adopt);
}

TEST(Image, BytesPerPixelAreChannelsTimesBytesPerSample) {
    constexpr std::array<std::uint32_t, 16> channelsOfLayout{0, 3, 4, 1, 2};
    for (std::uint32_t format = 0; format < 4096; ++format) {
        const std::uint32_t layout = format & 15;
        const std::uint32_t depth = format - layout;
        const std::uint32_t bytes = depth == 0 ? 1 : depth == 16 ? 2 : depth == 32 || depth == 64 ? 4 : 0;
        EXPECT_EQ(image_t::bytesPerPixel(format), bytes * channelsOfLayout[layout]) << format;
    }
    for (std::uint32_t layout = 1; layout <= 4; ++layout)
        EXPECT_EQ(image_t::channels(layout), channelsOfLayout[layout]);
    EXPECT_EQ(image_t::bytesPerPixel(0x80000001u), 0u);
    EXPECT_EQ(image_t::bytesPerPixel(std::numeric_limits<std::uint32_t>::max()), 0u);
}

/// What an image makes of a buffer that it is given, or of none.
enum class Holds { nothing, freshBuffer, copyOfTheGiven, theGivenForItsOwner, theGivenForItself };

struct Making {
    const char* what;
    Form asked;
    bool isGiven;
    std::vector<int> modes;
    Form form;
    Holds holds;
};

const Form colours{1, 3, 2};
const Form formless{0, 3, 2};
const Form invalid{invalidFormat, 3, 2};

const Making makings[] = {
    {"allocates", {17, 3, 2}, false, {copy, borrow, adopt, 3, -1}, {17, 3, 2}, Holds::freshBuffer},
    {"allocates no pixels", {17, 0, 7}, false, {copy}, {17, 0, 7}, Holds::freshBuffer},
    {"borrows", colours, true, {borrow}, colours, Holds::theGivenForItsOwner},
    {"adopts", colours, true, {adopt}, colours, Holds::theGivenForItself},
    {"copies", colours, true, {copy, 3, 4, -1, mostWidth}, colours, Holds::copyOfTheGiven},
    {"invalid format", invalid, false, {copy, borrow, adopt, 3}, formless, Holds::nothing},
    {"invalid format", invalid, true, {copy, borrow, 3}, formless, Holds::nothing},
    {"invalid format", invalid, true, {adopt}, formless, Holds::theGivenForItself},
    {"negative width", {3, -1, 1}, false, {copy}, {}, Holds::nothing},
    {"negative width", {3, leastWidth, 0}, false, {copy}, {}, Holds::nothing},
    {"negative width", {3, -1, 1}, true, {copy, borrow}, {}, Holds::nothing},
    {"negative width", {3, -1, 1}, true, {adopt}, {}, Holds::theGivenForItself},
    {"more than 2^66 bytes", {66, mostWidth, mostHeight}, false, {copy}, {}, Holds::nothing},
    {"more than 2^66 bytes", {66, mostWidth, mostHeight}, true, {copy, borrow}, {}, Holds::nothing},
    {"2^64 bytes, which is 0 in 64 bits", {66, 1 << 30, 1u << 30}, false, {copy}, {}, Holds::nothing},
    {"more than 256 MiB", {3, 1 << 14, (1 << 14) + 1}, false, {copy}, {}, Holds::nothing},
};

TEST(Image, HoldsWhatFormatSizeBufferAndModeSay) {
    for (const Making& row : makings) {
        for (const int mode : row.modes) {
            SCOPED_TRACE(std::string(row.what) + ", mode " + std::to_string(mode));
            auto* const given = new unsigned char[18];
            for (unsigned char i = 0; i < 18; ++i)
                given[i] = i;
            std::optional<FreeCounter> frees; // of the given buffer, else of the image's own
            if (row.isGiven)
                frees.emplace(given);
            {
                const auto& [format, width, height] = row.asked;
                const image_t image(format, width, height, row.isGiven ? given : nullptr, mode);
                EXPECT_EQ(formOf(image), row.form);
                const unsigned char* const pixels = image.pixels.get();
                const std::size_t count = image.bytesPerRow() * image.height;
                const bool isTheGiven =
                    row.holds == Holds::theGivenForItsOwner || row.holds == Holds::theGivenForItself;
                EXPECT_EQ(pixels == given, isTheGiven);
                EXPECT_EQ(pixels == nullptr, row.holds == Holds::nothing);
                if (row.holds == Holds::freshBuffer) { // and not cleared
                    EXPECT_EQ(Support::lastArrayLength(), count);
                    EXPECT_EQ(std::vector(pixels, pixels + count), std::vector(count, Support::freshByte));
                    frees.emplace(pixels);
                }
                if (row.holds == Holds::copyOfTheGiven) {
                    EXPECT_EQ(std::vector(pixels, pixels + count), std::vector(given, given + count));
                }
                EXPECT_TRUE(!frees || frees->count() == 0);
            }
            const bool isFreed = row.holds == Holds::theGivenForItself || row.holds == Holds::freshBuffer;
            EXPECT_TRUE(!frees || frees->count() == (isFreed ? 1 : 0));
            if (row.holds != Holds::theGivenForItself)
                delete[] given;
        }
    }
}

TEST(Image, AllocatesAtMost256Mebibytes) {
    EXPECT_EQ(image_t::byteLimit(), std::size_t{256} << 20);
    EXPECT_TRUE(image_t::isAllocatable(3, 1 << 14, 1 << 14));
    EXPECT_FALSE(image_t::isAllocatable(3, 1 << 14, (1 << 14) + 1));
    EXPECT_FALSE(image_t::isAllocatable(3, -1, 1));
    EXPECT_FALSE(image_t::isAllocatable(0, 1, 1));
    EXPECT_FALSE(image_t::isAllocatable(66, 1 << 30, 1u << 30));
    EXPECT_FALSE(image_t::isAllocatable(66, mostWidth, mostHeight));
}

TEST(Image, IsEmptyAboveALoweredLimitOrWhereMemoryIsShortUnlessItUsesAnotherBuffer) {
    std::array<unsigned char, 42> pixels{};
    image_t::setByteLimit(36);
    EXPECT_EQ(formOf(image_t(17, 3, 2, nullptr, copy)), (Form{17, 3, 2}));
    EXPECT_EQ(formOf(image_t(17, 7, 1, nullptr, copy)), Form());
    EXPECT_EQ(formOf(image_t(17, 7, 1, pixels.data(), copy)), Form());
    EXPECT_EQ(formOf(image_t(17, 7, 1, pixels.data(), borrow)), (Form{17, 7, 1}));
    EXPECT_EQ(formOf(image_t(17, 7, 1, new unsigned char[42], adopt)), (Form{17, 7, 1}));
    image_t::setByteLimit(image_t::defaultByteLimit);
    const Support::ArrayShortage shortage;
    EXPECT_EQ(formOf(image_t(1, 3, 2, nullptr, copy)), Form());
    EXPECT_EQ(formOf(image_t(1, 3, 2, pixels.data(), copy)), Form());
}

TEST(Image, ByteCountIsThatOfAllRows) {
    EXPECT_EQ(image_t::byteCount(17, 2748, 1836), 2748u * 1836u * 6u);
    EXPECT_EQ(image_t::byteCount(17, 0, 1836), 0u);
    EXPECT_EQ(image_t::byteCount(0, 2748, 1836), 0u);
    EXPECT_EQ(image_t::byteCount(17, -2748, 1836), 0u);
    EXPECT_EQ(image_t::byteCount(66, 1 << 20, 1 << 20), std::size_t{1} << 44);
    EXPECT_EQ(image_t::byteCount(66, mostWidth, mostHeight), 0u);
}

TEST(Image, HandsItsBufferOnWhenMoved) {
    image_t first(1, 3, 2, nullptr, copy);
    unsigned char* const pixels = first.pixels.get();
    const FreeCounter frees(pixels);
    image_t second(std::move(first));
    EXPECT_EQ(formOf(second), colours);
    EXPECT_EQ(second.pixels.get(), pixels);
    EXPECT_EQ(first.pixels, nullptr);
    image_t third(3, 9, 9, nullptr, copy);
    third = std::move(second);
    EXPECT_EQ(formOf(third), colours);
    EXPECT_EQ(third.pixels.get(), pixels);
    EXPECT_EQ(second.pixels, nullptr);
    EXPECT_EQ(frees.count(), 0);
    third = image_t();
    EXPECT_EQ(frees.count(), 1) << "freed when it is replaced";
    EXPECT_EQ(formOf(third), Form());
}

} // namespace
