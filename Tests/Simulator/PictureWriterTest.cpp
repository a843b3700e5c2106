#include "Camera/PngWriter.h"
#include "Camera/SgiWriter.h"

#include "Conversation.h"

#include <gtest/gtest.h>
#include <png.h>

#include <utility>

namespace Simulator {

using namespace Testing;

namespace {

const Picture colour{{2, 2}, 3, {0x0102, 0x0304, 0x0506, 1, 2, 3, 0x4000, 0, 0x3FFF, 4, 5, 6}};
const Picture grey{{3, 2}, 1, {0, 1, 0x0100, 16384, 16383, 0x1234}};

/// A verbatim file of two bytes per sample with these sizes: planes from the bottom row up.
Bytes sgiFile(std::initializer_list<int> dimensions, std::initializer_list<int> samples) {
    Bytes file =
        joined({bytesOf({1, 0xDA, 0, 2}), bytesOf(dimensions), bytesOf({0, 0, 0, 0, 0, 0, 0x40, 0})});
    file.resize(512);
    return joined({file, bytesOf(samples)});
}

} // namespace

TEST(SgiWriter, WritesColourAndGrey) {
    EXPECT_EQ(hex(writeSgi(colour)),
              hex(sgiFile({0, 3, 0, 2, 0, 2, 0, 3}, {0x40, 0, 0, 4, 1,    2,    0, 1, 0, 0, 0, 5,
                                                     3,    4, 0, 2, 0x3F, 0xFF, 0, 6, 5, 6, 0, 3})));
    EXPECT_EQ(hex(writeSgi(grey)),
              hex(sgiFile({0, 2, 0, 3, 0, 2, 0, 1}, {0x40, 0, 0x3F, 0xFF, 0x12, 0x34, 0, 0, 0, 1, 1, 0})))
        << "two dimensions";
}

TEST(PngWriter, KeepsSamplesExactly) {
    for (const auto& [picture, format] :
         {std::pair(grey, PNG_FORMAT_LINEAR_Y), std::pair(colour, PNG_FORMAT_LINEAR_RGB)}) {
        const Bytes file = writePng(picture);
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        ASSERT_NE(png_image_begin_read_from_memory(&image, file.data(), file.size()), 0);
        EXPECT_EQ(image.format, format) << "16 bits a sample";
        EXPECT_EQ((PictureSize{image.width, image.height}), picture.size);
        std::vector<std::uint16_t> samples(picture.samples.size());
        EXPECT_NE(png_image_finish_read(&image, nullptr, samples.data(), 0, nullptr), 0);
        EXPECT_EQ(samples, picture.samples);
    }
}

} // namespace Simulator
