#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include "Support/ArrayAllocations.h"
#include "Support/Beginning.h"
#include "Support/DecodedPicture.h"
#include "Support/LibpngShortage.h"
#include "Support/PictureFiles.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <istream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <utility>

namespace {

using Support::Bytes;
using Support::noPicture;
using Support::pictureOf;
using Support::PiecewiseBuffer;
using Support::pngChunk;
using Support::PngColour;
using Support::pngEnd;
using Support::pngHeader;
using Support::pngPixels;
using Support::pngSignature;
using Support::operator+;
using TestSupport::beginningOf;
using Picture = Support::DecodedPicture;

const std::string untouchedText = "left alone";

struct Decoded {
    Picture picture;
    std::string text;
};

Decoded decodeFrom(std::streambuf& buffer) {
    std::istream stream(&buffer);
    Decoded decoded{{}, untouchedText};
    decoded.picture = pictureOf(Korva::decodePng(stream, decoded.text));
    return decoded;
}

/// What every kind of stream over these bytes gives.
Decoded decoded(const Bytes& file) {
    Korva::mybuf memory(file.data(), file.size());
    const Decoded result = decodeFrom(memory);
    PiecewiseBuffer pieces(file, 7);
    const Decoded fromPieces = decodeFrom(pieces);
    EXPECT_EQ(fromPieces.picture, result.picture);
    EXPECT_EQ(fromPieces.text, result.text);
    EXPECT_FALSE(pieces.wasSought());
    return result;
}

/// Decodes with libpng's complaints about broken files out of the way.
Decoded decodedSilently(const Bytes& file) {
    testing::internal::CaptureStderr();
    Decoded result = decoded(file);
    testing::internal::GetCapturedStderr();
    return result;
}

struct Stopped {
    Picture picture;
    std::size_t bytesRead;
    std::size_t complaintBytes;
};

/// How far the decoder comes with `file`, and how long libpng's complaints are.
Stopped decodedUntilItStops(const Bytes& file) {
    Korva::mybuf memory(file.data(), file.size());
    testing::internal::CaptureStderr();
    Picture picture = decodeFrom(memory).picture;
    return {std::move(picture), file.size() - memory.unread().size(),
            testing::internal::GetCapturedStderr().size()};
}

Bytes repeated(const Bytes& chunk, std::size_t count) {
    Bytes all;
    for (std::size_t i = 0; i < count; ++i)
        all.insert(all.end(), chunk.begin(), chunk.end());
    return all;
}

/// A 2 x 1 16-bit grey picture with the chunks in between.
Bytes greyFile(const Bytes& beforePixels = {}, const Bytes& afterPixels = {}) {
    return pngSignature() + pngHeader(2, 1, 16, PngColour::grey) + beforePixels +
           pngPixels({0, 0x12, 0x34, 0x3F, 0xFF}) + afterPixels + pngEnd();
}

const Picture greyPicture{19, 2, 1, {0x34, 0x12, 0xFF, 0x3F}};

using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(PngDecoder, GivesSixteenBitGreyInLittleEndianOrder) {
    EXPECT_EQ(decoded(greyFile()).picture, greyPicture);
}

TEST(PngDecoder, GivesTheFormatOfEachColourType) {
    const auto file = [](std::uint8_t depth, PngColour colour, const Bytes& row) {
        return pngSignature() + pngHeader(1, 1, depth, colour) + pngPixels(Bytes{0} + row) + pngEnd();
    };
    EXPECT_EQ(decoded(file(8, PngColour::grey, {9})).picture, (Picture{3, 1, 1, {9}}));
    EXPECT_EQ(decoded(file(8, PngColour::rgb, {1, 2, 3})).picture, (Picture{1, 1, 1, {1, 2, 3}}));
    EXPECT_EQ(decoded(file(8, PngColour::greyAlpha, {1, 2})).picture, (Picture{4, 1, 1, {1, 2}}));
    EXPECT_EQ(decoded(file(8, PngColour::rgba, {1, 2, 3, 4})).picture, (Picture{2, 1, 1, {1, 2, 3, 4}}));
    EXPECT_EQ(decoded(file(16, PngColour::rgb, {1, 2, 3, 4, 5, 6})).picture,
              (Picture{17, 1, 1, {2, 1, 4, 3, 6, 5}}));
    EXPECT_EQ(decoded(file(16, PngColour::greyAlpha, {1, 2, 3, 4})).picture,
              (Picture{20, 1, 1, {2, 1, 4, 3}}));
    EXPECT_EQ(decoded(file(16, PngColour::rgba, {1, 2, 3, 4, 5, 6, 7, 8})).picture,
              (Picture{18, 1, 1, {2, 1, 4, 3, 6, 5, 8, 7}}));
}

TEST(PngDecoder, ExpandsAPaletteOfFourBitsToEightBitColour) {
    const Bytes file = pngSignature() + pngHeader(3, 1, 4, PngColour::palette) +
                       pngChunk("PLTE", Bytes{10, 11, 12, 20, 21, 22, 30, 31, 32}) +
                       pngPixels({0, 0x20, 0x10}) + pngEnd();
    EXPECT_EQ(decoded(file).picture, (Picture{1, 3, 1, {30, 31, 32, 10, 11, 12, 20, 21, 22}}));
}

TEST(PngDecoder, ExpandsGreyOfFewBitsToTheFullRange) {
    const auto file = [](std::uint8_t depth, unsigned char row) {
        return pngSignature() + pngHeader(2, 1, depth, PngColour::grey) + pngPixels({0, row}) + pngEnd();
    };
    EXPECT_EQ(decoded(file(1, 0b01000000)).picture, (Picture{3, 2, 1, {0, 255}}));
    EXPECT_EQ(decoded(file(2, 0b01110000)).picture, (Picture{3, 2, 1, {85, 255}}));
    EXPECT_EQ(decoded(file(4, 0x5F)).picture, (Picture{3, 2, 1, {0x55, 0xFF}}));
}

TEST(PngDecoder, StoresRowsFromTheTop) {
    const Bytes file =
        pngSignature() + pngHeader(1, 3, 8, PngColour::grey) + pngPixels({0, 1, 0, 2, 0, 3}) + pngEnd();
    EXPECT_EQ(decoded(file).picture, (Picture{3, 1, 3, {1, 2, 3}}));
}

TEST(PngDecoder, GivesTheTextOfTheFirstOfTwoTextChunks) {
    const Bytes texts = pngChunk("tEXt", "Title\0first"sv) + pngChunk("tEXt", "Title\0second"sv);
    const Decoded result = decoded(greyFile(texts));
    EXPECT_EQ(result.text, "first");
    EXPECT_EQ(result.picture, greyPicture);
}

TEST(PngDecoder, GivesTheFirstTextWhateverItsKey) {
    EXPECT_EQ(decoded(greyFile(pngChunk("tEXt", "Zzz\0any"sv) + pngChunk("tEXt", "Title\0t"sv))).text, "any");
}

TEST(PngDecoder, GivesAnEmptyText) {
    EXPECT_EQ(decoded(greyFile(pngChunk("tEXt", "Title\0"sv))).text, "");
}

TEST(PngDecoder, DoesNotTakeAChunkOfNoBytesForTheEndOfTheFile) {
    const Decoded result = decodedSilently(greyFile(pngChunk("tEXt", ""sv)));
    EXPECT_EQ(result.picture, greyPicture);
    EXPECT_EQ(result.text, "");
}

TEST(PngDecoder, GivesAnInternationalText) {
    EXPECT_EQ(decoded(greyFile(pngChunk("iTXt", "Title\0\0\0de\0Titel\0Gr\xC3\xBC\xC3\x9F"sv))).text,
              "Gr\xC3\xBC\xC3\x9F");
}

TEST(PngDecoder, LeavesTheTextAloneWhereThereIsNoTextChunk) {
    EXPECT_EQ(decoded(greyFile()).text, untouchedText);
}

TEST(PngDecoder, LeavesTheTextAloneWhereItStandsBehindThePixels) {
    const Decoded result = decoded(greyFile({}, pngChunk("tEXt", "Title\0late"sv)));
    EXPECT_EQ(result.picture, greyPicture);
    EXPECT_EQ(result.text, untouchedText);
}

TEST(PngDecoder, LeavesTheTextAloneWhereThePictureIsBroken) {
    const Bytes file = pngSignature() + pngHeader(2, 1, 16, PngColour::grey) +
                       pngChunk("tEXt", "Title\0t"sv) + pngPixels({0, 0x12}) + pngEnd();
    const Decoded result = decodedSilently(file);
    EXPECT_EQ(result.picture, noPicture);
    EXPECT_EQ(result.text, untouchedText);
}

TEST(PngDecoder, KeepsFewOfManyTextsAndStillGivesTheFirst) {
    Bytes texts = pngChunk("tEXt", "Title\0first"sv);
    for (int i = 0; i < 40; ++i) // libpng by itself keeps 1000
        texts = texts + pngChunk("tEXt", "Title\0more"sv);
    testing::internal::CaptureStderr();
    const Decoded result = decoded(greyFile(texts));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("no space in chunk cache"), std::string::npos);
    EXPECT_EQ(result.text, "first");
    EXPECT_EQ(result.picture, greyPicture);
}

