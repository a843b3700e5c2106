#include "Luma.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

unsigned char expectedLuma(const unsigned char* rgb) {
    return static_cast<unsigned char>((299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2] + 500) / 1000);
}

/// Every instruction set that this processor has and the library was compiled for.
struct Luma : testing::TestWithParam<std::int64_t> {
    void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
    void TearDown() override { hwy::SetSupportedTargetsForTest(0); }

    /// Converts so many pixels between bytes that stay as they are.
    static void expectLuma(const Bytes& rgb, std::size_t pixels) {
        constexpr unsigned char untouched = 0xA5;
        Bytes grey(pixels + 2, untouched);
        ReferenceHost::lumaFromRgb(rgb.data(), pixels, grey.data() + 1);
        EXPECT_EQ(grey.front(), untouched) << pixels;
        EXPECT_EQ(grey.back(), untouched) << pixels;
        for (std::size_t i = 0; i < pixels; ++i)
            ASSERT_EQ(grey[i + 1], expectedLuma(&rgb[3 * i])) << "pixel " << i << " of " << pixels;
    }
};

TEST_P(Luma, IsRoundedExactlyForEveryColour) {
    constexpr std::size_t pixelsOfOneRed = 256 * 256;
    Bytes rgb(3 * pixelsOfOneRed);
    for (unsigned red = 0; red < 256; ++red) {
        for (unsigned greenAndBlue = 0; greenAndBlue < pixelsOfOneRed; ++greenAndBlue) {
            rgb[3 * greenAndBlue] = static_cast<unsigned char>(red);
            rgb[3 * greenAndBlue + 1] = static_cast<unsigned char>(greenAndBlue >> 8);
            rgb[3 * greenAndBlue + 2] = static_cast<unsigned char>(greenAndBlue);
        }
        expectLuma(rgb, pixelsOfOneRed);
    }
}

TEST_P(Luma, WritesNeitherMoreNorFewerPixelsThanAskedAtAnyAddress) {
    for (std::size_t pixels = 0; pixels <= 200; ++pixels) {
        // Its memory ends where the source ends, so that a sanitizer sees what is read beyond it.
        Bytes rgb(3 * pixels);
        for (std::size_t i = 0; i < rgb.size(); ++i)
            rgb[i] = static_cast<unsigned char>(i * 37 + pixels);
        expectLuma(rgb, pixels);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, Luma, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

} // namespace
