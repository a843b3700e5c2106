#include "Decoding.h"

#include "Support/Beginning.h"

#include <cstdint>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace DecodingTests {
namespace {

using Samples = std::vector<std::uint16_t>;
using Support::bigEndian;
using Support::SgiHeader;
using TestSupport::beginningOf;

Picture decoded(const Bytes& file) {
    return DecodingTests::decoded(decodeSgi, file).picture;
}

/// Samples as pixels.
Bytes littleEndian(const Samples& samples) {
    Bytes bytes;
    for (const std::uint16_t sample : samples) {
        bytes.push_back(static_cast<unsigned char>(sample));
        bytes.push_back(static_cast<unsigned char>(sample >> 8));
    }
    return bytes;
}

SgiHeader header(std::uint16_t width, std::uint16_t height, std::uint16_t channels) {
    SgiHeader header;
    header.width = width;
    header.height = height;
    header.channels = channels;
    return header;
}

// A 2 x 2 colour picture: each sample names its channel, its file row and its column.
const Samples colourPlanes{0xA100, 0xA101, 0xA110, 0xA111, 0xB200, 0xB201,
                           0xB210, 0xB211, 0xC300, 0xC301, 0xC310, 0xC311};
const Picture colours{17, 2, 2,
                      littleEndian({0xA110, 0xB210, 0xC310, 0xA111, 0xB211, 0xC311, 0xA100, 0xB200, 0xC300,
                                    0xA101, 0xB201, 0xC301})};
const Bytes colourFile = header(2, 2, 3).bytes() + bigEndian(colourPlanes);

TEST(SgiDecoder, InterleavesThePlanesAndPutsTheFirstRowAtTheBottom) {
    SgiHeader filled = header(2, 2, 3);
    filled.rest = 0xFF;
    const struct {
        const char* what;
        Bytes file;
        Picture picture;
    } rows[] = {
        {"the rest of the header, and what follows the pixels",
         filled.bytes() + bigEndian(colourPlanes) + Bytes{1, 2, 3}, colours},
        {"no width", header(0, 2, 3).bytes(), {17, 0, 2, {}}},
        {"no height", header(2, 0, 3).bytes(), {17, 2, 0, {}}},
        {"more than memory may hold", header(65535, 65535, 4).bytes(), noPicture},
    };
    for (const auto& row : rows)
        EXPECT_EQ(decoded(row.file), row.picture) << row.what;
}

TEST(SgiDecoder, StartsWhereTheStreamStandsAndLeavesItBehindThePixels) {
    const Bytes file = Bytes{'a', 'b', 'c'} + colourFile + Bytes{'x'};
    Korva::mybuf memory(file.data(), file.size());
    PiecewiseBuffer pieces(file, 7);
    for (std::streambuf* const buffer :
         {static_cast<std::streambuf*>(&memory), static_cast<std::streambuf*>(&pieces)}) {
        std::istream stream(buffer);
        stream.ignore(3);
        EXPECT_EQ(decodeSgi(stream).picture, colours);
        EXPECT_EQ(buffer->sgetc(), 'x');
    }
}

TEST(SgiDecoder, JudgesEachFieldOfTheHeader) {
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
            Bytes file = colourFile;
            file[row.offset] = static_cast<unsigned char>(row.width == 1 ? value : value >> 8);
            file[row.offset + row.width - 1] = static_cast<unsigned char>(value);
            const Picture picture = decoded(file);
            const auto accepted = row.formats.find(value);
            EXPECT_EQ(picture == noPicture, accepted == row.formats.end());
            EXPECT_EQ(picture.format, accepted == row.formats.end() ? 0 : accepted->second);
            EXPECT_EQ(picture == colours, picture.format == 17);
        }
    }
}

TEST(SgiDecoder, TakesAStreamBufferThatThrowsForTheEndOfTheFile) {
    // One file row is 4 bytes: the first is delivered, the second is lost with the exception in its middle.
    PiecewiseBuffer pieces(beginningOf(colourFile, 518), 512, PiecewiseBuffer::AtEnd::throwException);
    const Samples firstRow{0, 0, 0, 0, 0, 0, 0xA100, 0, 0, 0xA101, 0, 0};
    EXPECT_EQ(decodedFrom(decodeSgi, pieces).picture, (Picture{17, 2, 2, littleEndian(firstRow)}));
    PiecewiseBuffer nothing({}, 1, PiecewiseBuffer::AtEnd::throwException);
    EXPECT_EQ(decodedFrom(decodeSgi, nothing).picture, noPicture);
}

} // namespace
} // namespace DecodingTests
