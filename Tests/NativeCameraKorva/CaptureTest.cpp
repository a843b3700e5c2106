// What a capture sends, says, and makes of the file that the camera sends. What becomes of answers that are
// not as they should be is held by the fault matrix, and what becomes of exceptions by the torture.

#include "NativeCameraKorva/KorvaHelper.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "PluginLog.h"
#include "ReferenceHost/HostControl.h"
#include "Support/DigitsApart.h"
#include "Support/PictureFiles.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Creation = World::Imaging::Creation;
using Simulator::Pause;
using TestSupport::Samples;
using World::sending;
using namespace std::chrono_literals;
using namespace PluginLogs;
using TestSupport::pngFile;
using TestSupport::sgiFile;
using TestSupport::uniformSamples;
using World::Bytes;
using World::done;
using World::image;
using World::refusal;

struct Settings {
    bool forceMode1 = false;
    bool png = false;
    bool monochrome = false;
    int exposure = 100;
    bool delayBeforeTake = false;
};

constexpr Settings greyPng{.png = true, .monochrome = true};

const Samples colours{2, 1, 3, {0, 64, 16384, 63, 16383, 65535}};

/// The capture logger stands at info unless a test says otherwise. Afterwards no image may be alive but those
/// that the test got.
struct Capture : ::testing::Test {
    TestSupport::TemporaryFolder folder;
    World::Stage world;
    World::Peer& camera = world.at("10.0.0.5", 32769);
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};
    PluginLog log{"Plenar.KorvaCamera.KorvaCapture", "KorvaHelper", log4cxx::Level::getInfo()};
    Capture() { ReferenceHost::setImagesSubDirectory(folder.path().wstring()); }
    ~Capture() override {
        world.calls.failNoMore(); // the test's own variables are gone
        for (Image* const each : taken_)
            ImagingFactory::getInstance()->releaseImage(each);
    }

    Image* capture(const Settings& settings = {}) {
        Image* const taken = Korva::capture(&communicator, settings.forceMode1, settings.png,
                                            settings.monochrome, settings.exposure, settings.delayBeforeTake);
        if (taken != nullptr)
            taken_.push_back(taken);
        return taken;
    }

    /// An attempt in which the camera does all it is asked and sends `file`.
    void answerAttempt(const Bytes& file) { World::answerCapture(camera, file); }
    void answerGoodAttempt() { answerAttempt(sgiFile(colours)); }

    std::vector<std::string> imagingCalls() const {
        return world.calls.of({"createImage", "convertToGreyscale", "releaseImage"});
    }

private:
    std::vector<Image*> taken_;
};

// Requests.

using CaptureRequests = Capture;

TEST_F(CaptureRequests, ConfigureThenTakeThenFetchEachAnsweredBeforeTheNext) {
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    const Bytes configuration = World::message({{2, {0, 100}}, {3, {2}}, {4, {1}}, {7, {16}}, {8, {4}}});
    EXPECT_THAT(camera.requests(),
                ElementsAre(configuration, World::message({{5, {}}}), World::message({{6, {}}})));
    std::vector<std::string> calls = world.calls.of({"connect", "send", "receive", "close", "Sleep"});
    for (std::string& call : calls)
        call.erase(call.find(" 10.0.0.5:32769"), 15);
    // Before each request what was left is dropped; 524 bytes are the picture.
    EXPECT_THAT(calls, ElementsAre("connect 5000", "receive 16384", "send 39 bytes", "receive 6", "receive 5",
                                   "receive 2", "receive 16384", "send 13 bytes", "receive 6", "receive 5",
                                   "receive 2", "receive 16384", "send 13 bytes", "receive 6", "receive 5",
                                   "receive 524", "receive 2", "close"));
}