constexpr std::size_t mebi = std::size_t{1} << 20;
const std::size_t headBytes = (pngSignature() + pngHeader(2, 1, 16, PngColour::grey)).size();

TEST(PngDecoder, TakesAMebibyteBeforeThePixelsAndNotAByteMore) {
    const std::string longest(mebi - headBytes - pngChunk("tEXt", "Title\0"sv).size(), 'x');
    const Decoded most = decodedSilently(greyFile(pngChunk("tEXt", "Title\0"s + longest)));
    EXPECT_EQ(most.picture, greyPicture);
    EXPECT_TRUE(most.text == longest);
    const Decoded above = decodedSilently(greyFile(pngChunk("tEXt", "Title\0"s + longest + 'x')));
    EXPECT_EQ(above.picture, noPicture);
    EXPECT_EQ(above.text, untouchedText);
}

TEST(PngDecoder, ReadsNoMoreThanAMebibyteOfChunksBeforeThePixels) {
    for (const char* const type : {"prIv", "hIST"}) { // passed over, and with the longest complaint of each
        const Bytes chunk = pngChunk(type, ""sv);
        const Stopped stopped = decodedUntilItStops(greyFile(repeated(chunk, 4 * mebi / chunk.size())));
        EXPECT_EQ(stopped.picture, noPicture) << type;
        EXPECT_LE(stopped.bytesRead, mebi + 8) << type;
        EXPECT_LE(stopped.complaintBytes, 3 * mebi) << type;
    }
}

