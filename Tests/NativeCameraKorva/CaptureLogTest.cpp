// What a capture says, and when.

#include "CaptureFixture.h"

#include "Support/DigitsApart.h"

namespace CaptureTests {
namespace {

using Simulator::Pause;
using World::sending;

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

TEST_F(CaptureLog, WritesTheConfigurationInHexadecimalWithTheExposureSwappedInTwoColumns) {
    capture({.forceMode1 = true, .png = true, .exposure = 0xABCD});
    capture({.monochrome = true, .exposure = 0x0500});
    EXPECT_THAT(
        log.linesOf("Before"),
        ::testing::IsSupersetOf(
            {debug(
                 "Before taking picture.. setting exposure = cdab mode = 1 format = 2 depth = 10 shift = 4"),
             debug(
                 "Before taking picture.. setting exposure =  5 mode = 3 format = 1 depth = 10 shift = 4")}));
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

} // namespace
} // namespace CaptureTests
