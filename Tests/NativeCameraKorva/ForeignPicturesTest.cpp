// Both decoders on files that other programs wrote, against what another program decodes from them
// (Pictures/ORIGIN).

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include "Support/Beginning.h"
#include "Support/DecodedPicture.h"
#include "Support/PictureFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <istream>
#include <string>
#include <vector>

namespace {

using Support::Bytes;
using Support::noPicture;
using TestSupport::beginningOf;
using Picture = Support::DecodedPicture;

constexpr std::int32_t width = 19;
constexpr std::uint32_t height = 13;
constexpr std::size_t channelsOfReference = 4;

const std::filesystem::path folder = KORVA_TEST_PICTURES;

Picture decodedPng(const Bytes& file, std::string& text) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    testing::internal::CaptureStderr();
    const Picture picture = Support::pictureOf(Korva::decodePng(stream, text));
    testing::internal::GetCapturedStderr();
    return picture;
}

Picture decodedPng(const Bytes& file) {
    std::string text;
    return decodedPng(file, text);
}

Picture decodedSgi(const Bytes& file) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    return Support::pictureOf(Korva::decodeSgi(stream));
}

std::uint32_t littleEndian16(const Bytes& bytes, std::size_t index) {
    return bytes[2 * index] + 256u * bytes[2 * index + 1];
}

/// A picture's samples, widened to 16 bits.
std::vector<std::uint32_t> samplesOf(const Picture& picture) {
    std::vector<std::uint32_t> samples;
    if ((picture.format & image_t::depth16) != 0) {
        for (std::size_t i = 0; i < picture.pixels.size() / 2; ++i)
            samples.push_back(littleEndian16(picture.pixels, i));
    } else {
        for (const unsigned char sample : picture.pixels)
            samples.push_back(257u * sample);
    }
    return samples;
}

/// The same samples as the other program read them: of its red, green, blue and alpha those that the format
/// has.
std::vector<std::uint32_t> referenceSamples(const std::string& name, std::uint32_t format) {
    const Bytes reference = Support::readFile(folder / (name + ".rgba"));
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

void expectPictureOf(const std::string& name, const Picture& picture, std::uint32_t format) {
    EXPECT_EQ(picture.format, format);
    EXPECT_EQ(picture.width, width);
    EXPECT_EQ(picture.height, height);
    EXPECT_EQ(samplesOf(picture), referenceSamples(name, format));
}

struct Case {
    std::string name;
    std::uint32_t format;
};

void PrintTo(const Case& file, std::ostream* out) {
    *out << file.name;
}

std::string testName(const testing::TestParamInfo<Case>& file) {
    std::string name = file.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '-' || c == '.'; }, '_');
    return name;
}

class ForeignPng : public testing::TestWithParam<Case> {};

TEST_P(ForeignPng, DecodesToThePixelsThatAnotherProgramReads) {
    expectPictureOf(GetParam().name, decodedPng(Support::readFile(folder / GetParam().name)),
                    GetParam().format);
}

/// Where each chunk starts, and where the last one ends.
std::vector<std::size_t> chunkBoundaries(const Bytes& file) {
    std::vector<std::size_t> boundaries{Support::pngSignature().size()};
    while (boundaries.back() + 12 <= file.size()) {
        const std::size_t at = boundaries.back();
        boundaries.push_back(at + 12 + file[at + 2] * 256u + file[at + 3]);
    }
    return boundaries;
}

