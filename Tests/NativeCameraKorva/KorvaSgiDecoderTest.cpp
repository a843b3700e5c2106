#include "Decoding.h"

#include "Support/PictureFiles.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <string>
#include <vector>

namespace DecodingTests {
namespace {

Picture decoded(const Bytes& file) {
    return DecodingTests::decoded(decodeSgi, file).picture;
}

/// A 2 x 2 colour picture. That its pixels are the right ones is shown by the files of other programs.
struct SgiDecoder : ::testing::Test {
    const Bytes file = TestSupport::sgiFile({2, 2, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}});
    const Picture colours = decoded(file);

    /// The file with those bytes instead, up to `end`.
    Bytes with(std::size_t begin, std::size_t end, unsigned char byte) const {
        Bytes changed = file;
        std::fill(changed.begin() + static_cast<std::ptrdiff_t>(begin),
                  changed.begin() + static_cast<std::ptrdiff_t>(end), byte);
        return changed;
    }
};

TEST_F(SgiDecoder, IgnoresTheRestOfTheHeaderAndWhatFollowsThePixels) {
    EXPECT_EQ(decoded(with(12, 512, 0xFF) + Bytes{1, 2, 3}), colours);
}

TEST_F(SgiDecoder, GivesAPictureOfNoPixelsItsSize) {
    EXPECT_EQ(decoded(with(6, 8, 0)), (Picture{17, 0, 2, {}}));
    EXPECT_EQ(decoded(with(8, 10, 0)), (Picture{17, 2, 0, {}}));
}

TEST_F(SgiDecoder, StartsWhereTheStreamStandsAndLeavesItBehindThePixels) {
    const Bytes framed = Bytes{'a', 'b', 'c'} + file + Bytes{'x'};
    Korva::mybuf memory(framed.data(), framed.size());
    PiecewiseBuffer pieces(framed, 7);
    for (std::streambuf* const buffer :
         {static_cast<std::streambuf*>(&memory), static_cast<std::streambuf*>(&pieces)}) {
        std::istream stream(buffer);
        stream.ignore(3);
        EXPECT_EQ(decodeSgi(stream).picture, colours);
        EXPECT_EQ(buffer->sgetc(), 'x');
    }
}

TEST_F(SgiDecoder, JudgesEachFieldOfTheHeader) {
    const struct {
        const char* field;
        std::size_t offset;
        std::size_t width;
        std::map<int, std::uint32_t> formats; ///< of the values that are accepted
    } rows[] = {
        {"magic", 0, 2, {{474, 17}}},
        {"storage", 2, 1, {{0, 17}}},
        {"bytes per sample", 3, 1, {{1, 1}, {2, 17}}},
        {"dimension", 4, 2, {{1, 17}, {2, 17}, {3, 17}}},
        {"channels", 10, 2, {{1, 19}, {3, 17}, {4, 18}}},
    };
    std::vector<int> values(256);
    std::iota(values.begin(), values.end(), 0);
    values.insert(values.end(), {256, 257, 473, 474, 475, 474 + 256, 0xDA01, 65535});
    for (const auto& row : rows) {
        for (const int value : values) {
            if (row.width == 1 && value > 255)
                continue;
            SCOPED_TRACE(std::string(row.field) + ' ' + std::to_string(value));
            Bytes changed = file;
            changed[row.offset] = static_cast<unsigned char>(row.width == 1 ? value : value >> 8);
            changed[row.offset + row.width - 1] = static_cast<unsigned char>(value);
            const Picture picture = decoded(changed);
            const auto accepted = row.formats.find(value);
            EXPECT_EQ(picture == noPicture, accepted == row.formats.end());
            EXPECT_EQ(picture.format, accepted == row.formats.end() ? 0 : accepted->second);
            EXPECT_EQ(picture == colours, picture.format == 17);
        }
    }
}

TEST_F(SgiDecoder, TakesAStreamBufferThatThrowsForTheEndOfTheFile) {
    // One file row is 4 bytes: the first is delivered, the second is lost with the exception in its middle.
    PiecewiseBuffer pieces(TestSupport::beginningOf(file, 518), 512, PiecewiseBuffer::AtEnd::throwException);
    EXPECT_EQ(decodedFrom(decodeSgi, pieces).picture, decoded(with(516, file.size(), 0)));
    PiecewiseBuffer nothing({}, 1, PiecewiseBuffer::AtEnd::throwException);
    EXPECT_EQ(decodedFrom(decodeSgi, nothing).picture, noPicture);
}

} // namespace
} // namespace DecodingTests
