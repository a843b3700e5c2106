// What a capture says, and when.

#include "CaptureFixture.h"

#include "Support/DigitsApart.h"
#include "Support/ScriptedFailures.h"

namespace CaptureTests {
namespace {

using ::testing::ElementsAre;
using TestSupport::PlatformScript;

struct CaptureLog : Capture {
    CaptureLog() { log.setLevel(log4cxx::Level::getDebug()); }
};

TEST_F(CaptureLog, TellsEachStepAndItsTime) {
    answerAttempt(sgiFile(TestSupport::uniformSamples(300, 17, 3, 640)));
    communicator.onWrite([](std::size_t index) {
        PlatformScript::current().counter += 17 + static_cast<std::int64_t>(index); // 17, 18 and 19 ms
    });
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
    // From the query at a phase's start to the one at its end 3 counts, from there to the next start 4, and
    // so on: 3, 5, 7, 9, 11 and 13 counts of half a millisecond.
    PlatformScript::current().counterStep = 3;
    PlatformScript::current().counterStepGrowth = 1;
    PlatformScript::current().frequency = 2000;
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
    TestSupport::onScriptedHostCall() = [&](const std::string& call) {
        lastLines.push_back(call + " after " + log.texts().back().message);
    };
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(lastLines, ElementsAre("create after bit reduction: 0ms", "convert after bit reduction: 0ms",
                                       "release after color to greyscale: 0ms"));
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
    communicator.onWrite([&](std::size_t) { lastLines.push_back(log.texts().back().message); });
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
    answer(errorMessage());
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