TEST_P(ForeignPng, CutAtAChunkIsEmptyUnlessOnlyTheLastChunkIsMissing) {
    const Bytes file = Support::readFile(folder / GetParam().name);
    const Picture whole = decodedPng(file);
    const std::vector<std::size_t> boundaries = chunkBoundaries(file);
    ASSERT_GE(boundaries.size(), 4u);
    ASSERT_EQ(boundaries.back(), file.size());
    const std::size_t endOfPixels = boundaries[boundaries.size() - 2];
    for (const std::size_t boundary : boundaries) {
        EXPECT_EQ(decodedPng(beginningOf(file, boundary)), boundary >= endOfPixels ? whole : noPicture)
            << boundary;
        // Within the chunk that starts there: its type is cut, or its first bytes.
        for (const std::size_t more : {1, 6, 9}) {
            const std::size_t length = std::min(boundary + more, endOfPixels - 1);
            EXPECT_EQ(decodedPng(beginningOf(file, length)), noPicture) << length;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, ForeignPng,
    testing::Values(Case{"grey1.png", 3}, Case{"grey2.png", 3}, Case{"grey4.png", 3}, Case{"grey8.png", 3},
                    Case{"grey16.png", 19}, Case{"grey1-interlaced.png", 3}, Case{"grey2-interlaced.png", 3},
                    Case{"grey4-interlaced.png", 3}, Case{"grey8-interlaced.png", 3},
                    Case{"grey16-interlaced.png", 19}, Case{"rgb8.png", 1}, Case{"rgb16.png", 17},
                    Case{"rgb8-interlaced.png", 1}, Case{"rgb16-interlaced.png", 17}, Case{"palette1.png", 1},
                    Case{"palette2.png", 1}, Case{"palette4.png", 1}, Case{"palette8.png", 1},
                    Case{"palette1-interlaced.png", 1}, Case{"palette2-interlaced.png", 1},
                    Case{"palette4-interlaced.png", 1}, Case{"palette8-interlaced.png", 1},
                    Case{"grey-alpha8.png", 4}, Case{"grey-alpha16.png", 20},
                    Case{"grey-alpha8-interlaced.png", 4}, Case{"grey-alpha16-interlaced.png", 20},
                    Case{"rgba8.png", 2}, Case{"rgba16.png", 18}, Case{"rgba8-interlaced.png", 2},
                    Case{"rgba16-interlaced.png", 18}, Case{"grey16-text.png", 19},
                    Case{"rgb8-packed-text.png", 1}, Case{"grey8-international-text.png", 3},
                    Case{"grey8-transparent.png", 3}, Case{"rgb8-transparent.png", 1}),
    testName);

TEST(ForeignPngText, IsThatOfTheFirstChunk) {
    std::string text;
    decodedPng(Support::readFile(folder / "grey16-text.png"), text);
    EXPECT_EQ(text, "First text");
    decodedPng(Support::readFile(folder / "rgb8-packed-text.png"), text);
    EXPECT_EQ(text, "First text");
    decodedPng(Support::readFile(folder / "grey8-international-text.png"), text);
    EXPECT_EQ(text, "International text");
    text = "untouched";
    decodedPng(Support::readFile(folder / "grey16.png"), text);
    EXPECT_EQ(text, "untouched");
}

TEST(ForeignPngTransparency, ThatAddsAChannelGivesAnEmptyImage) {
    EXPECT_EQ(decodedPng(Support::readFile(folder / "grey2-transparent.png")), noPicture);
    EXPECT_EQ(decodedPng(Support::readFile(folder / "palette4-transparent.png")), noPicture);
}

class ForeignSgi : public testing::TestWithParam<Case> {};

TEST_P(ForeignSgi, DecodesToThePixelsThatAnotherProgramReads) {
    expectPictureOf(GetParam().name, decodedSgi(Support::readFile(folder / GetParam().name)),
                    GetParam().format);
}

TEST_P(ForeignSgi, CutAnywhereKeepsTheSamplesThatItHolds) {
    Bytes file = Support::readFile(folder / GetParam().name);
    ASSERT_EQ(file.size(), 512 + image_t::byteCount(GetParam().format, width, height));
    for (std::size_t length = 512; length < file.size(); length += 37) {
        Bytes filledUp = beginningOf(file, length - length % 2);
        filledUp.resize(file.size());
        EXPECT_EQ(decodedSgi(beginningOf(file, length)), decodedSgi(filledUp)) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, ForeignSgi,
                         testing::Values(Case{"grey16-verbatim.sgi", 19}, Case{"rgb16-verbatim.sgi", 17},
                                         Case{"rgba16-verbatim.sgi", 18}),
                         testName);

TEST(ForeignSgiOfEightBits, IsAPictureOfZerosInItsSize) {
    for (const auto& [name, format] :
         {std::pair{"grey8-verbatim.sgi", 3u}, {"rgb8-verbatim.sgi", 1u}, {"rgba8-verbatim.sgi", 2u}}) {
        const Picture expected{format, width, height, Bytes(image_t::byteCount(format, width, height), 0)};
        EXPECT_EQ(decodedSgi(Support::readFile(folder / name)), expected) << name;
    }
}

TEST(ForeignSgiOfRuns, IsAnEmptyImage) {
    for (const char* const name :
         {"grey8-rle.sgi", "grey16-rle.sgi", "rgb8-rle.sgi", "rgb16-rle.sgi", "rgba8-rle.sgi"}) {
        const Bytes file = Support::readFile(folder / name);
        EXPECT_EQ(file.at(2), 1) << name;
        EXPECT_EQ(decodedSgi(file), noPicture) << name;
    }
}

} // namespace
