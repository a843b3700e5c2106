// What a capture sends, in which order, and how it holds the connection.

#include "CaptureFixture.h"

#include "Communicator/DeviceException.h"

namespace CaptureTests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Bytes takeRequest{0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x14};
const Bytes getRequest{0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x15};

struct CaptureRequests : Capture {
    Bytes configurationFor(const Settings& settings) {
        camera.forget();
        camera.stayUnanswered();
        capture(settings);
        return camera.requests().back();
    }
};

TEST_F(CaptureRequests, ConfiguresThenTakesThenFetches) {
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    const Bytes configuration{0x01, 0x00, 0x00, 0x00, 0x27, 0x05, 0x02, 0x00, 0x00, 0x00, 0x02, 0x00, 0x64,
                              0x03, 0x00, 0x00, 0x00, 0x01, 0x02, 0x04, 0x00, 0x00, 0x00, 0x01, 0x01, 0x07,
                              0x00, 0x00, 0x00, 0x01, 0x10, 0x08, 0x00, 0x00, 0x00, 0x01, 0x04, 0x00, 0xC6};
    EXPECT_THAT(camera.requests(), ElementsAre(configuration, takeRequest, getRequest));
}

TEST_F(CaptureRequests, ReadsAnAnswerAfterEachRequest) {
    answerGoodAttempt();
    capture();
    std::vector<std::string> calls = world.calls.of({"connect", "send", "receive", "close"});
    for (std::string& call : calls)
        call.erase(call.find(" 10.0.0.5:32769"), 15);
    // Before each request what was left is dropped; 524 bytes are the picture.
    EXPECT_THAT(calls, ElementsAre("connect 5000", "receive 16384", "send 39 bytes", "receive 6", "receive 5",
                                   "receive 2", "receive 16384", "send 13 bytes", "receive 6", "receive 5",
                                   "receive 2", "receive 16384", "send 13 bytes", "receive 6", "receive 5",
                                   "receive 524", "receive 2", "close"));
    EXPECT_EQ(World::elapsed(), 0ms);
}

TEST_F(CaptureRequests, AskForModeTwoInColour) {
    EXPECT_EQ(configurationFor({}).at(18), 2);
}

TEST_F(CaptureRequests, AskForModeThreeInMonochrome) {
    EXPECT_EQ(configurationFor({.monochrome = true}).at(18), 3);
}

TEST_F(CaptureRequests, AskForModeOneWhereItIsForced) {
    EXPECT_EQ(configurationFor({.forceMode1 = true}).at(18), 1);
}

TEST_F(CaptureRequests, AskForModeOneWhereItIsForcedInMonochromeToo) {
    EXPECT_EQ(configurationFor({.forceMode1 = true, .monochrome = true}).at(18), 1);
}

TEST_F(CaptureRequests, AskForSgiOrPng) {
    EXPECT_EQ(configurationFor({}).at(24), 1);
    EXPECT_EQ(configurationFor({.png = true}).at(24), 2);
}

TEST_F(CaptureRequests, SendTheExposuresLowSixteenBitsBigEndian) {
    for (const auto& [exposure, high, low] :
         {std::tuple(1, 0, 1), {0x1234, 0x12, 0x34}, {0x12345678, 0x56, 0x78}, {-2, 0xFF, 0xFE}}) {
        const Bytes wire = configurationFor({.exposure = exposure});
        EXPECT_EQ(wire.at(11), high) << exposure;
        EXPECT_EQ(wire.at(12), low) << exposure;
    }
}

TEST_F(CaptureRequests, DoNotPauseUnlessTold) {
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
}

TEST_F(CaptureRequests, PauseTenSecondsBetweenConfigurationAndTake) {
    answerGoodAttempt();
    std::size_t requestsBeforePause = 0;
    std::vector<LogText> logBeforePause;
    world.calls.onCall = [&](const std::string& call) {
        if (call.starts_with("Sleep")) {
            requestsBeforePause = camera.requests().size();
            logBeforePause = log.texts();
        }
    };
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(world.calls.of("Sleep"), ElementsAre("Sleep 10000"));
    EXPECT_EQ(requestsBeforePause, 1u);
    EXPECT_THAT(logBeforePause,
                ElementsAre(LogText{"INFO", "Inserting 10s of delay in between Take and Get"}));
}

TEST_F(CaptureRequests, PauseWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(world.calls.of("Sleep"), ElementsAre("Sleep 10000"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CaptureRequests, PauseAgainInTheSecondAttempt) {
    camera.answer(done());
    camera.answer(refusal());
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(world.calls.of("Sleep"), ElementsAre("Sleep 10000", "Sleep 10000"));
}

TEST_F(CaptureRequests, DoNotPauseWhereTheConfigurationIsRefused) {
    camera.answer(refusal());
    camera.answer(refusal());
    EXPECT_EQ(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(world.calls.of("Sleep"), IsEmpty());
}

TEST_F(CaptureRequests, HoldTheConnectionForTheWholeCall) {
    EXPECT_EQ(capture(), nullptr); // no answer at all: two attempts
    std::vector<std::string> calls = world.calls.of({"connect", "send", "close"});
    EXPECT_THAT(calls, ElementsAre("connect 10.0.0.5:32769 5000", "send 10.0.0.5:32769 39 bytes",
                                   "send 10.0.0.5:32769 39 bytes", "close 10.0.0.5:32769"));
    EXPECT_EQ(World::elapsed(), 20s); // what an answer's header may take, twice
}

TEST_F(CaptureRequests, AreNotSentWhereTheConnectionFails) {
    world.calls.fail("connect", ECONNREFUSED);
    EXPECT_THROW(capture(), DeviceException);
    EXPECT_THAT(world.calls.of({"connect", "send", "close"}), ElementsAre("connect 10.0.0.5:32769 5000"));
}

TEST_F(CaptureRequests, NeedACommunicator) {
    EXPECT_EQ(Korva::capture(nullptr, false, false, false, 1, false), nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "No communicator to capture with"}));
    log.setLevel(log4cxx::Level::getOff());
    EXPECT_EQ(Korva::capture(nullptr, false, false, false, 1, false), nullptr);
    EXPECT_EQ(log.lines().size(), 1u);
}

} // namespace
} // namespace CaptureTests
