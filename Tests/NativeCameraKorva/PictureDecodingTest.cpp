// What holds of either decoder, whatever the format; the stream that they read from; and files that other
// programs wrote, against what another program decodes from them (Pictures/ORIGIN).

#include "Decoding.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"

#include "Support/ArrayAllocations.h"
#include "Support/PictureFiles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace DecodingTests {
namespace {

constexpr int endOfFile = std::char_traits<char>::eof();

struct MemoryStream : testing::Test {
    std::array<unsigned char, 5> bytes{0x00, 0xFF, 0x1A, 'd', 'e'};
    Korva::mybuf buffer{bytes.data(), bytes.size()};
    std::istream stream{&buffer};
};

TEST_F(MemoryStream, ReadsItsBytesInOrderAndThenEnds) {
    EXPECT_EQ(stream.get(), bytes[0]);
    std::array<char, 9> read{};
    stream.read(read.data(), read.size()); // delivers what there is
    EXPECT_EQ(stream.gcount(), 4);
    EXPECT_TRUE(stream.eof());
    EXPECT_TRUE(std::equal(bytes.begin() + 1, bytes.end(), reinterpret_cast<unsigned char*>(read.data())));
    Korva::mybuf empty(nullptr, 0);
    EXPECT_TRUE(empty.unread().empty());
    EXPECT_EQ(std::istream(&empty).get(), endOfFile);
}

TEST_F(MemoryStream, CannotSeekNorTellItsPositionNorBeWritten) {
    EXPECT_EQ(stream.tellg(), std::istream::pos_type(-1));
    stream.clear();
    EXPECT_FALSE(stream.seekg(1));
    stream.clear();
    EXPECT_FALSE(stream.seekg(0, std::ios::end));
    stream.clear();
    EXPECT_EQ(buffer.sputc('x'), endOfFile);
    EXPECT_EQ(stream.get(), 0x00);
    EXPECT_EQ(buffer.sputbackc('x'), endOfFile);
    EXPECT_EQ(bytes[0], 0x00);
}

TEST_F(MemoryStream, ShowsTheBytesThatAreUnreadWhereTheyLieAndGoesOnBehindThoseThatAreSkipped) {
    EXPECT_EQ(buffer.unread().data(), bytes.data());
    EXPECT_EQ(buffer.unread().size(), 5u);
    stream.get();
    EXPECT_EQ(buffer.unread().data(), bytes.data() + 1);
    EXPECT_EQ(buffer.unread().size(), 4u);
    buffer.skip(2);
    EXPECT_EQ(stream.get(), 'd');
    buffer.skip(1);
    EXPECT_TRUE(buffer.unread().empty());
    EXPECT_EQ(stream.get(), endOfFile);
}

// Either decoder.

const Picture reducedGrey{3, 3, 2, {0, 0x48, 0xFF, 1, 0, 0}};

struct Format {
    std::string name;
    Decoder decoder;
    Korva::ReducedPicture (*reducer)(std::istream& file, unsigned int samplesPerPixel);
    Bytes file;
    Picture picture;
};

void PrintTo(const Format& format, std::ostream* out) {
    *out << format.name;
}

struct EitherDecoder : testing::TestWithParam<Format> {
    const Decoder decoder = GetParam().decoder;
    const Bytes file = GetParam().file;
    const Picture picture = GetParam().picture;

    Picture decodedPicture() const { return decoded(decoder, file).picture; }
    Korva::ReducedPicture reduced(unsigned int samplesPerPixel) const {
        Korva::mybuf memory(file.data(), file.size());
        std::istream stream(&memory);
        return GetParam().reducer(stream, samplesPerPixel);
    }
};

TEST_P(EitherDecoder, KeepsTheExceptionsOfAStreamToItself) {
    for (std::size_t length = 0; length <= file.size(); ++length) {
        const Bytes cut = TestSupport::beginningOf(file, length);
        const Picture expected = decoded(decoder, cut).picture;
        PiecewiseBuffer pieces(cut, 7);
        Korva::mybuf memory(cut.data(), cut.size());
        for (std::streambuf* const buffer :
             {static_cast<std::streambuf*>(&pieces), static_cast<std::streambuf*>(&memory)}) {
            std::istream stream(buffer);
            stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
            testing::internal::CaptureStderr();
            EXPECT_NO_THROW(EXPECT_EQ(decoder(stream).picture, expected)) << length;
            testing::internal::GetCapturedStderr();
        }
    }
}

TEST_P(EitherDecoder, GivesAnEmptyImageFromAStreamThatHasFailed) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    stream.setstate(std::ios::failbit);
    EXPECT_EQ(decoder(stream).picture, noPicture);
    std::istream withoutBuffer(nullptr);
    EXPECT_EQ(decoder(withoutBuffer).picture, noPicture);
    EXPECT_EQ(Support::pictureOf(GetParam().reducer(stream, 1).picture), noPicture);
    EXPECT_EQ(Support::pictureOf(GetParam().reducer(withoutBuffer, 1).picture), noPicture);
}

