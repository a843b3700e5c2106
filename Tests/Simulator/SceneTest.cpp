#include "Camera/Scene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace Simulator {

using ::testing::Each;

namespace {

constexpr PictureSize small{96, 72};

Picture rendered(SceneKind scene, unsigned exposureUnits = fittingExposureUnits, unsigned channels = 3,
                 std::uint64_t seed = 1) {
    return renderScene(scene, small, channels, exposureUnits, seed);
}

double meanOf(const Picture& picture) {
    return std::accumulate(picture.samples.begin(), picture.samples.end(), 0.0) /
           static_cast<double>(picture.samples.size());
}

std::uint16_t brightest(const Picture& picture) {
    return std::ranges::max(picture.samples);
}

} // namespace

TEST(Scene, ReadsItsNamesAndNoOthers) {
    for (const auto& [text, scene] :
         {std::pair("grid", Scene{SceneKind::grid, ""}), std::pair("ramp", Scene{SceneKind::ramp, ""}),
          std::pair("black", Scene{SceneKind::black, ""}), std::pair("white", Scene{SceneKind::white, ""}),
          std::pair("noise", Scene{SceneKind::noise, ""}),
          std::pair("file:/a b.png", Scene{SceneKind::file, "/a b.png"})}) {
        EXPECT_EQ(parseScene(text), scene);
        EXPECT_EQ(scene.describe(), text);
    }
    for (const char* text : {"", "Grid", "file:", "file", "grid "})
        EXPECT_THROW(parseScene(text), std::invalid_argument) << text;
}

TEST(Scene, HasAsManySamplesAsAsked) {
    for (const SceneKind scene :
         {SceneKind::grid, SceneKind::ramp, SceneKind::black, SceneKind::white, SceneKind::noise})
        for (const unsigned channels : {1U, 3U}) {
            const Picture picture = rendered(scene, 15, channels);
            EXPECT_EQ(picture.samples.size(), 96U * 72 * channels);
            EXPECT_EQ(picture.channels, channels);
            EXPECT_EQ(picture.size, small);
            EXPECT_EQ(renderScene(scene, {1, 1}, channels, 15, 1).samples.size(), channels);
        }
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
            EXPECT_LE(brightest(picture), 16384);
            before = meanOf(picture);
        }
        EXPECT_EQ(brightest(rendered(scene, 60)), 16384);
    }
    EXPECT_GT(meanOf(rendered(SceneKind::grid, 3600)), 16300);
}

TEST(Scene, GridUsesTheRangeAtTheFittingExposureWithoutSaturating) {
    const Picture picture = renderScene(SceneKind::grid, {419, 316}, 1, fittingExposureUnits, 1);
    EXPECT_GT(brightest(picture), 13000);
    const auto saturated = std::ranges::count(picture.samples, saturatedSample);
    EXPECT_LT(static_cast<double>(saturated), 0.01 * static_cast<double>(picture.samples.size()));
}

TEST(Scene, GridIsNotBlackAtTheShortestExposure) {
    const Picture picture = rendered(SceneKind::grid, 1, 1);
    const auto lit = std::ranges::count_if(picture.samples, [](std::uint16_t sample) { return sample > 64; });
    EXPECT_GT(static_cast<double>(lit), 0.05 * static_cast<double>(picture.samples.size()));
}

TEST(Scene, GridIsNoisierWhereItIsBrighter) {
    const Picture one = renderScene(SceneKind::grid, {419, 316}, 1, fittingExposureUnits, 1);
    const Picture two = renderScene(SceneKind::grid, {419, 316}, 1, fittingExposureUnits, 2);
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
    // The rings of the corner targets, where the camera sees them: pixel places of a 419 x 316 picture.
    const Picture picture = renderScene(SceneKind::grid, {419, 316}, 3, fittingExposureUnits, 1);
    struct Corner {
        std::size_t column;
        std::size_t row;
        std::size_t strongest;
    };
    for (const auto& [column, row, strongest] :
         {Corner{126, 82, 0}, Corner{290, 89, 1}, Corner{123, 176, 2}}) {
        const auto* const pixel = &picture.samples[(row * 419 + column) * 3];
        EXPECT_GT(pixel[strongest], 3 * pixel[(strongest + 1) % 3] / 2) << "target of channel " << strongest;
        EXPECT_GT(pixel[strongest], 3 * pixel[(strongest + 2) % 3] / 2) << "target of channel " << strongest;
    }
}

TEST(Scene, RampRisesFromBlackToSaturation) {
    const Picture picture = renderScene(SceneKind::ramp, {5, 2}, 1, fittingExposureUnits, 1);
    EXPECT_THAT(picture.samples,
                ::testing::ElementsAre(0, 4096, 8192, 12288, 16384, 0, 4096, 8192, 12288, 16384));
    EXPECT_THAT(renderScene(SceneKind::ramp, {5, 1}, 1, 30, 1).samples,
                ::testing::ElementsAre(0, 8192, 16384, 16384, 16384));
}

TEST(Scene, BlackIsAllZeroAndWhiteAllSaturated) {
    EXPECT_THAT(rendered(SceneKind::black, 3600).samples, Each(0));
    EXPECT_THAT(rendered(SceneKind::white, 1).samples, Each(16384));
}

TEST(Scene, NoiseSpreadsOverTheRange) {
    const Picture picture = rendered(SceneKind::noise);
    EXPECT_NEAR(meanOf(picture), 8192, 200);
    EXPECT_LT(std::ranges::min(picture.samples), 100);
    EXPECT_GT(brightest(picture), 16284);
}

} // namespace Simulator
