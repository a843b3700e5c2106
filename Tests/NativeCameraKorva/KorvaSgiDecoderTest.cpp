#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include "Support/ArrayAllocations.h"
#include "Support/Beginning.h"
#include "Support/DecodedPicture.h"
#include "Support/PictureFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <istream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Support::bigEndian;
using Support::Bytes;
using Support::noPicture;
using Support::pictureOf;
using Support::PiecewiseBuffer;
using Support::SgiHeader;
using Support::operator+;
using TestSupport::beginningOf;
using Picture = Support::DecodedPicture;

Picture decodeFrom(std::streambuf& buffer) {
    std::istream stream(&buffer);
    return pictureOf(Korva::decodeSgi(stream));
}

/// The picture that every kind of stream over these bytes gives.
Picture decoded(const Bytes& file) {
    Korva::mybuf memory(file.data(), file.size());
    const Picture picture = decodeFrom(memory);
    std::stringbuf text(std::string(file.begin(), file.end()), std::ios::in);
    EXPECT_EQ(decodeFrom(text), picture);
    PiecewiseBuffer pieces(file, 7);
    EXPECT_EQ(decodeFrom(pieces), picture);
    EXPECT_FALSE(pieces.wasSought());
    return picture;
}

/// Little-endian samples as pixels.
Bytes littleEndian(const std::vector<std::uint16_t>& samples) {
    Bytes bytes;
    for (const std::uint16_t sample : samples) {
        bytes.push_back(static_cast<unsigned char>(sample));
        bytes.push_back(static_cast<unsigned char>(sample >> 8));
    }
    return bytes;
}

/// A 2 x 2 colour picture: each sample names its channel, its file row and its column.
SgiHeader colourHeader() {
    SgiHeader header;
    header.width = 2;
    header.height = 2;
    header.channels = 3;
    return header;
}

const std::vector<std::uint16_t> colourPlanes{0xA100, 0xA101, 0xA110, 0xA111, 0xB200, 0xB201,
                                              0xB210, 0xB211, 0xC300, 0xC301, 0xC310, 0xC311};
const std::vector<std::uint16_t> colourPixels{0xA110, 0xB210, 0xC310, 0xA111, 0xB211, 0xC311,
                                              0xA100, 0xB200, 0xC300, 0xA101, 0xB201, 0xC301};

TEST(SgiDecoder, PutsTheFirstRowOfAGreyFileAtTheBottom) {
    SgiHeader header;
    header.width = 3;
    header.height = 2;
    header.dimension = 2;
    const Picture expected{19, 3, 2, littleEndian({0x1110, 0x1211, 0x1312, 0x0100, 0x0201, 0xFFFE})};
    EXPECT_EQ(decoded(header.bytes() + bigEndian({0x0100, 0x0201, 0xFFFE, 0x1110, 0x1211, 0x1312})),
              expected);
}

TEST(SgiDecoder, InterleavesThePlanesOfAColourFile) {
    const Picture expected{17, 2, 2, littleEndian(colourPixels)};
    EXPECT_EQ(decoded(colourHeader().bytes() + bigEndian(colourPlanes)), expected);
}

TEST(SgiDecoder, InterleavesTheFourPlanesOfAFileWithAlpha) {
    SgiHeader header;
    header.width = 1;
    header.height = 2;
    header.channels = 4;
    const Picture expected{18, 1, 2, littleEndian({2, 4, 6, 8, 1, 3, 5, 7})};
    EXPECT_EQ(decoded(header.bytes() + bigEndian({1, 2, 3, 4, 5, 6, 7, 8})), expected);
}

TEST(SgiDecoder, ReadsRowsLongerThanAnyVector) {
    SgiHeader header = colourHeader();
    header.width = 333;
    std::vector<std::uint16_t> planes;
    std::vector<std::uint16_t> pixels;
    for (std::uint16_t channel = 0; channel < 3; ++channel)
        for (std::uint16_t row = 0; row < 2; ++row)
            for (std::uint16_t column = 0; column < 333; ++column)
                planes.push_back(static_cast<std::uint16_t>(channel * 20000 + row * 8000 + column));
    for (std::uint16_t row = 0; row < 2; ++row)
        for (std::uint16_t column = 0; column < 333; ++column)
            for (std::uint16_t channel = 0; channel < 3; ++channel)
                pixels.push_back(static_cast<std::uint16_t>(channel * 20000 + (1 - row) * 8000 + column));
    EXPECT_EQ(decoded(header.bytes() + bigEndian(planes)), (Picture{17, 333, 2, littleEndian(pixels)}));
}