TEST_P(EitherDecoder, ReducesAlikeFromAnyStreamAndKeepsItsExceptionsToItself) {
    for (std::size_t length = 0; length <= file.size(); ++length) {
        const Bytes cut = TestSupport::beginningOf(file, length);
        PiecewiseBuffer pieces(cut, 7);
        Korva::mybuf memory(cut.data(), cut.size());
        std::vector<Picture> pictures;
        for (std::streambuf* const buffer :
             {static_cast<std::streambuf*>(&pieces), static_cast<std::streambuf*>(&memory)}) {
            std::istream stream(buffer);
            stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
            testing::internal::CaptureStderr();
            Korva::ReducedPicture reduced;
            EXPECT_NO_THROW(reduced = GetParam().reducer(stream, 1)) << length;
            testing::internal::GetCapturedStderr();
            if (!reduced.blackPixels && reduced.picture.pixels != nullptr)
                Korva::reduceSamples(reduced.picture.pixels.get(), picture.pixels.size() / 2, 1);
            pictures.push_back(Support::pictureOf(reduced.picture));
            pictures.back().format &= image_t::layoutMask;
            pictures.back().pixels.resize(pictures.back().format == 0 ? 0 : picture.pixels.size() / 2);
        }
        EXPECT_EQ(pictures[0], pictures[1]) << length;
    }
}

TEST_P(EitherDecoder, GivesAnEmptyImageWhereMemoryIsShort) {
    const Support::ArrayShortage shortage;
    EXPECT_EQ(decodedPicture(), noPicture);
}

TEST_P(EitherDecoder, RefusesAPictureAboveTheByteLimit) {
    image_t::setByteLimit(picture.pixels.size());
    EXPECT_EQ(decodedPicture(), picture);
    EXPECT_EQ(Support::pictureOf(reduced(1).picture), reducedGrey);
    image_t::setByteLimit(picture.pixels.size() - 1);
    EXPECT_EQ(decodedPicture(), noPicture);
    EXPECT_EQ(Support::pictureOf(reduced(1).picture), noPicture) << "though half of it would fit";
    image_t::setByteLimit(image_t::defaultByteLimit);
}

TEST_P(EitherDecoder, ReducesOnTheWayOnlyWhatHasTheSamplesThatWereAskedFor) {
    const Korva::ReducedPicture asAsked = reduced(1);
    EXPECT_EQ(Support::pictureOf(asAsked.picture), reducedGrey);
    EXPECT_EQ(asAsked.blackPixels, 3u);
    const Korva::ReducedPicture asItIs = reduced(3);
    EXPECT_EQ(Support::pictureOf(asItIs.picture), picture);
    EXPECT_FALSE(asItIs.blackPixels);
}

TEST_P(EitherDecoder, ReducesNothingWhereMemoryIsShort) {
    const Support::ArrayShortage shortage;
    const Korva::ReducedPicture nothing = reduced(1);
    EXPECT_EQ(Support::pictureOf(nothing.picture), noPicture);
    EXPECT_FALSE(nothing.blackPixels);
}

const TestSupport::Samples twoRows{3, 2, 1, {0, 0x1234, 0x3FFF, 0x40, 0, 0}};
const Picture grey{19, 3, 2, {0, 0, 0x34, 0x12, 0xFF, 0x3F, 0x40, 0, 0, 0, 0, 0}};

INSTANTIATE_TEST_SUITE_P(
    Of, EitherDecoder,
    testing::Values(Format{"Png", decodePng, Korva::decodeReducedPng, TestSupport::pngFile(twoRows), grey},
                    Format{"Sgi", decodeSgi, Korva::decodeReducedSgi, TestSupport::sgiFile(twoRows), grey}),
    [](const auto& format) { return format.param.name; });

// Foreign files.

