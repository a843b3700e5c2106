#include "Diagnosis/PictureRules.h"

#include "Camera/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

using namespace Diagnosis;

namespace {

using Pixels = std::vector<unsigned char>;

PictureFacts measuredRow(const Pixels& pixels) {
    return measured(static_cast<std::uint32_t>(pixels.size()), 1, pixels);
}

/// So many of each value.
Pixels made(const std::vector<std::pair<std::size_t, int>>& parts) {
    Pixels pixels;
    for (const auto& [count, value] : parts)
        pixels.insert(pixels.end(), count, static_cast<unsigned char>(value));
    return pixels;
}

/// "CODE: TEXT; try REMEDY", a failure with "!" before it; "fit" of none.
std::string said(const std::optional<Verdict>& verdict) {
    if (!verdict)
        return "fit";
    return (verdict->severity == Severity::failure ? "!" : "") + verdict->code + ": " + verdict->text +
           "; try " + verdict->remedy;
}

/// What the plug-in makes of a scene of the simulator's.
PictureFacts sceneOf(Simulator::SceneKind scene, unsigned exposureUnits) {
    const Simulator::Picture picture = renderScene(scene, {400, 300}, 1, exposureUnits, 1);
    Pixels pixels;
    for (const std::uint16_t sample : picture.samples)
        pixels.push_back(static_cast<unsigned char>(std::min(sample / 64, 255)));
    return measured(400, 300, pixels);
}

} // namespace

TEST(PictureFacts, AreThoseOfEveryPixel) {
    Pixels pixels = made({{5, 0}, {85, 100}, {10, 255}});
    std::reverse(pixels.begin(), pixels.end());
    const PictureFacts facts = measured(20, 5, pixels);
    EXPECT_EQ(facts.width, 20u);
    EXPECT_EQ(facts.height, 5u);
    EXPECT_EQ(facts.minimum, 0u);
    EXPECT_EQ(facts.maximum, 255u);
    EXPECT_DOUBLE_EQ(facts.mean, 110.5);
    EXPECT_DOUBLE_EQ(facts.clipped, 0.1);
    EXPECT_DOUBLE_EQ(facts.black, 0.05);
    EXPECT_EQ(measuredRow({7}), (PictureFacts{1, 1, 7, 7, 7.0, 0.0, 0.0, 7, 7, 7}));
}

TEST(PictureFacts, PercentilesAreTheLeastValuesThatSoManyDoNotExceed) {
    for (const auto& [pixels, first, median, last] :
         {std::tuple{made({{10, 1}, {490, 2}, {495, 3}, {5, 4}}), 1u, 2u, 3u},
          {made({{9, 1}, {490, 2}, {495, 3}, {6, 4}}), 2u, 3u, 4u},
          {made({{1, 0}, {1, 255}}), 0u, 0u, 255u}}) {
        const PictureFacts facts = measuredRow(pixels);
        EXPECT_EQ(facts.percentile1, first);
        EXPECT_EQ(facts.percentile50, median);
        EXPECT_EQ(facts.percentile99_5, last);
    }
}

TEST(PictureVerdict, SaysWhatIsWrongAndWhichExposureToTry) {
    for (const auto& [pixels, units, text] : {
             std::tuple{made({{100, 200}}), 15, "fit"},
             {made({{100, 64}}), 15, "fit"},
             {made({{99, 200}, {1, 255}}), 15, "fit"},
             {made({{98, 200}, {2, 255}}), 15, "overexposed: 2.0 % overexposed; try --exposure 0.6"},
             {made({{75, 10}, {25, 255}}), 15, "overexposed: 25 % overexposed; try --exposure 0.6"},
             {made({{69, 10}, {31, 255}}), 15, "!overexposed: 31 % overexposed; try --exposure 0.6"},
             {made({{40, 10}, {60, 255}}), 100, "!overexposed: 60 % overexposed; try --exposure 1.5"},
             {made({{100, 255}}), 100, "!overexposed: 100 % overexposed; try --exposure 0.5"},
             {made({{100, 255}}), 1,
              "!overexposed: 100 % overexposed; try less light, or a smaller aperture"},
             {made({{100, 63}}), 15,
              "dark: dark: 99.5 % of it is no brighter than 63 of 255; try --exposure 4.9"},
             {made({{40, 0}, {60, 16}}), 5,
              "dark: dark: 99.5 % of it is no brighter than 16 of 255; try --exposure 6.4"},
             {made({{40, 0}, {60, 15}}), 5,
              "!dark: dark: 99.5 % of it is no brighter than 15 of 255; try --exposure 6.8"},
             {made({{999, 0}, {1, 255}}), 5, "!dark: 99.9 % black; try --exposure 8"},
             {made({{51, 0}, {49, 20}}), 3600, "dark: 51 % black; try more light, or open the lens cap"},
             // Beyond what each camera answers, unless this one has just answered a longer one.
             {made({{1, 0}}), 15,
              "!dark: 100 % black; try more light or a larger aperture, with --exposure 9: some cameras "
              "answer "
              "no longer one"},
             {made({{1, 0}}), 90, "!dark: 100 % black; try more light or a larger aperture"},
             {made({{1, 0}}), 99, "!dark: 100 % black; try more light or a larger aperture"},
             {made({{1, 0}}), 100, "!dark: 100 % black; try --exposure 160"},
         })
        EXPECT_EQ(said(verdictOn(measuredRow(pixels), units)), text);
}

