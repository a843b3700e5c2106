// The decoders and the reduction on thousands of drawn files, right and damaged, against other readers.
// KORVA_SEED=S draws others, KORVA_TIMES=N so many times as many.

#include "Draws.h"
#include "Pictures.h"
#include "ReducedPictures.h"

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "NativeCameraKorva/KorvaSampleKernels.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <sstream>
#include <string>

using namespace Attack;
using Faults::agree;
using Faults::flawOf;
using Faults::greyOf;
using Faults::Picture;
using Faults::pngPicture;
using Faults::sgiPicture;
using Fuzz::isReduction;

namespace {

constexpr std::size_t mostBytes = std::size_t{1} << 20;

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

Picture pictureOf(const image_t& image) {
    Picture picture{static_cast<unsigned>(image.width), image.height, image_t::channels(image.format),
                    (image.format & image_t::depth16) != 0};
    const std::size_t bytes = picture.has16Bits ? 2 : 1;
    for (std::size_t i = 0; i < picture.pixels() * picture.channels; ++i) {
        std::uint16_t sample = 0;
        std::memcpy(&sample, image.pixels.get() + i * bytes, bytes);
        picture.samples.push_back(sample);
    }
    return picture;
}

template <class Decode, class... Arguments>
auto decodedFrom(const Decode& decode, const Bytes& file, Arguments&... arguments) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    return decode(stream, arguments...);
}

image_t decodedSgi(const Bytes& file) {
    return decodedFrom(Korva::decodeSgi, file);
}

image_t decodedPng(const Bytes& file) {
    std::string text;
    return decodedFrom(Korva::decodePng, file, text);
}

/// Each draw has a seed of its own, which a failure tells; as KORVA_SEED it is the first draw.
struct DecoderDifference : testing::TestWithParam<std::int64_t> {
    DecoderDifference() { image_t::setByteLimit(mostBytes); }
    ~DecoderDifference() override { hwy::SetSupportedTargetsForTest(0); }

    /// Checks so many draws, times KORVA_TIMES, or up to the first that fails; prints what is said of them.
    template <typename Check>
    static void draw(std::uint64_t files, const std::string& claim, const Check& check) {
        const std::uint64_t count = files * numberFrom("KORVA_TIMES", 1);
        const std::uint64_t seed = numberFrom("KORVA_SEED", 1);
        std::uint64_t compared = 0;
        for (std::uint64_t each = seed; each < seed + count && !HasFailure(); ++each) {
            SCOPED_TRACE("KORVA_SEED=" + std::to_string(each));
            Random random(each);
            compared += check(random) ? 1 : 0;
        }
        EXPECT_GT(compared, count / 3); // or the draws are no pictures
        if (!HasFailure())
            std::printf(
                "figure: %s, from seed %llu: %llu files, of which %llu are pictures, none read differently\n",
                claim.c_str(), static_cast<unsigned long long>(seed), static_cast<unsigned long long>(count),
                static_cast<unsigned long long>(compared));
    }
};

TEST_F(DecoderDifference, PngFilesAreReadAsLibpngsSimpleReaderReadsThem) {
    testing::internal::CaptureStderr(); // libpng complains of each
    draw(10'000, "PNG files against libpng's simple reader", [](Random& random) {
        const PngKind kind = anyPngKind(random);
        Bytes file = pngOfNoise(random, kind);
        if (random.oneIn(2))
            damagePng(random, file);
        const image_t image = decodedPng(file);
        const Picture decoded = pictureOf(image);
        EXPECT_TRUE(agree(decoded, pngPicture(file, mostBytes)));
        for (const unsigned int samples : {1u, 3u})
            EXPECT_TRUE(isReduction(decodedFrom(Korva::decodeReducedPng, file, samples), decodedPng(file),
                                    samples, true));
        return decoded.pixels() != 0;
    });
    testing::internal::GetCapturedStderr();
}

TEST_P(DecoderDifference, SgiFilesAreReadAndReducedAsPlainLoopsDoIt) {
    hwy::SetSupportedTargetsForTest(GetParam());
    const std::string claim = std::string("SGI files against plain loops, ") + hwy::TargetName(GetParam());
    draw(1'000, claim, [](Random& random) {
        static constexpr unsigned channels[] = {1, 3, 3, 4};
        const auto side = [&random] { return 1 + static_cast<unsigned>(random.below(90)); };
        Bytes file = sgiOfNoise(random, side(), side(), random.of(channels));
        if (random.oneIn(2))
            damage(random, file, 20);
        const Picture expected = sgiPicture(file, mostBytes);
        const image_t image = decodedSgi(file);
        std::istringstream otherStream(std::string(file.begin(), file.end()));
        EXPECT_TRUE(pictureOf(image) == expected && pictureOf(Korva::decodeSgi(otherStream)) == expected);
        for (const unsigned int samples : {1u, 3u})
            EXPECT_TRUE(
                isReduction(decodedFrom(Korva::decodeReducedSgi, file, samples), decodedSgi(file), samples));
        if (expected.pixels() == 0 || !flawOf(expected, 1).empty())
            return false;
        const Bytes grey = greyOf(expected, 1);
        Korva::reduceSamples(image.pixels.get(), expected.pixels(), 1);
        EXPECT_EQ(std::memcmp(image.pixels.get(), grey.data(), grey.size()), 0);
        return true;
    });
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, DecoderDifference,
                         testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& target) { return std::string(hwy::TargetName(target.param)); });

} // namespace
