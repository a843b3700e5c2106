#include "Camera/Scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace Simulator {

using ::testing::Each;
using ::testing::ElementsAre;

namespace {

constexpr PictureSize small{96, 72};
constexpr PictureSize quarter{419, 316}; ///< of a camera's picture, in each direction

Picture rendered(SceneKind scene, unsigned exposureUnits = fittingExposureUnits, unsigned channels = 3,
                 std::uint64_t seed = 1) {
    return renderScene(scene, small, channels, exposureUnits, seed);
}

Picture quarterGrid(unsigned channels, std::uint64_t seed = 1) {
    return renderScene(SceneKind::grid, quarter, channels, fittingExposureUnits, seed);
}

double meanOf(const Picture& picture) {
    return std::accumulate(picture.samples.begin(), picture.samples.end(), 0.0) /
           static_cast<double>(picture.samples.size());
}

/// The part of its samples that are at least so bright.
double partFrom(const Picture& picture, std::uint16_t least) {
    const auto found =
        std::ranges::count_if(picture.samples, [&](std::uint16_t sample) { return sample >= least; });
    return static_cast<double>(found) / static_cast<double>(picture.samples.size());
}

} // namespace

TEST(Scene, ReadsItsNamesAndNoOthersAndHasAsManySamplesAsAsked) {
    for (const auto& [text, scene] :
         {std::pair("grid", Scene{SceneKind::grid, ""}), std::pair("ramp", Scene{SceneKind::ramp, ""}),
          std::pair("black", Scene{SceneKind::black, ""}), std::pair("white", Scene{SceneKind::white, ""}),
          std::pair("noise", Scene{SceneKind::noise, ""}),
          std::pair("file:/a b.png", Scene{SceneKind::file, "/a b.png"})}) {
        EXPECT_EQ(parseScene(text), scene);
        EXPECT_EQ(scene.describe(), text);
        if (scene.kind == SceneKind::file)
            continue;
        for (const unsigned channels : {1U, 3U}) {
            const Picture picture = rendered(scene.kind, 15, channels);
            EXPECT_EQ(picture.samples.size(), 96U * 72 * channels);
            EXPECT_EQ(picture.channels, channels);
            EXPECT_EQ(picture.size, small);
            EXPECT_EQ(renderScene(scene.kind, {1, 1}, channels, 15, 1).samples.size(), channels);
        }
    }
    for (const char* text : {"", "Grid", "file:", "file", "grid "})
        EXPECT_THROW(parseScene(text), std::invalid_argument) << text;
}

TEST(Scene, IsTheSameForTheSameSeedAndHasOtherNoiseForAnother) {
    for (const SceneKind scene : {SceneKind::grid, SceneKind::noise}) {
        const Picture one = rendered(scene, 15, 3, 1);
        EXPECT_EQ(rendered(scene, 15, 3, 1).samples, one.samples);
        EXPECT_NE(rendered(scene, 15, 3, 2).samples, one.samples);
    }
}

TEST(Scene, GrowsBrighterWithTheExposureUntilItSaturates) {
    for (const SceneKind scene : {SceneKind::grid, SceneKind::ramp, SceneKind::noise}) {
        double before = -1;
        for (const unsigned exposure : {1U, 5U, 15U, 60U, 300U}) {
            const Picture picture = rendered(scene, exposure);
            EXPECT_GT(meanOf(picture), before) << exposure;
            EXPECT_LE(std::ranges::max(picture.samples), 16384);
            before = meanOf(picture);
        }
        EXPECT_EQ(std::ranges::max(rendered(scene, 60).samples), 16384);
    }
    EXPECT_GT(meanOf(rendered(SceneKind::grid, 3600)), 16300);
}

TEST(Scene, GridUsesTheRangeAtTheFittingExposureAndIsNotBlackAtTheShortest) {
    EXPECT_GT(std::ranges::max(quarterGrid(1).samples), 13000);
    EXPECT_LT(partFrom(quarterGrid(1), saturatedSample), 0.01);
    EXPECT_GT(partFrom(rendered(SceneKind::grid, 1, 1), 65), 0.05);
}

TEST(Scene, GridIsNoisierWhereItIsBrighter) {
    const Picture one = quarterGrid(1, 1);
    const Picture two = quarterGrid(1, 2);
    const auto meanDifference = [&](int least, int most) {
        double sum = 0;
        double count = 0;
        for (std::size_t index = 0; index < one.samples.size(); ++index)
            if (one.samples[index] >= least && one.samples[index] <= most) {
                sum += std::abs(one.samples[index] - two.samples[index]);
                ++count;
            }
        return sum / count;
    };
    EXPECT_GT(meanDifference(0, 1000), 5);
    EXPECT_GT(meanDifference(11000, 16000), 2 * meanDifference(0, 1000));
}

TEST(Scene, GridShowsItsTargetsInTheirColours) {
    // The rings of the corner targets, where the camera sees them.
    const Picture picture = quarterGrid(3);
    std::size_t strongest = 0;
    for (const auto& [column, row] : {std::pair(126U, 82U), std::pair(290U, 89U), std::pair(123U, 176U)}) {
        const auto* const pixel = &picture.samples[(row * quarter.width + column) * 3];
        EXPECT_GT(pixel[strongest], 3 * pixel[(strongest + 1) % 3] / 2) << "target of channel " << strongest;
        EXPECT_GT(pixel[strongest], 3 * pixel[(strongest + 2) % 3] / 2) << "target of channel " << strongest;
        ++strongest;
    }
}

TEST(Scene, RampRisesFromBlackToSaturationAndTheOthersAreBlackWhiteAndSpread) {
    EXPECT_THAT(renderScene(SceneKind::ramp, {5, 2}, 1, fittingExposureUnits, 1).samples,
                ElementsAre(0, 4096, 8192, 12288, 16384, 0, 4096, 8192, 12288, 16384));
    EXPECT_THAT(renderScene(SceneKind::ramp, {5, 1}, 1, 30, 1).samples,
                ElementsAre(0, 8192, 16384, 16384, 16384));
    EXPECT_THAT(rendered(SceneKind::black, 3600).samples, Each(0));
    EXPECT_THAT(rendered(SceneKind::white, 1).samples, Each(16384));
    const Picture noise = rendered(SceneKind::noise);
    EXPECT_NEAR(meanOf(noise), 8192, 200);
    EXPECT_LT(std::ranges::min(noise.samples), 100);
    EXPECT_GT(std::ranges::max(noise.samples), 16284);
}

} // namespace Simulator