TEST_F(CaptureRequests, ConfigureModeFormatAndTheExposuresLowSixteenBitsAndTellOfIt) {
    const struct {
        const char* what;
        Settings settings;
        Bytes exposure;
        std::uint8_t mode;
        std::uint8_t format;
        std::string told; ///< the exposure as the log has it: swapped, in two columns
    } rows[] = {
        {"grey", {.monochrome = true}, {0, 100}, 3, 1, "6400"},
        {"forced", {.forceMode1 = true}, {0, 100}, 1, 1, "6400"},
        {"grey and forced", {.forceMode1 = true, .monochrome = true}, {0, 100}, 1, 1, "6400"},
        {"PNG", {.png = true}, {0, 100}, 2, 2, "6400"},
        {"an exposure of more bits", {.exposure = 0x1234ABCD}, {0xAB, 0xCD}, 2, 1, "cdab"},
        {"a negative exposure", {.exposure = -2}, {0xFF, 0xFE}, 2, 1, "feff"},
        {"an exposure of one digit, swapped", {.exposure = 0x0500}, {5, 0}, 2, 1, " 5"},
    };
    log.setLevel(log4cxx::Level::getDebug());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        capture(row.settings);
        EXPECT_EQ(
            camera.requests().back(),
            World::message({{2, row.exposure}, {3, {row.mode}}, {4, {row.format}}, {7, {16}}, {8, {4}}}));
        EXPECT_EQ(log.linesOf("Before").back(),
                  debug("Before taking picture.. setting exposure = " + row.told +
                        " mode = " + std::to_string(row.mode) + " format = " + std::to_string(row.format) +
                        " depth = 10 shift = 4"));
    }
}

TEST_F(CaptureRequests, PauseTenSecondsBeforeEachTakeIfTold) {
    for (const bool isLogged : {true, false}) {
        if (!isLogged)
            log.turnOff();
        world.calls.clear();
        camera.answer(refusal()); // there is a second attempt, and no pause in this one
        answerGoodAttempt();
        EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
        camera.answer(done()).answer(refusal());
        answerGoodAttempt();
        EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
        const std::string large = "send 10.0.0.5:32769 39 bytes";
        const std::string small = "send 10.0.0.5:32769 13 bytes";
        const std::string pause = "Sleep 10000";
        EXPECT_THAT(world.calls.of({"send", "Sleep"}),
                    ElementsAre(large, large, pause, small, small, // the one, and the other
                                large, pause, small, large, pause, small, small));
    }
    EXPECT_THAT(log.texts(), Contains(info("Inserting 10s of delay in between Take and Get")));
}

TEST_F(CaptureRequests, NeedACommunicator) {
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Korva::capture(nullptr, false, false, false, 1, false), nullptr);
        EXPECT_THAT(log.texts(), ElementsAre(error("No communicator to capture with")));
        log.turnOff();
    }
}

// The log.

const std::string configuration =
    "Before taking picture.. setting exposure = 6400 mode = 2 format = 1 depth = 10 shift = 4";

struct CaptureLog : Capture {
    CaptureLog() { log.setLevel(log4cxx::Level::getDebug()); }
};

TEST_F(CaptureLog, TellsEachStepAndItsTimeByItself) {
    camera.act({Pause{17ms}, sending(done())}).act({Pause{18ms}, sending(done())});
    camera.act({Pause{19ms}, sending(image(sgiFile(uniformSamples(300, 17, 3, 640))))});
    // From the query at a phase's start to the one at its end 1.5 ms, from there to the next start 2 ms, and
    // so on.
    auto step = 1000us;
    world.calls.onCall = [&step](const std::string& call) {
        if (call == "QueryPerformanceCounter") {
            World::advance(step);
            step += 500us;
        }
    };
    {
        const TestSupport::DigitsApart locale; // which no line follows
        EXPECT_NE(capture(), nullptr);
    }
    EXPECT_THAT(log.texts(), ElementsAre(debug(configuration),
                                         debug("Time to send / receive response on config message 18.5ms"),
                                         debug("Now sending TakeImage request"),
                                         debug("Time for Korva to take and process picture 20.5ms"),
                                         debug("Now sending GetImage request"),
                                         debug("Time to read image from Korva 22.5ms"),
                                         info("Pulled Korva image with resolution: 300 17"),
                                         debug("Conversion to raw image: 4.5ms"),
                                         debug("bit reduction: 5.5ms"), debug("color to greyscale: 6.5ms")));
    for (const LogLine& line : log.lines())
        EXPECT_TRUE(line.scope.starts_with("Korva")) << line.scope;
}

