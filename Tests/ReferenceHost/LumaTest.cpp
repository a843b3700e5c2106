#include "Luma.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace {

unsigned char expectedLuma(unsigned red, unsigned green, unsigned blue) {
    return static_cast<unsigned char>((299 * red + 587 * green + 114 * blue + 500) / 1000);
}

/// Every instruction set that this processor has and the library was compiled for.
class Luma : public testing::TestWithParam<std::int64_t> {
protected:
    void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
    void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

TEST_P(Luma, IsRoundedExactlyForEveryColour) {
    constexpr std::size_t pixelsOfOneRed = 256 * 256;
    std::vector<unsigned char> rgb(3 * pixelsOfOneRed);
    std::vector<unsigned char> grey(pixelsOfOneRed);
    for (unsigned red = 0; red < 256; ++red) {
        for (unsigned greenAndBlue = 0; greenAndBlue < pixelsOfOneRed; ++greenAndBlue) {
            rgb[3 * greenAndBlue] = static_cast<unsigned char>(red);
            rgb[3 * greenAndBlue + 1] = static_cast<unsigned char>(greenAndBlue >> 8);
            rgb[3 * greenAndBlue + 2] = static_cast<unsigned char>(greenAndBlue);
        }
        ReferenceHost::lumaFromRgb(rgb.data(), pixelsOfOneRed, grey.data());
        for (unsigned greenAndBlue = 0; greenAndBlue < pixelsOfOneRed; ++greenAndBlue)
            ASSERT_EQ(grey[greenAndBlue], expectedLuma(red, greenAndBlue >> 8, greenAndBlue & 255))
                << red << ' ' << (greenAndBlue >> 8) << ' ' << (greenAndBlue & 255);
    }
}

TEST_P(Luma, WritesNeitherMoreNorFewerPixelsThanAskedAtAnyAddress) {
    constexpr std::size_t mostPixels = 200;
    constexpr unsigned char untouched = 0xA5;
    std::vector<unsigned char> rgb(3 * mostPixels + 1);
    for (std::size_t i = 0; i < rgb.size(); ++i)
        rgb[i] = static_cast<unsigned char>(i * 37 + 11);
    for (std::size_t pixels = 0; pixels <= mostPixels; ++pixels) {
        // The source ends where its memory ends, so that a sanitizer sees what is read beyond it.
        const std::vector<unsigned char> source(rgb.end() - static_cast<std::ptrdiff_t>(3 * pixels),
                                                rgb.end());
        std::vector<unsigned char> grey(pixels + 2, untouched);
        ReferenceHost::lumaFromRgb(source.data(), pixels, grey.data() + 1);
        EXPECT_EQ(grey.front(), untouched) << pixels;
        EXPECT_EQ(grey.back(), untouched) << pixels;
        for (std::size_t i = 0; i < pixels; ++i)
            ASSERT_EQ(grey[i + 1], expectedLuma(source[3 * i], source[3 * i + 1], source[3 * i + 2]));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, Luma, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

} // namespace
