// What a capture makes of the file that the camera sends.

#include "CaptureFixture.h"

#include <filesystem>

namespace CaptureTests {
namespace {

using Creation = World::Imaging::Creation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::Samples;
using TestSupport::uniformSamples;

struct CapturePicture : Capture {
    /// Both attempts get the same file.
    Image* captureOf(const Bytes& file, const Settings& settings = {}) {
        answerAttempt(file);
        answerAttempt(file);
        return capture(settings);
    }

    void expectMismatch(const Bytes& file, const Settings& settings, const std::string& came,
                        const std::string& expected) {
        log.setLevel(log4cxx::Level::getError());
        EXPECT_EQ(captureOf(file, settings), nullptr);
        const LogText line{"ERROR", "Korva image does not hold the expected samples: got " + came +
                                        ", expected " + expected + " of 16 bits per pixel"};
        EXPECT_THAT(log.texts(), ElementsAre(line, line));
        EXPECT_THAT(imagingCalls(), IsEmpty());
    }

    void expectCreation(const Creation& creation) {
        EXPECT_THAT(world.imaging.creations, ElementsAre(creation));
    }
};

TEST_F(CapturePicture, ReducesSamplesToEightBits) {
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    expectCreation({2, 1, 8, 3, 0, reducedColours});
}

TEST_F(CapturePicture, OfThreeSamplesIsConvertedAndTheColourImageReleased) {
    answerGoodAttempt();
    Image* const taken = capture();
    EXPECT_THAT(imagingCalls(), ElementsAre("createImage", "convertToGreyscale", "releaseImage"));
    EXPECT_THAT(world.imaging.alive, ElementsAre(taken));
    EXPECT_EQ(taken->getSamplesPerPixel(), 1u);
}

TEST_F(CapturePicture, OfOneSampleIsItsOwnGreyImageAndNotReleased) {
    answerAttempt(pngFile({3, 1, 1, {63, 64, 16384}}));
    Image* const taken = capture(greyPng);
    EXPECT_THAT(imagingCalls(), ElementsAre("createImage", "convertToGreyscale"));
    EXPECT_THAT(world.imaging.alive, ElementsAre(taken));
    expectCreation({3, 1, 8, 1, 0, {0, 1, 255}});
}

TEST_F(CapturePicture, KeepsRowsFromTheTop) {
    answerAttempt(sgiFile({2, 2, 1, {64, 128, 192, 256}}));
    EXPECT_NE(capture({.monochrome = true}), nullptr);
    expectCreation({2, 2, 8, 1, 0, {1, 2, 3, 4}});
}

TEST_F(CapturePicture, ReducesOneSamplePerPixelInMonochromeEvenIfModeOneIsForced) {
    answerAttempt(sgiFile(uniformSamples(2, 2, 1, 640)));
    EXPECT_NE(capture({.forceMode1 = true, .monochrome = true}), nullptr);
    expectCreation({2, 2, 8, 1, 0, {10, 10, 10, 10}});
}

TEST_F(CapturePicture, WithAWrongChecksumIsTaken) {
    Bytes message = image(sgiFile(colours));
    message.back() ^= 1;
    camera.answer(done());
    camera.answer(done());
    camera.answer(message);
    EXPECT_NE(capture(), nullptr);
    expectCreation({2, 1, 8, 3, 0, reducedColours});
}

TEST_F(CapturePicture, IsTheFirstArgumentOfTheAnswer) {
    camera.answer(done());
    camera.answer(done());
    camera.answer(World::message({{6, sgiFile(colours)}, {6, sgiFile(uniformSamples(1, 1, 3, 64))}}));
    EXPECT_NE(capture(), nullptr);
    expectCreation({2, 1, 8, 3, 0, reducedColours});
}

TEST_F(CapturePicture, OfExactlyTheBlackRatioPasses) {
    Samples samples = uniformSamples(1000, 100, 1, 0);
    samples.values[50'000] = 1;
    EXPECT_NE(captureOf(sgiFile(samples), {.monochrome = true}), nullptr);
    EXPECT_EQ(camera.requests().size(), 3u);
}

TEST_F(CapturePicture, AboveTheBlackRatioIsBlack) {
    Samples samples = uniformSamples(1001, 100, 1, 0);
    samples.values[50'000] = 1;
    EXPECT_EQ(captureOf(sgiFile(samples), {.monochrome = true}), nullptr);
    EXPECT_EQ(camera.requests().size(), 6u);
}

TEST_F(CapturePicture, IsNotBlackWhereItsSamplesAreBelowTheFirstGreyLevel) {
    EXPECT_NE(captureOf(sgiFile(uniformSamples(4, 4, 3, 63))), nullptr);
    expectCreation({4, 4, 8, 3, 0, Bytes(48, 0)});
}

TEST_F(CapturePicture, CountsAPixelAsBlackOnlyIfAllItsSamplesAreZero) {
    EXPECT_NE(captureOf(sgiFile({1, 1, 3, {0, 0, 1}})), nullptr);
}

TEST_F(CapturePicture, ThatCannotBeDecodedGoesOnEmpty) {
    answerAttempt({1, 2, 3});
    Image* const taken = capture();
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->getWidth(), 0u);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "Pulled Korva image with resolution: 0 0"}));
    expectCreation({0, 0, 8, 3, 0, {}});
}

