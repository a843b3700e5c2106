#include "Camera/PngWriter.h"
#include "Camera/SgiWriter.h"

#include "Conversation.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstring>

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

TEST(SgiWriter, WritesColourGreyAndNothing) {
    EXPECT_EQ(hex(writeSgi(colour)),
              hex(sgiFile({0, 3, 0, 2, 0, 2, 0, 3}, {0x40, 0, 0, 4, 1,    2,    0, 1, 0, 0, 0, 5,
                                                     3,    4, 0, 2, 0x3F, 0xFF, 0, 6, 5, 6, 0, 3})));
    EXPECT_EQ(hex(writeSgi(grey)),
              hex(sgiFile({0, 2, 0, 3, 0, 2, 0, 1}, {0x40, 0, 0x3F, 0xFF, 0x12, 0x34, 0, 0, 0, 1, 1, 0})))
        << "two dimensions";
    EXPECT_EQ(hex(writeSgi({{0, 0}, 3, {}})), hex(sgiFile({0, 3, 0, 0, 0, 0, 0, 3}, {})));
}

TEST(PngWriter, KeepsSamplesExactly) {
    for (const Picture& picture : {grey, colour}) {
        const Bytes file = writePng(picture);
        png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        ByteView rest(file);
        png_set_read_fn(png, &rest, [](png_structp reader, png_bytep to, std::size_t count) {
            auto& from = *static_cast<ByteView*>(png_get_io_ptr(reader));
            if (count > from.size())
                std::abort();
            std::memcpy(to, from.data(), count);
            from = from.subspan(count);
        });
        png_read_info(png, info);
        EXPECT_EQ(png_get_image_width(png, info), picture.size.width);
        EXPECT_EQ(png_get_image_height(png, info), picture.size.height);
        EXPECT_EQ(png_get_channels(png, info), picture.channels);
        EXPECT_EQ(png_get_bit_depth(png, info), 16);
        std::vector<std::uint16_t> samples;
        Bytes row(png_get_rowbytes(png, info));
        for (std::uint32_t index = 0; index < picture.size.height; ++index) {
            png_read_row(png, row.data(), nullptr);
            for (std::size_t at = 0; at < row.size(); at += 2)
                samples.push_back(read16(row, at));
        }
        png_read_end(png, nullptr);
        png_destroy_read_struct(&png, &info, nullptr);
        EXPECT_EQ(samples, picture.samples);
    }
}

TEST(PngWriter, OfNoPixelsRefusesAndWritesWhatLibpngRefuses) {
    EXPECT_THROW(writePng({{0, 0}, 1, {}}), std::runtime_error);
    const Bytes file = writeEmptyPng();
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_EQ(png_image_begin_read_from_memory(&image, file.data(), file.size()), 0);
}

} // namespace Simulator
