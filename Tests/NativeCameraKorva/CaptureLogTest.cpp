// What a capture says, and when.

#include "CaptureFixture.h"

#include "Support/DigitsApart.h"

namespace CaptureTests {
namespace {

using Simulator::Pause;
using ::testing::ElementsAre;
using World::sending;

struct CaptureLog : Capture {
    CaptureLog() { log.setLevel(log4cxx::Level::getDebug()); }
};

TEST_F(CaptureLog, TellsEachStepAndItsTime) {
    const auto picture = sgiFile(TestSupport::uniformSamples(300, 17, 3, 640));
    camera.act({Pause{17ms}, sending(done())}).act({Pause{18ms}, sending(done())});
    camera.act({Pause{19ms}, sending(image(picture))});
    {
        const TestSupport::DigitsApart locale; // which no line follows
        EXPECT_NE(capture(), nullptr);
    }
    EXPECT_THAT(
        log.texts(),
        ElementsAre(LogText{"DEBUG", "Before taking picture.. setting exposure = 6400 mode = 2 format "
                                     "= 1 depth = 10 shift = 4"},
                    LogText{"DEBUG", "Time to send / receive response on config message 17ms"},
                    LogText{"DEBUG", "Now sending TakeImage request"},
                    LogText{"DEBUG", "Time for Korva to take and process picture 18ms"},
                    LogText{"DEBUG", "Now sending GetImage request"},
                    LogText{"DEBUG", "Time to read image from Korva 19ms"},
                    LogText{"INFO", "Pulled Korva image with resolution: 300 17"},
                    LogText{"DEBUG", "Conversion to raw image: 0ms"}, LogText{"DEBUG", "bit reduction: 0ms"},
                    LogText{"DEBUG", "color to greyscale: 0ms"}));
}

TEST_F(CaptureLog, MeasuresEachPhaseByItself) {
    answerGoodAttempt();
    // From the query at a phase's start to the one at its end 1.5 ms, from there to the next start 2 ms, and
    // so on.
    auto step = 1000us;
    world.calls.onCall = [&step](const std::string& call) {
        if (call == "QueryPerformanceCounter") {
            World::advance(step);
            step += 500us;
        }
    };
    EXPECT_NE(capture(), nullptr);
    const auto texts = log.texts();
    EXPECT_EQ(texts.at(1).message, "Time to send / receive response on config message 1.5ms");
    EXPECT_EQ(texts.at(3).message, "Time for Korva to take and process picture 2.5ms");
    EXPECT_EQ(texts.at(5).message, "Time to read image from Korva 3.5ms");
    EXPECT_EQ(texts.at(7).message, "Conversion to raw image: 4.5ms");
    EXPECT_EQ(texts.at(8).message, "bit reduction: 5.5ms");
    EXPECT_EQ(texts.at(9).message, "color to greyscale: 6.5ms");
}

TEST_F(CaptureLog, TimesTheConversionBeforeTheColoursAreGivenBack) {
    std::vector<std::string> lastLines;
    world.calls.onCall = [&](const std::string& call) {
        if (call.ends_with("Image") || call == "convertToGreyscale")
            lastLines.push_back(call + " after " + log.texts().back().message);
    };
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(lastLines, ElementsAre("createImage after bit reduction: 0ms",
                                       "convertToGreyscale after bit reduction: 0ms",
                                       "releaseImage after color to greyscale: 0ms"));
}

TEST_F(CaptureLog, DoesNotCountThePauseAsTimeOfTheTake) {
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_EQ(log.texts().at(2).message, "Inserting 10s of delay in between Take and Get");
    EXPECT_EQ(log.texts().at(3).message, "Now sending TakeImage request");
    EXPECT_EQ(log.texts().at(4).message, "Time for Korva to take and process picture 0ms");
}

TEST_F(CaptureLog, WritesTheConfigurationInHexadecimal) {
    capture({.forceMode1 = true, .png = true, .exposure = 0xABCD});
    EXPECT_EQ(log.texts().front().message,
              "Before taking picture.. setting exposure = cdab mode = 1 format = 2 depth = 10 shift = 4");
}

TEST_F(CaptureLog, RightAlignsTheExposureInTwoColumns) {
    capture({.monochrome = true, .exposure = 0x0500});
    EXPECT_EQ(log.texts().front().message,
              "Before taking picture.. setting exposure =  5 mode = 3 format = 1 depth = 10 shift = 4");
}

TEST_F(CaptureLog, AnnouncesARequestBeforeItIsSent) {
    answerGoodAttempt();
    std::vector<std::string> lastLines;
    world.calls.onCall = [&](const std::string& call) {
        if (call.starts_with("send"))
            lastLines.push_back(log.texts().back().message);
    };
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(lastLines, ElementsAre("Before taking picture.. setting exposure = 6400 mode = 2 format = 1 "
                                       "depth = 10 shift = 4",
                                       "Now sending TakeImage request", "Now sending GetImage request"));
}

TEST_F(CaptureLog, HasNoTimeForAnAnswerThatCouldNotBeRead) {
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(log.texts().at(1), (LogText{"ERROR", "parseIncomingMessage failed for image configuration"}));
    EXPECT_EQ(log.texts().at(2), (LogText{"INFO", "First image grab attempt failed, re-trying image grab"}));
}

TEST_F(CaptureLog, HasATimeForAnAnswerThatIsRefused) {
    camera.answer(refusal());
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(log.texts().at(1).message, "Time to send / receive response on config message 0ms");
}

TEST_F(CaptureLog, TellsTheReductionsTimeBeforeItCallsThePictureBlack) {
    answerAttempt(sgiFile(TestSupport::uniformSamples(2, 2, 3, 0)));
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(log.texts().at(8).message, "bit reduction: 0ms");
    EXPECT_EQ(log.texts().at(9), (LogText{"ERROR", "All black image from Korva detected"}));
}

TEST_F(CaptureLog, StandsUnderItsLoggerWithItsLocation) {
    answerAttempt(sgiFile(TestSupport::uniformSamples(2, 2, 3, 0)));
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_EQ(log.lines().size(), 23u);
    for (const TestSupport::LogLine& line : log.lines()) {
        EXPECT_EQ(line.logger, loggerName);
        EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaHelper");
        EXPECT_GT(line.line, 0);
        EXPECT_TRUE(line.scope.starts_with("Korva")) << line.scope;
        EXPECT_FALSE(line.method.empty());
    }
}

} // namespace
} // namespace CaptureTests