TEST_F(CapturePicture, OfNoBytesGoesOnEmpty) {
    answerAttempt({});
    EXPECT_NE(capture(greyPng), nullptr);
    expectCreation({0, 0, 8, 1, 0, {}});
}

TEST_F(CapturePicture, WithoutRowsGoesOnEmpty) {
    answerAttempt(TestSupport::sgiHeader(5, 0, 1, 1));
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"INFO", "Pulled Korva image with resolution: 5 0"}));
    expectCreation({5, 0, 8, 3, 0, {}});
}

TEST_F(CapturePicture, OfEightBitsFailsItsAttempt) {
    expectMismatch(pngFile(uniformSamples(2, 2, 1, 99), 8), greyPng, "1 of 8 bits", "1");
}

TEST_F(CapturePicture, OfEightBitsFailsHoweverManyChannelsItHas) {
    expectMismatch(pngFile(uniformSamples(2, 2, 4, 99), 8), greyPng, "4 of 8 bits", "1");
}

TEST_F(CapturePicture, FromAnEightBitSgiFileFailsItsAttempt) {
    expectMismatch(TestSupport::sgiHeader(2, 2, 3, 1), {}, "3 of 8 bits", "3");
}

TEST_F(CapturePicture, InGreyFailsWhereColourWasAskedFor) {
    expectMismatch(pngFile(uniformSamples(2, 2, 1, 99)), {.png = true}, "1 of 16 bits", "3");
}

TEST_F(CapturePicture, InGreyAndAlphaFailsWhereColourWasAskedFor) {
    expectMismatch(pngFile(uniformSamples(2, 2, 2, 99)), {.png = true}, "2 of 16 bits", "3");
}

TEST_F(CapturePicture, InColourGoesOnWithItsFirstSamplesWhereGreyWasAskedFor) {
    answerAttempt(sgiFile(colours));
    EXPECT_NE(capture({.monochrome = true}), nullptr);
    expectCreation({2, 1, 8, 1, 0, {0, 1}});
}

TEST_F(CapturePicture, WithAlphaGoesOnWithItsFirstSamplesWhereColourWasAskedFor) {
    answerAttempt(sgiFile({2, 1, 4, {64, 128, 192, 256, 320, 384, 448, 512}}));
    EXPECT_NE(capture(), nullptr);
    expectCreation({2, 1, 8, 3, 0, {1, 2, 3, 4, 5, 6}});
}

TEST_F(CapturePicture, IsDumpedAsItCameWhereTraceIsEnabled) {
    log.setLevel(log4cxx::Level::getTrace());
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    const auto file = folder.path() / "KorvaImage Thu Jan 01 00-00-00 1970.sgi";
    EXPECT_EQ(std::filesystem::file_size(file), sgiFile(colours).size());
    EXPECT_EQ(world.calls.of({"fopen", "fwrite", "fclose"}).size(), 3u);
}

TEST_F(CapturePicture, IsDumpedUnderThePngNameWhereItIsPng) {
    log.setLevel(log4cxx::Level::getTrace());
    answerAttempt(pngFile(uniformSamples(2, 2, 1, 99)));
    EXPECT_NE(capture(greyPng), nullptr);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "KorvaImage Thu Jan 01 00-00-00 1970.png"));
}

TEST_F(CapturePicture, IsDumpedBetweenFetchingAndDecoding) {
    log.setLevel(log4cxx::Level::getTrace());
    answerAttempt({7}); // no picture at all is dumped too
    EXPECT_NE(capture(), nullptr);
    const std::vector<LogText> texts = log.texts();
    EXPECT_EQ(texts.at(5).message.substr(0, 30), "Time to read image from Korva ");
    EXPECT_EQ(texts.at(6).message.substr(0, 25), "Dumping Korva picture to ");
    EXPECT_EQ(texts.at(7).message, "Pulled Korva image with resolution: 0 0");
}

TEST_F(CapturePicture, IsNotDumpedWhereTraceIsNotEnabled) {
    log.setLevel(log4cxx::Level::getDebug());
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(world.calls.of("fopen"), IsEmpty());
}

TEST_F(CapturePicture, IsTakenEvenIfItCannotBeDumped) {
    log.setLevel(log4cxx::Level::getTrace());
    world.calls.fail("fopen", 0);
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
}

TEST_F(CapturePicture, IsTheSameWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    expectCreation({2, 1, 8, 3, 0, reducedColours});
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace
} // namespace CaptureTests