TEST(SgiDecoder, IgnoresTheRestOfTheHeaderAndWhatFollowsThePixels) {
    SgiHeader header = colourHeader();
    header.rest = 0xFF;
    const Picture expected{17, 2, 2, littleEndian(colourPixels)};
    EXPECT_EQ(decoded(header.bytes() + bigEndian(colourPlanes) + Bytes{1, 2, 3}), expected);
}

TEST(SgiDecoder, LeavesTheStreamBehindThePixels) {
    const Bytes file = colourHeader().bytes() + bigEndian(colourPlanes) + Bytes{'x'};
    Korva::mybuf memory(file.data(), file.size());
    decodeFrom(memory);
    EXPECT_EQ(memory.sgetc(), 'x');
    PiecewiseBuffer pieces(file, 7);
    decodeFrom(pieces);
    EXPECT_EQ(pieces.sgetc(), 'x');
}

TEST(SgiDecoder, StartsWhereTheStreamStands) {
    const Bytes file = Bytes{'x', 'y', 'z'} + colourHeader().bytes() + bigEndian(colourPlanes);
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    stream.ignore(3);
    EXPECT_EQ(pictureOf(Korva::decodeSgi(stream)), (Picture{17, 2, 2, littleEndian(colourPixels)}));
}

TEST(SgiDecoder, RefusesEveryOtherMagic) {
    for (const int magic : {0, 473, 475, 474 + 256, 0xDA01, 65535}) {
        SgiHeader header = colourHeader();
        header.magic = static_cast<std::uint16_t>(magic);
        EXPECT_EQ(decoded(header.bytes() + bigEndian(colourPlanes)), noPicture) << magic;
    }
}

TEST(SgiDecoder, RefusesRunLengthAndUnknownStorage) {
    for (unsigned storage = 1; storage < 256; ++storage) {
        SgiHeader header = colourHeader();
        header.storage = static_cast<std::uint8_t>(storage);
        EXPECT_EQ(decoded(header.bytes() + bigEndian(colourPlanes)), noPicture) << storage;
    }
}

TEST(SgiDecoder, AcceptsOneOrTwoBytesPerSample) {
    for (unsigned count = 0; count < 256; ++count) {
        SgiHeader header = colourHeader();
        header.bytesPerSample = static_cast<std::uint8_t>(count);
        const std::uint32_t expected = count == 1 ? 1 : count == 2 ? 17 : 0;
        EXPECT_EQ(decoded(header.bytes() + bigEndian(colourPlanes)).format, expected) << count;
    }
}

TEST(SgiDecoder, AcceptsDimensionsOneToThree) {
    for (const int dimension : {0, 1, 2, 3, 4, 256, 257, 65535}) {
        SgiHeader header = colourHeader();
        header.dimension = static_cast<std::uint16_t>(dimension);
        const bool isAccepted = dimension >= 1 && dimension <= 3;
        EXPECT_EQ(decoded(header.bytes() + bigEndian(colourPlanes)) ==
                      (Picture{17, 2, 2, littleEndian(colourPixels)}),
                  isAccepted)
            << dimension;
        EXPECT_EQ(decoded(header.bytes() + bigEndian(colourPlanes)) == noPicture, !isAccepted) << dimension;
    }
}

TEST(SgiDecoder, AcceptsOneThreeOrFourChannels) {
    for (const auto& [channels, format] : {std::pair{0, 0u},
                                           {1, 19u},
                                           {2, 0u},
                                           {3, 17u},
                                           {4, 18u},
                                           {5, 0u},
                                           {256, 0u},
                                           {257, 0u},
                                           {65535, 0u}}) {
        SgiHeader header = colourHeader();
        header.channels = static_cast<std::uint16_t>(channels);
        const Picture picture = decoded(header.bytes() + bigEndian(colourPlanes));
        EXPECT_EQ(picture.format, format) << channels;
        EXPECT_EQ(picture.width, format == 0 ? 0 : 2) << channels;
    }
}

TEST(SgiDecoder, DoesNotReadThePixelsOfAnEightBitFile) {
    for (const auto& [channels, format, bytes] : {std::tuple{1, 3u, 4u}, {3, 1u, 12u}, {4, 2u, 16u}}) {
        SgiHeader header = colourHeader();
        header.bytesPerSample = 1;
        header.channels = static_cast<std::uint16_t>(channels);
        EXPECT_EQ(decoded(header.bytes() + Bytes(64, 0x77)), (Picture{format, 2, 2, Bytes(bytes, 0)}));
    }
}