TEST(PngDecoder, ReadsAMebibyteOfChunksBesideThePixelsOfASmallPicture) {
    const Bytes empty = pngChunk("IDAT", ""sv);
    EXPECT_EQ(decoded(greyFile(repeated(empty, 80'000))).picture, greyPicture);
    const Stopped stopped = decodedUntilItStops(greyFile(repeated(empty, 4 * mebi / empty.size())));
    EXPECT_EQ(stopped.picture, noPicture);
    EXPECT_LE(stopped.bytesRead, headBytes + mebi + 2 * 4 + 8);
}

TEST(PngDecoder, UnpacksNoMoreThan64KibibytesBehindTheLastRow) {
    const Bytes header = pngHeader(2, 1, 16, PngColour::grey);
    Bytes interlaced(header.begin() + 8, header.end() - 4);
    interlaced.back() = 1;
    const Bytes rows{0, 0x12, 0x34, 0x3F, 0xFF};
    const Bytes rowsOfPasses{0, 0x12, 0x34, 0, 0x3F, 0xFF};
    for (const auto& [head, pixels] :
         {std::pair{header, rows}, std::pair{pngChunk("IHDR", interlaced), rowsOfPasses}}) {
        const auto file = [&](std::size_t excess) {
            Bytes unpacked = pixels;
            std::minstd_rand noise; // which cannot be packed
            std::generate_n(std::back_inserter(unpacked), excess, std::ref(noise));
            return pngSignature() + head + pngPixels(unpacked) + pngEnd();
        };
        EXPECT_EQ(decodedSilently(file(64'000)).picture, greyPicture);
        const Stopped stopped = decodedUntilItStops(file(200'000));
        EXPECT_EQ(stopped.picture, noPicture);
        EXPECT_LE(stopped.bytesRead, headBytes + 8 + 8192 + 65536);
    }
}

TEST(PngDecoder, TakesNoMemoryForATextThatIsOnlyAnnounced) {
    Bytes text = pngChunk("tEXt", "Title\0t"sv);
    text[0] = 0x40; // 1 GiB and 7 bytes
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(decodedSilently(greyFile(text)).picture, noPicture);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024); // in KiB
}

TEST(PngDecoder, DoesNotReadOnBehindTheEndOfAFileWhoseChunkIsOnlyAnnounced) {
    Bytes chunk = pngChunk("prIv", "some"); // of a kind that libpng does not know and passes over
    chunk[0] = 0x7F;                        // 2 GiB
    testing::internal::CaptureStderr();
    EXPECT_EQ(decoded(greyFile(chunk)).picture, noPicture);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("the file has ended"), std::string::npos);
}

TEST(PngDecoder, PassesOverATextThatUnpacksToMoreThanAMillionBytes) {
    const auto packedText = [](std::size_t length) {
        const Bytes keyAndMethod{'K', 0, 0};
        return pngChunk("zTXt", keyAndMethod + Support::packed(Bytes(length, 'x')));
    };
    EXPECT_TRUE(decoded(greyFile(packedText(900'000))).text == std::string(900'000, 'x'));
    const Decoded above = decodedSilently(greyFile(packedText(1'100'000)));
    EXPECT_EQ(above.picture, greyPicture);
    EXPECT_EQ(above.text, untouchedText);
}

TEST(PngDecoder, SaysNothingAboutAGoodFile) {
    testing::internal::CaptureStderr();
    decoded(greyFile());
    decoded(Support::readFile(KORVA_TEST_PICTURES "/rgb8-interlaced.png"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(PngDecoder, RefusesEveryWrongSignature) {
    for (std::size_t i = 0; i < 8; ++i) {
        Bytes file = greyFile();
        file[i] ^= 0x40;
        EXPECT_EQ(decoded(file).picture, noPicture) << i;
    }
}

TEST(PngDecoder, GivesAPictureOnlyOnceTheLastOfItsPixelsIsChecked) {
    const Bytes file = greyFile(pngChunk("tEXt", "Title\0t"sv));
    for (std::size_t length = 0; length < file.size(); ++length) {
        const Bytes cut = beginningOf(file, length);
        const bool holdsPixels = length >= file.size() - pngEnd().size();
        const Decoded result = decodedSilently(cut);
        EXPECT_EQ(result.picture, holdsPixels ? greyPicture : noPicture) << length;
        EXPECT_EQ(result.text, holdsPixels ? "t" : untouchedText) << length;
    }
}

TEST(PngDecoder, RefusesPixelsWithAWrongChecksum) {
    Bytes file = greyFile();
    file[file.size() - pngEnd().size() - 1] ^= 1;
    EXPECT_EQ(decodedSilently(file).picture, noPicture);
}

TEST(PngDecoder, RefusesAHeaderThatPngDoesNotKnow) {
    const auto picture = [](std::uint32_t width, std::uint32_t height, std::uint8_t depth, int colour) {
        return decodedSilently(pngSignature() +
                               pngHeader(width, height, depth, static_cast<PngColour>(colour)) +
                               pngPixels({0, 0, 0, 0, 0}) + pngEnd())
            .picture;
    };
    EXPECT_EQ(picture(1, 1, 8, 0).format, 3u);
    EXPECT_EQ(picture(0, 1, 8, 0), noPicture);
    EXPECT_EQ(picture(1, 0, 8, 0), noPicture);
    EXPECT_EQ(picture(1, 1, 3, 0), noPicture);
    EXPECT_EQ(picture(1, 1, 32, 0), noPicture);
    EXPECT_EQ(picture(1, 1, 8, 1), noPicture);
    EXPECT_EQ(picture(1, 1, 8, 5), noPicture);
    EXPECT_EQ(picture(1, 1, 8, 7), noPicture);
    EXPECT_EQ(picture(1, 1, 16, 3), noPicture);
}

TEST(PngDecoder, RefusesAPaletteThatIsMissing) {
    const Bytes file = pngSignature() + pngHeader(1, 1, 8, PngColour::palette) + pngPixels({0, 0}) + pngEnd();
    EXPECT_EQ(decodedSilently(file).picture, noPicture);
}

TEST(PngDecoder, RefusesSizesThatNoMemoryHolds) {
    for (const auto& [width, height] : {std::pair{0x7FFFFFFFu, 0x7FFFFFFFu},
                                        {0xFFFFFFFFu, 1u},
                                        {1u, 0xFFFFFFFFu},
                                        {1000000u, 1000000u},
                                        {65536u, 65536u}}) {
        const Bytes file =
            pngSignature() + pngHeader(width, height, 16, PngColour::rgba) + pngPixels({0}) + pngEnd();
        EXPECT_EQ(decodedSilently(file).picture, noPicture) << width << ' ' << height;
    }
}

TEST(PngDecoder, RefusesAPictureAboveTheByteLimit) {
    image_t::setByteLimit(4);
    EXPECT_EQ(decoded(greyFile()).picture, greyPicture);
    image_t::setByteLimit(3);
    EXPECT_EQ(decoded(greyFile()).picture, noPicture);
    image_t::setByteLimit(image_t::defaultByteLimit);
}

TEST(PngDecoder, GivesAnEmptyImageWhereMemoryIsShort) {
    const Bytes file = greyFile();
    const Support::ArrayShortage shortage;
    EXPECT_EQ(decoded(file).picture, noPicture);
}

TEST(PngDecoder, GivesAnEmptyImageWhereLibpngHasNoMemoryToBeginWith) {
    using Support::LibpngStep;
    const Bytes file = greyFile();
    for (const LibpngStep step :
         {LibpngStep::readStructure, LibpngStep::infoStructure, LibpngStep::errorReturn}) {
        const Support::LibpngShortage shortage(step);
        EXPECT_EQ(decoded(file).picture, noPicture) << static_cast<int>(step);
    }
    EXPECT_EQ(decoded(file).picture, greyPicture);
}

TEST(PngDecoder, RefusesATransparencyChunkThatAddsAChannel) {
    const Bytes grey = pngSignature() + pngHeader(2, 1, 2, PngColour::grey) + pngChunk("tRNS", Bytes{0, 1}) +
                       pngPixels({0, 0x70}) + pngEnd();
    EXPECT_EQ(decodedSilently(grey).picture, noPicture);
    const Bytes palette = pngSignature() + pngHeader(2, 1, 8, PngColour::palette) +
                          pngChunk("PLTE", Bytes{1, 2, 3, 4, 5, 6}) + pngChunk("tRNS", Bytes{0x80}) +
                          pngPixels({0, 0, 1}) + pngEnd();
    EXPECT_EQ(decodedSilently(palette).picture, noPicture);
}

TEST(PngDecoder, IgnoresATransparencyChunkThatAddsNoChannel) {
    const Bytes grey = pngSignature() + pngHeader(2, 1, 8, PngColour::grey) + pngChunk("tRNS", Bytes{0, 7}) +
                       pngPixels({0, 7, 9}) + pngEnd();
    EXPECT_EQ(decoded(grey).picture, (Picture{3, 2, 1, {7, 9}}));
}

TEST(PngDecoder, KeepsTheExceptionsOfAStreamToItself) {
    const Bytes file = greyFile();
    testing::internal::CaptureStderr();
    for (std::size_t length = 0; length < file.size(); ++length) {
        const Bytes cut = beginningOf(file, length);
        Korva::mybuf memory(cut.data(), cut.size());
        const Picture expected = decodeFrom(memory).picture;
        PiecewiseBuffer pieces(cut, 7);
        std::istream stream(&pieces);
        stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
        std::string text;
        EXPECT_NO_THROW(EXPECT_EQ(pictureOf(Korva::decodePng(stream, text)), expected)) << length;
    }
    testing::internal::GetCapturedStderr();
}

TEST(PngDecoder, TakesAStreamBufferThatThrowsForTheEndOfTheFile) {
    const Bytes file = greyFile();
    testing::internal::CaptureStderr();
    for (std::size_t length = 0; length < file.size(); ++length) {
        const Bytes cut = beginningOf(file, length);
        PiecewiseBuffer pieces(cut, 7, PiecewiseBuffer::AtEnd::throwException);
        const bool holdsPixels = length >= file.size() - pngEnd().size();
        EXPECT_EQ(decodeFrom(pieces).picture, holdsPixels ? greyPicture : noPicture) << length;
    }
    testing::internal::GetCapturedStderr();
}

TEST(PngDecoder, GivesAnEmptyImageFromAStreamThatHasFailed) {
    const Bytes file = greyFile();
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    stream.setstate(std::ios::failbit);
    std::string text;
    EXPECT_EQ(pictureOf(Korva::decodePng(stream, text)), noPicture);
    std::istream withoutBuffer(nullptr);
    EXPECT_EQ(pictureOf(Korva::decodePng(withoutBuffer, text)), noPicture);
}

} // namespace