TEST_F(CaptureLog, AnnouncesWhatItDoesAndCountsThePauseAsNobodysTime) {
    std::vector<std::string> lastLines; // at each of those calls
    world.calls.onCall = [&](const std::string& line) {
        for (const std::string call : {"Sleep", "send", "createImage", "convertToGreyscale", "releaseImage"})
            if (line.starts_with(call))
                lastLines.push_back(call + " after " + log.texts().back().message);
    };
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(lastLines,
                ElementsAre("send after " + configuration,
                            "Sleep after Inserting 10s of delay in between Take and Get",
                            "send after Now sending TakeImage request",
                            "send after Now sending GetImage request", "createImage after bit reduction: 0ms",
                            "convertToGreyscale after bit reduction: 0ms",
                            "releaseImage after color to greyscale: 0ms"));
    EXPECT_EQ(log.texts().at(4), debug("Time for Korva to take and process picture 0ms"));
}

TEST_F(CaptureLog, HasATimeForWhatIsRefusedOrBlackAndNoneForAnAnswerThatCouldNotBeRead) {
    answerAttempt(sgiFile(uniformSamples(2, 2, 3, 0)));
    EXPECT_EQ(capture(), nullptr);
    camera.answer(refusal());
    EXPECT_EQ(capture(), nullptr);
    const LogText time = debug("Time to send / receive response on config message 0ms");
    const LogText again = info("First image grab attempt failed, re-trying image grab");
    const LogText unread = error("parseIncomingMessage failed for image configuration");
    const Texts texts = log.texts();
    EXPECT_THAT(Texts(texts.begin() + 8, texts.end()),
                ElementsAre(debug("bit reduction: 0ms"), error("All black image from Korva detected"), again,
                            debug(configuration), unread, debug(configuration), time, again,
                            debug(configuration), unread));
}

// The picture.

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

/// A grey picture in which the pixels from 50,000 on are black, but one.
Samples nearlyBlack(std::uint16_t width) {
    Samples samples = uniformSamples(width, 100, 1, 0);
    samples.values[50'000] = 1;
    return samples;
}

using CapturePicture = Capture;

TEST_F(CapturePicture, IsReducedToEightBitsAndConverted) {
    const Creation reduced = ofColours(2, 1, {0, 1, 255, 0, 255, 255});
    const struct {
        const char* what;
        Bytes answer;
        Settings settings;
        Creation creation; ///< what the imaging library is to make the picture of
    } rows[] = {
        {"colour", sgi(colours), colour, reduced},
        {"grey", image(pngFile({3, 1, 1, {63, 64, 16384}})), greyPng, ofGreys(3, 1, {0, 1, 255})},
        {"rows from the top", sgi({2, 2, 1, {64, 128, 192, 256}}), grey, ofGreys(2, 2, {1, 2, 3, 4})},
        {"grey in the forced mode 1", sgi(uniformSamples(2, 2, 1, 640)), forcedGrey,
         ofGreys(2, 2, {10, 10, 10, 10})},
        {"exactly the black ratio", sgi(nearlyBlack(1000)), grey, ofGreys(1000, 100, Bytes(100'000, 0))},
        {"below the first grey level", sgi(uniformSamples(4, 4, 3, 63)), colour,
         ofColours(4, 4, Bytes(48, 0))},
        {"one sample that is not zero", sgi({1, 1, 3, {0, 0, 1}}), colour, ofColours(1, 1, {0, 0, 0})},
        {"colour for grey", sgi(colours), grey, ofGreys(2, 1, {0, 1})},
        {"alpha for colour", sgi({2, 1, 4, {64, 128, 192, 256, 320, 384, 448, 512}}), colour,
         ofColours(2, 1, {1, 2, 3, 4, 5, 6})},
        {"no bytes", image({}), greyPng, ofGreys(0, 0, {})},
        {"no rows", image(TestSupport::sgiHeader(5, 0, 1, 1)), colour, ofColours(5, 0, {})},
    };
    for (const auto& row : rows) {
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
        {"8 bits of four channels", pngFile(uniformSamples(2, 2, 4, 99), 8), greyPng,
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
    answerAttempt({7}); // no picture at all is dumped too
    EXPECT_NE(capture(), nullptr);
    const Bytes png = pngFile(uniformSamples(2, 2, 1, 99));
    answerAttempt(png);
    EXPECT_NE(capture(greyPng), nullptr);
    const std::string name = "KorvaImage Thu Jan 01 00-00-00 1970";
    EXPECT_EQ(Support::readFile(folder.path() / (name + ".sgi")), Bytes{7});
    EXPECT_EQ(Support::readFile(folder.path() / (name + ".png")), png);
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
