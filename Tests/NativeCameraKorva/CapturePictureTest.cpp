// What a capture makes of the file that the camera sends.

#include "CaptureFixture.h"

#include <filesystem>
#include <stdexcept>

namespace CaptureTests {
namespace {

using Creation = World::Imaging::Creation;
using TestSupport::Samples;

constexpr Settings colour;
constexpr Settings grey{.monochrome = true};
constexpr Settings forcedGrey{.forceMode1 = true, .monochrome = true};
constexpr Settings colourPng{.png = true};

Creation ofColours(unsigned int width, unsigned int height, Bytes pixels) {
    return {width, height, 8, 3, 0, std::move(pixels)};
}
Creation ofGreys(unsigned int width, unsigned int height, Bytes pixels) {
    return {width, height, 8, 1, 0, std::move(pixels)};
}
/// The camera's answer with a picture of 16 bits.
Bytes sgi(const Samples& samples) {
    return image(sgiFile(samples));
}

Bytes wrongChecksum(Bytes message) {
    message.back() ^= 1;
    return message;
}

/// A grey picture in which the pixels from 50,000 on are black, but one.
Samples nearlyBlack(std::uint16_t width) {
    Samples samples = uniformSamples(width, 100, 1, 0);
    samples.values[50'000] = 1;
    return samples;
}

struct Taken {
    const char* what;
    Bytes answer;
    Settings settings;
    Creation creation; ///< what the imaging library is to make the picture of
};

using CapturePicture = Capture;

TEST_F(CapturePicture, IsReducedToEightBitsAndConverted) {
    const Creation reduced = ofColours(2, 1, {0, 1, 255, 0, 255, 255});
    const Taken rows[] = {
        {"colour", sgi(colours), colour, reduced},
        {"grey", image(pngFile({3, 1, 1, {63, 64, 16384}})), greyPng, ofGreys(3, 1, {0, 1, 255})},
        {"rows from the top", sgi({2, 2, 1, {64, 128, 192, 256}}), grey, ofGreys(2, 2, {1, 2, 3, 4})},
        {"grey in the forced mode 1", sgi(uniformSamples(2, 2, 1, 640)), forcedGrey,
         ofGreys(2, 2, {10, 10, 10, 10})},
        {"a wrong checksum", wrongChecksum(sgi(colours)), colour, reduced},
        {"the first of two arguments",
         World::message({{6, sgiFile(colours)}, {6, sgiFile(uniformSamples(1, 1, 3, 64))}}), colour, reduced},
        {"exactly the black ratio", sgi(nearlyBlack(1000)), grey, ofGreys(1000, 100, Bytes(100'000, 0))},
        {"not black, but below the first grey level", sgi(uniformSamples(4, 4, 3, 63)), colour,
         ofColours(4, 4, Bytes(48, 0))},
        {"one sample that is not zero", sgi({1, 1, 3, {0, 0, 1}}), colour, ofColours(1, 1, {0, 0, 0})},
        {"colour where grey was asked for", sgi(colours), grey, ofGreys(2, 1, {0, 1})},
        {"alpha where colour was asked for", sgi({2, 1, 4, {64, 128, 192, 256, 320, 384, 448, 512}}), colour,
         ofColours(2, 1, {1, 2, 3, 4, 5, 6})},
        {"what cannot be decoded", image({1, 2, 3}), colour, ofColours(0, 0, {})},
        {"no bytes", image({}), greyPng, ofGreys(0, 0, {})},
        {"no rows", image(TestSupport::sgiHeader(5, 0, 1, 1)), colour, ofColours(5, 0, {})},
    };
    for (const Taken& row : rows) {
        SCOPED_TRACE(row.what);
        camera.answer(done()).answer(done()).answer(row.answer);
        world.calls.clear();
        Image* const taken = capture(row.settings);
        ASSERT_NE(taken, nullptr);
        EXPECT_EQ(world.imaging.creations.back(), row.creation);
        EXPECT_EQ(taken->getSamplesPerPixel(), 1u);
        EXPECT_EQ(log.texts().back(),
                  info("Pulled Korva image with resolution: " + std::to_string(row.creation.width) + ' ' +
                       std::to_string(row.creation.height)));
        // An image of one sample is its own grey image.
        std::vector<std::string> calls{"createImage", "convertToGreyscale"};
        if (row.creation.samplesPerPixel == 3)
            calls.emplace_back("releaseImage");
        EXPECT_EQ(imagingCalls(), calls);
    }
    EXPECT_EQ(log.texts().size(), std::size(rows)) << "each with one attempt";
    EXPECT_EQ(world.imaging.alive.size(), std::size(rows));
}

TEST_F(CapturePicture, ThatDoesNotHoldWhatWasAskedForFailsItsAttempt) {
    const auto mismatch = [](const std::string& came, const std::string& expected) {
        return error("Korva image does not hold the expected samples: got " + came + ", expected " +
                     expected + " of 16 bits per pixel");
    };
    const struct {
        const char* what;
        Bytes file;
        Settings settings;
        LogText line;
    } rows[] = {
        {"8 bits", pngFile(uniformSamples(2, 2, 1, 99), 8), greyPng, mismatch("1 of 8 bits", "1")},
        {"8 bits of more channels", pngFile(uniformSamples(2, 2, 4, 99), 8), greyPng,
         mismatch("4 of 8 bits", "1")},
        {"8 bits in SGI", TestSupport::sgiHeader(2, 2, 3, 1), colour, mismatch("3 of 8 bits", "3")},
        {"grey for colour", pngFile(uniformSamples(2, 2, 1, 99)), colourPng, mismatch("1 of 16 bits", "3")},
        {"grey and alpha for colour", pngFile(uniformSamples(2, 2, 2, 99)), colourPng,
         mismatch("2 of 16 bits", "3")},
        {"above the black ratio", sgiFile(nearlyBlack(1001)), grey,
         error("All black image from Korva detected")},
    };
    log.setLevel(log4cxx::Level::getError());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        answerAttempt(row.file);
        answerAttempt(row.file);
        const std::size_t logged = log.lines().size();
        EXPECT_EQ(capture(row.settings), nullptr);
        ASSERT_EQ(log.lines().size(), logged + 2);
        EXPECT_EQ(log.texts()[logged], row.line);
        EXPECT_EQ(log.texts()[logged + 1], row.line);
        EXPECT_EQ(camera.answersLeft(), 0u);
    }
    EXPECT_THAT(imagingCalls(), IsEmpty());
}

TEST_F(CapturePicture, IsDumpedAsItCameWhereTraceIsEnabledAndTakenWhereItCannotBe) {
    log.setLevel(log4cxx::Level::getTrace());
    const Bytes png = pngFile(uniformSamples(2, 2, 1, 99));
    answerAttempt({7}); // no picture at all is dumped too
    EXPECT_NE(capture(), nullptr);
    answerAttempt(png);
    EXPECT_NE(capture(greyPng), nullptr);
    const std::string name = "KorvaImage Thu Jan 01 00-00-00 1970";
    EXPECT_EQ(std::filesystem::file_size(folder.path() / (name + ".sgi")), 1u);
    EXPECT_EQ(std::filesystem::file_size(folder.path() / (name + ".png")), png.size());
    const Texts texts = log.texts();
    EXPECT_THAT(Texts(texts.begin() + 5, texts.begin() + 8),
                ElementsAre(debug("Time to read image from Korva 0ms"),
                            trace("Dumping Korva picture to " + name),
                            info("Pulled Korva image with resolution: 0 0")));
    world.calls.fail("fopen", 0);
    for (const auto& level :
         {log4cxx::Level::getTrace(), log4cxx::Level::getDebug(), log4cxx::Level::getOff()}) {
        log.setLevel(level);
        answerGoodAttempt();
        EXPECT_NE(capture(), nullptr);
    }
    EXPECT_EQ(world.calls.of("fopen").size(), 3u);
    EXPECT_THAT(folder.names(), SizeIs(2));
}

TEST_F(CapturePicture, IsGivenBackWhereItsReleaseThrowsTooAndTheFirstExceptionPasses) {
    world.calls.throwFrom("convertToGreyscale", std::runtime_error("broken"));
    world.calls.throwAlways("releaseImage", 42);
    answerGoodAttempt();
    EXPECT_THROW(capture(), std::runtime_error);
    EXPECT_THAT(world.imaging.alive, IsEmpty());
}

} // namespace
} // namespace CaptureTests
