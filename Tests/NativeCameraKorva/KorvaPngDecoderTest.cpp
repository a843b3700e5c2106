#include "Decoding.h"

#include "Support/LibpngShortage.h"
#include "Support/PictureFiles.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <random>
#include <string_view>
#include <utility>

namespace DecodingTests {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using Support::pngChunk;
using Support::PngColour;
using Support::pngEnd;
using Support::pngHeader;
using Support::pngPixels;
using Support::pngSignature;
using TestSupport::beginningOf;

Decoded decoded(const Bytes& file) {
    return DecodingTests::decoded(decodePng, file);
}

/// A file of one pixels chunk, whose rows stand behind their filter bytes.
Bytes fileOf(const Bytes& header, const Bytes& rows, const Bytes& beforePixels = {}) {
    return pngSignature() + header + beforePixels + pngPixels(rows) + pngEnd();
}

const Bytes greyHeader = pngHeader(2, 1, 16, PngColour::grey);
const Bytes greyRow{0, 0x12, 0x34, 0x3F, 0xFF};
const Picture greyPicture{19, 2, 1, {0x34, 0x12, 0xFF, 0x3F}};

/// A 2 x 1 16-bit grey picture with the chunks in between.
Bytes greyFile(const Bytes& beforePixels = {}, const Bytes& afterPixels = {}) {
    return pngSignature() + greyHeader + beforePixels + pngPixels(greyRow) + afterPixels + pngEnd();
}

Bytes textChunk(std::string_view keyAndText) {
    return pngChunk("tEXt", keyAndText);
}

TEST(PngDecoder, GivesTheFirstTextBeforeThePixels) {
    const Bytes many = [] {
        Bytes texts = textChunk("Title\0first"sv);
        for (int i = 0; i < 40; ++i) // libpng by itself keeps 1000
            texts = texts + textChunk("Title\0more"sv);
        return texts;
    }();
    const struct {
        const char* what;
        Bytes before;
        std::string text;
    } rows[] = {
        {"none", {}, untouchedText},
        {"two", textChunk("Title\0first"sv) + textChunk("Title\0second"sv), "first"},
        {"any key", textChunk("Zzz\0any"sv) + textChunk("Title\0t"sv), "any"},
        {"no characters", textChunk("Title\0"sv), ""},
        {"a chunk of no bytes, which is not the file's end", textChunk(""), ""},
        {"international", pngChunk("iTXt", "Title\0\0\0de\0Titel\0Gr\xC3\xBC\xC3\x9F"sv),
         "Gr\xC3\xBC\xC3\x9F"},
        {"more than are kept", many, "first"},
    };
    for (const auto& row : rows) {
        const Decoded result = decoded(greyFile(row.before));
        EXPECT_EQ(result.text, row.text) << row.what;
        EXPECT_EQ(result.picture, greyPicture) << row.what;
    }
    EXPECT_NE(decoded(greyFile(many)).complaint.find("no space in chunk cache"), std::string::npos);
    const Decoded late = decoded(greyFile({}, textChunk("Title\0late"sv)));
    EXPECT_EQ(late.picture, greyPicture);
    EXPECT_EQ(late.text, untouchedText);
}

TEST(PngDecoder, PassesOverATextThatUnpacksToMoreThanAMillionBytes) {
    for (const std::size_t length : {900'000u, 1'100'000u}) {
        const Bytes keyAndMethod{'K', 0, 0};
        const Decoded result =
            decoded(greyFile(pngChunk("zTXt", keyAndMethod + Support::packed(Bytes(length, 'x')))));
        EXPECT_EQ(result.picture, greyPicture);
        EXPECT_TRUE(result.text == (length < 1'000'000 ? std::string(length, 'x') : untouchedText));
    }
}

TEST(PngDecoder, SaysNothingAboutAGoodFile) {
    EXPECT_EQ(decoded(greyFile()).complaint, "");
    EXPECT_EQ(decoded(Support::readFile(KORVA_TEST_PICTURES "/rgb8-interlaced.png")).complaint, "");
}

TEST(PngDecoder, GivesPictureAndTextOnlyOnceTheLastOfThePixelsIsChecked) {
    const Bytes file = greyFile(textChunk("Title\0t"sv));
    const std::size_t endOfPixels = file.size() - pngEnd().size();
    for (std::size_t length = 0; length < file.size(); ++length) {
        const Bytes cut = beginningOf(file, length);
        PiecewiseBuffer throwing(cut, 7, PiecewiseBuffer::AtEnd::throwException);
        for (const Decoded& result : {decoded(cut), decodedFrom(decodePng, throwing)}) {
            EXPECT_EQ(result.picture, length >= endOfPixels ? greyPicture : noPicture) << length;
            EXPECT_EQ(result.text, length >= endOfPixels ? "t" : untouchedText) << length;
        }
    }
    Bytes wrongSum = file;
    wrongSum[endOfPixels - 1] ^= 1;
    const Bytes shortRow = fileOf(greyHeader, {0, 0x12}, textChunk("Title\0t"sv));
    for (const Bytes& broken : {wrongSum, shortRow}) {
        EXPECT_EQ(decoded(broken).picture, noPicture);
        EXPECT_EQ(decoded(broken).text, untouchedText);
    }
}

// How much is read.

constexpr std::size_t mebi = std::size_t{1} << 20;
const std::size_t headBytes = (pngSignature() + greyHeader).size();

struct Stopped {
    Picture picture;
    std::size_t bytesRead;
    std::size_t complaintBytes;
};

/// How far the decoder comes with `file`, and how long libpng's complaints are.
Stopped decodedUntilItStops(const Bytes& file) {
    Korva::mybuf memory(file.data(), file.size());
    const Decoded result = decodedFrom(decodePng, memory);
    return {result.picture, file.size() - memory.unread().size(), result.complaint.size()};
}

Bytes repeated(const Bytes& chunk, std::size_t count) {
    Bytes all;
    for (std::size_t i = 0; i < count; ++i)
        all.insert(all.end(), chunk.begin(), chunk.end());
    return all;
}

TEST(PngDecoder, TakesAMebibyteBeforeThePixelsAndNotAByteMore) {
    const std::string longest(mebi - headBytes - textChunk("Title\0"sv).size(), 'x');
    const Decoded most = decoded(greyFile(textChunk("Title\0"s + longest)));
    EXPECT_EQ(most.picture, greyPicture);
    EXPECT_TRUE(most.text == longest);
    const Decoded above = decoded(greyFile(textChunk("Title\0"s + longest + 'x')));
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
    Bytes interlaced(greyHeader.begin() + 8, greyHeader.end() - 4);
    interlaced.back() = 1;
    const Bytes rowsOfPasses{0, 0x12, 0x34, 0, 0x3F, 0xFF};
    for (const auto& [header, rows] :
         {std::pair{greyHeader, greyRow}, std::pair{pngChunk("IHDR", interlaced), rowsOfPasses}}) {
        const auto file = [&header = header, &rows = rows](std::size_t excess) {
            Bytes unpacked = rows;
            std::minstd_rand noise; // which cannot be packed
            std::generate_n(std::back_inserter(unpacked), excess, std::ref(noise));
            return fileOf(header, unpacked);
        };
        EXPECT_EQ(decoded(file(64'000)).picture, greyPicture);
        const Stopped stopped = decodedUntilItStops(file(200'000));
        EXPECT_EQ(stopped.picture, noPicture);
        EXPECT_LE(stopped.bytesRead, headBytes + 8 + 8192 + 65536);
    }
}

TEST(PngDecoder, TakesNoMemoryForATextThatIsOnlyAnnounced) {
    Bytes text = textChunk("Title\0t"sv);
    text[0] = 0x40; // 1 GiB and 7 bytes
    const std::size_t before = TestSupport::peakBytes();
    EXPECT_EQ(decoded(greyFile(text)).picture, noPicture);
    EXPECT_LT(TestSupport::peakBytes() - before, 64u << 20);
}

TEST(PngDecoder, DoesNotReadOnBehindTheEndOfAFileWhoseChunkIsOnlyAnnounced) {
    Bytes chunk = pngChunk("prIv", "some"); // of a kind that libpng does not know and passes over
    chunk[0] = 0x7F;                        // 2 GiB
    const Decoded result = decoded(greyFile(chunk));
    EXPECT_EQ(result.picture, noPicture);
    EXPECT_NE(result.complaint.find("the file has ended"), std::string::npos);
}

TEST(PngDecoder, GivesAnEmptyImageWhereLibpngHasNoMemoryToBeginWith) {
    using Support::LibpngStep;
    for (const LibpngStep step :
         {LibpngStep::readStructure, LibpngStep::infoStructure, LibpngStep::errorReturn}) {
        const Support::LibpngShortage shortage(step);
        EXPECT_EQ(decoded(greyFile()).picture, noPicture) << static_cast<int>(step);
    }
}

} // namespace
} // namespace DecodingTests