TEST(PictureVerdict, IsNoneOfASceneThatIsExposedAsItShouldBeAndOneOfOthers) {
    using Simulator::SceneKind;
    for (const auto& [scene, units, code] : {std::tuple{SceneKind::grid, 15u, ""},
                                             {SceneKind::grid, 1u, "dark"},
                                             {SceneKind::grid, 600u, "overexposed"},
                                             {SceneKind::ramp, 15u, ""},
                                             {SceneKind::white, 15u, "overexposed"}}) {
        const auto verdict = verdictOn(sceneOf(scene, units), static_cast<int>(units));
        EXPECT_EQ(verdict ? verdict->code : "", code) << static_cast<int>(scene) << " at " << units;
    }
}

TEST(NextExposure, BringsTheBrightestPixelsIntoTheirRange) {
    for (const auto& [value, units, next] : {std::tuple{179, 10, std::optional<int>()},
                                             {229, 10, std::nullopt},
                                             {178, 10, 11},
                                             {230, 10, 9},
                                             {102, 10, 20},
                                             {1, 10, 160}, // a step is 16 times at most
                                             {0, 10, 160}, // as if it were 1
                                             {100, 3000, 3600},
                                             {100, 3600, std::nullopt},
                                             {255, 1, std::nullopt},
                                             {240, 2, std::nullopt}})
        EXPECT_EQ(nextExposure(measuredRow(made({{1, value}})), units), next) << value << " at " << units;
}

TEST(LongExposure, IsOneThatACameraMayNotAnswerAfter) {
    EXPECT_EQ(verdictOnExposure(90), std::nullopt);
    EXPECT_NE(verdictOnExposure(91), std::nullopt);
    EXPECT_EQ(said(verdictOnExposure(120)),
              "long-exposure: this camera may not answer in time: it has 10 s to answer the request for a "
              "picture, and may expose for 12 s first; try --exposure 9 and more light, if it does not");
}

TEST(ShortTime, IsOneInWhichThePictureCannotBeExposedAndFetched) {
    using std::chrono::milliseconds;
    EXPECT_EQ(verdictOnTime(50, milliseconds(6000)), std::nullopt);
    EXPECT_EQ(
        said(verdictOnTime(50, milliseconds(5999))),
        "short-time: hardly any picture comes within that --max-time: it is exposed for 5 s, and fetched "
        "after that; try --max-time 6 at the very least, or none");
    EXPECT_EQ(said(verdictOnTime(50, milliseconds(5000))),
              "short-time: no picture comes within that --max-time: it is exposed for 5 s, and "
              "fetched after that; try --max-time 6 at the very least, or none");
}

TEST(AnotherCamera, IsNamedByBothSerialNumbers) {
    EXPECT_EQ(said(anotherCamera("10.0.0.7", "1234", "1235")),
              "!another-camera: another camera: its serial number is 1235, the description's is 1234; try "
              "korva describe 10.0.0.7 for a new description, or --any-camera");
}

TEST(PercentText, IsAllOrNothingOnlyOfThese) {
    for (const auto& [share, text] : {std::pair{0.0, "0 %"},
                                      {0.00001, "0.1 %"},
                                      {0.0234, "2.3 %"},
                                      {0.314, "31 %"},
                                      {0.985, "98 %"},
                                      {0.9912, "99.1 %"},
                                      {0.99999, "99.9 %"},
                                      {1.0, "100 %"}})
        EXPECT_EQ(percentText(share), text);
}
