// What holds of either decoder, whatever the format.

#include "Decoding.h"

#include "Support/ArrayAllocations.h"
#include "Support/Beginning.h"
#include "Support/SamplePictures.h"

#include <ostream>

namespace DecodingTests {
namespace {

struct Format {
    std::string name;
    Decoder decoder;
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
}

TEST_P(EitherDecoder, GivesAnEmptyImageWhereMemoryIsShort) {
    const Support::ArrayShortage shortage;
    EXPECT_EQ(decodedPicture(), noPicture);
}

TEST_P(EitherDecoder, RefusesAPictureAboveTheByteLimit) {
    image_t::setByteLimit(picture.pixels.size());
    EXPECT_EQ(decodedPicture(), picture);
    image_t::setByteLimit(picture.pixels.size() - 1);
    EXPECT_EQ(decodedPicture(), noPicture);
    image_t::setByteLimit(image_t::defaultByteLimit);
}

const TestSupport::Samples samples{2, 1, 1, {0x1234, 0x3FFF}};
const Picture grey{19, 2, 1, {0x34, 0x12, 0xFF, 0x3F}};

INSTANTIATE_TEST_SUITE_P(Of, EitherDecoder,
                         testing::Values(Format{"Png", decodePng, TestSupport::pngFile(samples), grey},
                                         Format{"Sgi", decodeSgi, TestSupport::sgiFile(samples), grey}),
                         [](const auto& format) { return format.param.name; });

} // namespace
} // namespace DecodingTests