TEST(SgiDecoder, RefusesEveryCutHeader) {
    const Bytes header = colourHeader().bytes();
    for (std::size_t length = 0; length < header.size(); ++length)
        EXPECT_EQ(decoded(beginningOf(header, length)), noPicture) << length;
}

TEST(SgiDecoder, ZeroesEverySampleThatACutFileDoesNotHoldWhole) {
    const Bytes planes = bigEndian(colourPlanes);
    for (std::size_t length = 0; length <= planes.size(); ++length) {
        // What the complete file would give if the missing samples were zeros.
        std::vector<std::uint16_t> whole = colourPlanes;
        std::fill(whole.begin() + static_cast<std::ptrdiff_t>(length / 2), whole.end(), std::uint16_t{0});
        const Picture expected = decoded(colourHeader().bytes() + bigEndian(whole));
        const Bytes cut(planes.begin(), planes.begin() + static_cast<std::ptrdiff_t>(length));
        ASSERT_EQ(decoded(colourHeader().bytes() + cut), expected) << length;
    }
}

TEST(SgiDecoder, GivesAPictureWithoutPixelsItsSize) {
    SgiHeader header = colourHeader();
    header.width = 0;
    EXPECT_EQ(decoded(header.bytes()), (Picture{17, 0, 2, {}}));
    header.width = 2;
    header.height = 0;
    EXPECT_EQ(decoded(header.bytes()), (Picture{17, 2, 0, {}}));
}

TEST(SgiDecoder, RefusesAPictureAboveTheByteLimit) {
    SgiHeader header = colourHeader();
    header.width = 65535;
    header.height = 65535;
    header.channels = 4;
    EXPECT_EQ(decoded(header.bytes()), noPicture);

    const Bytes file = colourHeader().bytes() + bigEndian(colourPlanes);
    image_t::setByteLimit(24);
    EXPECT_EQ(decoded(file).format, 17u);
    image_t::setByteLimit(23);
    EXPECT_EQ(decoded(file), noPicture);
    image_t::setByteLimit(image_t::defaultByteLimit);
}

TEST(SgiDecoder, GivesAnEmptyImageWhereMemoryIsShort) {
    const Bytes file = colourHeader().bytes() + bigEndian(colourPlanes);
    const Support::ArrayShortage shortage;
    EXPECT_EQ(decoded(file), noPicture);
}

TEST(SgiDecoder, KeepsTheExceptionsOfAStreamToItself) {
    const Bytes file = colourHeader().bytes() + bigEndian(colourPlanes);
    for (std::size_t length = 0; length < file.size(); ++length) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        const Picture expected = decoded(cut);
        PiecewiseBuffer pieces(cut, 7);
        std::istream stream(&pieces);
        stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
        EXPECT_NO_THROW(EXPECT_EQ(pictureOf(Korva::decodeSgi(stream)), expected)) << length;
        Korva::mybuf memory(cut.data(), cut.size());
        std::istream memoryStream(&memory);
        memoryStream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
        EXPECT_NO_THROW(EXPECT_EQ(pictureOf(Korva::decodeSgi(memoryStream)), expected)) << length;
    }
}

TEST(SgiDecoder, TakesAStreamBufferThatThrowsForTheEndOfTheFile) {
    const Bytes header = colourHeader().bytes();
    // One file row is 4 bytes: the first is delivered, the second is lost with the exception in its middle.
    PiecewiseBuffer pieces(header + Bytes{1, 2, 3, 4, 5, 6}, 512, PiecewiseBuffer::AtEnd::throwException);
    Bytes expected(24, 0);
    expected[12] = 2;
    expected[13] = 1;
    expected[18] = 4;
    expected[19] = 3;
    EXPECT_EQ(decodeFrom(pieces), (Picture{17, 2, 2, expected}));
    PiecewiseBuffer nothing({}, 1, PiecewiseBuffer::AtEnd::throwException);
    EXPECT_EQ(decodeFrom(nothing), noPicture);
}

TEST(SgiDecoder, GivesAnEmptyImageFromAStreamThatHasFailed) {
    const Bytes file = colourHeader().bytes() + bigEndian(colourPlanes);
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    stream.setstate(std::ios::failbit);
    EXPECT_EQ(pictureOf(Korva::decodeSgi(stream)), noPicture);
    std::istream withoutBuffer(nullptr);
    EXPECT_EQ(pictureOf(Korva::decodeSgi(withoutBuffer)), noPicture);
}

} // namespace