constexpr std::int32_t width = 19;
constexpr std::uint32_t height = 13;
constexpr std::size_t channelsOfReference = 4;

Bytes fileNamed(const std::string& name) {
    return Support::readFile(std::filesystem::path(KORVA_TEST_PICTURES) / name);
}

Picture pictureIn(const std::string& name) {
    return decoded(name.ends_with(".png") ? decodePng : decodeSgi, fileNamed(name)).picture;
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

/// SGI files, and every kind of PNG file: its bits, interlaced and not; with texts, and with transparency
/// that adds no channel.
std::vector<Foreign> everyFile() {
    const struct {
        std::string kind;
        std::vector<int> bits;
        std::uint32_t layout;
    } kinds[] = {{"grey", {1, 2, 4, 8, 16}, image_t::layoutGrey},
                 {"rgb", {8, 16}, image_t::layoutRgb},
                 {"palette", {1, 2, 4, 8}, image_t::layoutRgb},
                 {"grey-alpha", {8, 16}, image_t::layoutGreyAlpha},
                 {"rgba", {8, 16}, image_t::layoutRgba}};
    std::vector<Foreign> all{{"grey16-verbatim.sgi", 19},  {"rgb16-verbatim.sgi", 17},
                             {"rgba16-verbatim.sgi", 18},  {"grey16-text.png", 19},
                             {"rgb8-packed-text.png", 1},  {"grey8-international-text.png", 3},
                             {"grey8-transparent.png", 3}, {"rgb8-transparent.png", 1}};
    for (const auto& [kind, bits, layout] : kinds)
        for (const int depth : bits)
            for (const char* const end : {".png", "-interlaced.png"})
                all.push_back(
                    {kind + std::to_string(depth) + end, layout + (depth == 16 ? image_t::depth16 : 0)});
    return all;
}

TEST(ForeignPictures, DecodeToThePixelsThatAnotherProgramReads) {
    for (const auto& [name, format] : everyFile()) {
        SCOPED_TRACE(name);
        const Picture picture = pictureIn(name);
        EXPECT_EQ(picture.format, format);
        EXPECT_EQ(picture.width, width);
        EXPECT_EQ(picture.height, height);
        EXPECT_EQ(samplesOf(picture), referenceSamples(name, format));
    }
}

TEST(ForeignPictures, AreReducedOnTheWayIfTheyAreAsACameraSendsThem) {
    for (const auto& [name, format] : everyFile()) {
        const Bytes file = fileNamed(name);
        Korva::mybuf memory(file.data(), file.size());
        std::istream stream(&memory);
        const bool isSgi = name.ends_with(".sgi");
        const unsigned int samples = image_t::channels(format);
        const bool isExpected = (format & image_t::depth16) != 0 && (samples == 1 || samples == 3) &&
                                name.find("interlaced") == std::string::npos;
        const Korva::ReducedPicture reduced = isSgi ? Korva::decodeReducedSgi(stream, samples == 1 ? 1 : 3)
                                                    : Korva::decodeReducedPng(stream, samples == 1 ? 1 : 3);
        EXPECT_EQ(reduced.blackPixels.has_value(), isExpected) << name;
        EXPECT_EQ(reduced.picture.format, isExpected ? format - image_t::depth16 : format) << name;
    }
}

TEST(ForeignPng, HasTheTextOfItsFirstChunkAlsoPacked) {
    for (const auto& [name, text] :
         {std::pair("grey16-text.png", "First text"), std::pair("rgb8-packed-text.png", "First text"),
          std::pair("grey8-international-text.png", "International text")})
        EXPECT_EQ(decoded(decodePng, fileNamed(name)).text, text) << name;
}

TEST(ForeignPng, WhoseTransparencyAddsAChannelGivesAnEmptyImage) {
    EXPECT_EQ(pictureIn("grey2-transparent.png"), noPicture);
    EXPECT_EQ(pictureIn("palette4-transparent.png"), noPicture);
}

TEST(ForeignSgi, OfEightBitsIsAPictureOfZerosInItsSize) {
    for (const Foreign& each :
         {Foreign{"grey8-verbatim.sgi", 3}, {"rgb8-verbatim.sgi", 1}, {"rgba8-verbatim.sgi", 2}}) {
        const Bytes zeros(image_t::byteCount(each.format, width, height), 0);
        EXPECT_EQ(pictureIn(each.name), (Picture{each.format, width, height, zeros})) << each.name;
    }
}

} // namespace
} // namespace DecodingTests
