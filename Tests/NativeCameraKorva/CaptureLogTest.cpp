// What a capture says, and when.

#include "CaptureFixture.h"

#include "Support/DigitsApart.h"

namespace CaptureTests {
namespace {

using Simulator::Pause;
using World::sending;

struct CaptureLog : Capture {
    CaptureLog() { log.setLevel(log4cxx::Level::getDebug()); }
    std::string messageAt(std::size_t line) const { return log.texts().at(line).message; }
    /// At each such call, the last line before it.
    void noteLastLineAt(std::initializer_list<std::string> calls) {
        world.calls.onCall = [this, calls = std::vector(calls)](const std::string& line) {
            for (const std::string& call : calls)
                if (line.starts_with(call))
                    lastLines.push_back(call + " after " + log.texts().back().message);
        };
    }
    std::vector<std::string> lastLines;
};

TEST_F(CaptureLog, TellsEachStepAndItsTime) {
    const auto picture = sgiFile(uniformSamples(300, 17, 3, 640));
    camera.act({Pause{17ms}, sending(done())}).act({Pause{18ms}, sending(done())});
    camera.act({Pause{19ms}, sending(image(picture))});
    {
        const TestSupport::DigitsApart locale; // which no line follows
        EXPECT_NE(capture(), nullptr);
    }
    EXPECT_THAT(
        log.texts(),
        ElementsAre(
            debug("Before taking picture.. setting exposure = 6400 mode = 2 format = 1 depth = 10 shift = 4"),
            debug("Time to send / receive response on config message 17ms"),
            debug("Now sending TakeImage request"), debug("Time for Korva to take and process picture 18ms"),
            debug("Now sending GetImage request"), debug("Time to read image from Korva 19ms"),
            info("Pulled Korva image with resolution: 300 17"), debug("Conversion to raw image: 0ms"),
            debug("bit reduction: 0ms"), debug("color to greyscale: 0ms")));
    for (const LogLine& line : log.lines())
        EXPECT_TRUE(line.scope.starts_with("Korva")) << line.scope;
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
    EXPECT_EQ(messageAt(1), "Time to send / receive response on config message 1.5ms");
    EXPECT_EQ(messageAt(3), "Time for Korva to take and process picture 2.5ms");
    EXPECT_EQ(messageAt(5), "Time to read image from Korva 3.5ms");
    EXPECT_EQ(messageAt(7), "Conversion to raw image: 4.5ms");
    EXPECT_EQ(messageAt(8), "bit reduction: 5.5ms");
    EXPECT_EQ(messageAt(9), "color to greyscale: 6.5ms");
}

TEST_F(CaptureLog, TimesTheConversionBeforeTheColoursAreGivenBack) {
    noteLastLineAt({"createImage", "convertToGreyscale", "releaseImage"});
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(lastLines, ElementsAre("createImage after bit reduction: 0ms",
                                       "convertToGreyscale after bit reduction: 0ms",
                                       "releaseImage after color to greyscale: 0ms"));
}

TEST_F(CaptureLog, AnnouncesPauseAndRequestsAndCountsThePauseAsNobodysTime) {
    noteLastLineAt({"Sleep", "send"});
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(lastLines, ElementsAre("send after Before taking picture.. setting exposure = 6400 mode = 2 "
                                       "format = 1 depth = 10 shift = 4",
                                       "Sleep after Inserting 10s of delay in between Take and Get",
                                       "send after Now sending TakeImage request",
                                       "send after Now sending GetImage request"));
    EXPECT_EQ(messageAt(4), "Time for Korva to take and process picture 0ms");
}

TEST_F(CaptureLog, WritesTheConfigurationInHexadecimalWithTheExposureSwappedInTwoColumns) {
    const auto firstLine = [this](const Settings& settings) {
        const std::size_t logged = log.lines().size();
        capture(settings);
        return messageAt(logged);
    };
    EXPECT_EQ(firstLine({.forceMode1 = true, .png = true, .exposure = 0xABCD}),
              "Before taking picture.. setting exposure = cdab mode = 1 format = 2 depth = 10 shift = 4");
    EXPECT_EQ(firstLine({.monochrome = true, .exposure = 0x0500}),
              "Before taking picture.. setting exposure =  5 mode = 3 format = 1 depth = 10 shift = 4");
}

TEST_F(CaptureLog, HasATimeForAnAnswerThatIsRefusedAndNoneForOneThatCouldNotBeRead) {
    camera.answer(refusal());
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(messageAt(1), "Time to send / receive response on config message 0ms");
    EXPECT_EQ(messageAt(2), "First image grab attempt failed, re-trying image grab");
    EXPECT_EQ(messageAt(4), "parseIncomingMessage failed for image configuration");
    EXPECT_EQ(log.lines().size(), 5u);
}

TEST_F(CaptureLog, TellsTheReductionsTimeBeforeItCallsThePictureBlack) {
    answerAttempt(sgiFile(uniformSamples(2, 2, 3, 0)));
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(messageAt(8), "bit reduction: 0ms");
    EXPECT_EQ(messageAt(9), "All black image from Korva detected");
}

} // namespace
} // namespace CaptureTests
