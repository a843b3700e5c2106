// Both decoders on files that other programs wrote, against what another program decodes from them
// (Pictures/ORIGIN).

#include "Decoding.h"

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace DecodingTests {
namespace {

constexpr std::int32_t width = 19;
constexpr std::uint32_t height = 13;
constexpr std::size_t channelsOfReference = 4;

Bytes fileNamed(const std::string& name) {
    return Support::readFile(std::filesystem::path(KORVA_TEST_PICTURES) / name);
}

Picture png(const Bytes& file) {
    return decoded(decodePng, file).picture;
}

Picture sgi(const Bytes& file) {
    return decoded(decodeSgi, file).picture;
}

std::uint32_t littleEndian16(const Bytes& bytes, std::size_t index) {
    return bytes[2 * index] + 256u * bytes[2 * index + 1];
}

/// A picture's samples, widened to 16 bits.
std::vector<std::uint32_t> samplesOf(const Picture& picture) {
    const bool isWide = (picture.format & image_t::depth16) != 0;
    std::vector<std::uint32_t> samples;
    for (std::size_t i = 0; i < picture.pixels.size() / (isWide ? 2 : 1); ++i)
        samples.push_back(isWide ? littleEndian16(picture.pixels, i) : 257u * picture.pixels[i]);
    return samples;
}

/// The same samples as the other program read them: of its red, green, blue and alpha those that the format
/// has.
std::vector<std::uint32_t> referenceSamples(const std::string& name, std::uint32_t format) {
    const Bytes reference = fileNamed(name + ".rgba");
    std::vector<std::size_t> wanted{0};
    if (image_t::channels(format) >= 3)
        wanted = {0, 1, 2};
    if (image_t::channels(format) % 2 == 0)
        wanted.push_back(3);
    std::vector<std::uint32_t> samples;
    for (std::size_t pixel = 0; pixel < std::size_t{width} * height; ++pixel)
        for (const std::size_t channel : wanted)
            samples.push_back(littleEndian16(reference, channelsOfReference * pixel + channel));
    return samples;
}

struct Foreign {
    std::string name;
    std::uint32_t format;
};

/// Every kind of PNG file: its bits, interlaced and not; with texts, and with transparency that adds no
/// channel.
std::vector<Foreign> everyPng() {
    const struct {
        std::string kind;
        std::vector<int> bits;
        std::uint32_t layout;
    } kinds[] = {{"grey", {1, 2, 4, 8, 16}, image_t::layoutGrey},
                 {"rgb", {8, 16}, image_t::layoutRgb},
                 {"palette", {1, 2, 4, 8}, image_t::layoutRgb},
                 {"grey-alpha", {8, 16}, image_t::layoutGreyAlpha},
                 {"rgba", {8, 16}, image_t::layoutRgba}};
    std::vector<Foreign> all{{"grey16-text.png", 19},
                             {"rgb8-packed-text.png", 1},
                             {"grey8-international-text.png", 3},
                             {"grey8-transparent.png", 3},
                             {"rgb8-transparent.png", 1}};
    for (const auto& [kind, bits, layout] : kinds)
        for (const int depth : bits)
            for (const char* const end : {".png", "-interlaced.png"})
                all.push_back(
                    {kind + std::to_string(depth) + end, layout + (depth == 16 ? image_t::depth16 : 0)});
    return all;
}

const std::vector<Foreign> pngs = everyPng();
const Foreign sgis[] = {{"grey16-verbatim.sgi", 19}, {"rgb16-verbatim.sgi", 17}, {"rgba16-verbatim.sgi", 18}};

void expectPictureOf(const Foreign& file, const Picture& picture) {
    EXPECT_EQ(picture.format, file.format) << file.name;
    EXPECT_EQ(picture.width, width) << file.name;
    EXPECT_EQ(picture.height, height) << file.name;
    EXPECT_EQ(samplesOf(picture), referenceSamples(file.name, file.format)) << file.name;
}

TEST(ForeignPictures, DecodeToThePixelsThatAnotherProgramReads) {
    for (const Foreign& each : pngs)
        expectPictureOf(each, png(fileNamed(each.name)));
    for (const Foreign& each : sgis)
        expectPictureOf(each, sgi(fileNamed(each.name)));
}

TEST(ForeignPng, HasTheTextOfItsFirstChunk) {
    EXPECT_EQ(decoded(decodePng, fileNamed("grey16-text.png")).text, "First text");
    EXPECT_EQ(decoded(decodePng, fileNamed("rgb8-packed-text.png")).text, "First text");
    EXPECT_EQ(decoded(decodePng, fileNamed("grey8-international-text.png")).text, "International text");
    EXPECT_EQ(decoded(decodePng, fileNamed("grey16.png")).text, untouchedText);
}

TEST(ForeignPng, WhoseTransparencyAddsAChannelGivesAnEmptyImage) {
    EXPECT_EQ(png(fileNamed("grey2-transparent.png")), noPicture);
    EXPECT_EQ(png(fileNamed("palette4-transparent.png")), noPicture);
}

TEST(ForeignSgi, OfEightBitsIsAPictureOfZerosInItsSize) {
    for (const Foreign& each :
         {Foreign{"grey8-verbatim.sgi", 3}, {"rgb8-verbatim.sgi", 1}, {"rgba8-verbatim.sgi", 2}}) {
        const Bytes zeros(image_t::byteCount(each.format, width, height), 0);
        EXPECT_EQ(sgi(fileNamed(each.name)), (Picture{each.format, width, height, zeros})) << each.name;
    }
}

} // namespace
} // namespace DecodingTests
