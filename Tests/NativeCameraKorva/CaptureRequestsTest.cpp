// What a capture sends, in which order, and how it holds the connection.

#include "CaptureFixture.h"

#include <algorithm>
#include <stdexcept>

namespace CaptureTests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::PlatformScript;
using TestSupport::ScriptedCommunicator;

const Bytes takeRequest{0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x14};
const Bytes getRequest{0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x15};

struct CaptureRequests : Capture {
    Bytes configurationFor(const Settings& settings) {
        capture(settings);
        return communicator.writes().at(0).written;
    }
};

TEST_F(CaptureRequests, ConfiguresThenTakesThenFetches) {
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    const Bytes configuration{0x01, 0x00, 0x00, 0x00, 0x27, 0x05, 0x02, 0x00, 0x00, 0x00, 0x02, 0x00, 0x64,
                              0x03, 0x00, 0x00, 0x00, 0x01, 0x02, 0x04, 0x00, 0x00, 0x00, 0x01, 0x01, 0x07,
                              0x00, 0x00, 0x00, 0x01, 0x10, 0x08, 0x00, 0x00, 0x00, 0x01, 0x04, 0x00, 0xC6};
    EXPECT_THAT(communicator.writes(), ElementsAre(ScriptedCommunicator::writeCall(configuration),
                                                   ScriptedCommunicator::writeCall(takeRequest),
                                                   ScriptedCommunicator::writeCall(getRequest)));
}

TEST_F(CaptureRequests, ReadsAnAnswerAfterEachRequest) {
    answerGoodAttempt();
    capture();
    using enum ScriptedCommunicator::Kind;
    EXPECT_THAT(communicator.kinds(), ElementsAre(connect, write, read, read, read, // configuration
                                                  write, read, read, read,          // take
                                                  write, read, read, read, read,    // get
                                                  disconnect));
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
    ScriptedCommunicator other;
    Korva::capture(&other, false, true, false, 1, false);
    EXPECT_EQ(other.writes().at(0).written.at(24), 2);
}

TEST_F(CaptureRequests, SendTheExposuresLowSixteenBitsBigEndian) {
    for (const auto& [exposure, high, low] :
         {std::tuple(1, 0, 1), {0x1234, 0x12, 0x34}, {0x12345678, 0x56, 0x78}, {-2, 0xFF, 0xFE}}) {
        ScriptedCommunicator camera;
        Korva::capture(&camera, false, false, false, exposure, false);
        const Bytes wire = camera.writes().at(0).written;
        EXPECT_EQ(wire.at(11), high) << exposure;
        EXPECT_EQ(wire.at(12), low) << exposure;
    }
}

TEST_F(CaptureRequests, DoNotPauseUnlessTold) {
    answerGoodAttempt();
    EXPECT_NE(capture(), nullptr);
    EXPECT_THAT(PlatformScript::current().sleeps, IsEmpty());
}

TEST_F(CaptureRequests, PauseTenSecondsBetweenConfigurationAndTake) {
    answerGoodAttempt();
    std::size_t writesBeforePause = 0;
    std::vector<LogText> logBeforePause;
    PlatformScript::current().onSleep = [&](DWORD) {
        writesBeforePause = communicator.writes().size();
        logBeforePause = log.texts();
    };
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(PlatformScript::current().sleeps, ElementsAre(10000u));
    EXPECT_EQ(writesBeforePause, 1u);
    EXPECT_THAT(logBeforePause,
                ElementsAre(LogText{"INFO", "Inserting 10s of delay in between Take and Get"}));
}

TEST_F(CaptureRequests, PauseWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(PlatformScript::current().sleeps, ElementsAre(10000u));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CaptureRequests, PauseAgainInTheSecondAttempt) {
    answer(doneMessage());
    answer(errorMessage());
    answerGoodAttempt();
    EXPECT_NE(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(PlatformScript::current().sleeps, ElementsAre(10000u, 10000u));
}

TEST_F(CaptureRequests, DoNotPauseWhereTheConfigurationIsRefused) {
    answer(errorMessage());
    answer(errorMessage());
    EXPECT_EQ(capture({.delayBeforeTake = true}), nullptr);
    EXPECT_THAT(PlatformScript::current().sleeps, IsEmpty());
}

TEST_F(CaptureRequests, HoldTheConnectionForTheWholeCall) {
    using enum ScriptedCommunicator::Kind;
    EXPECT_EQ(capture(), nullptr); // no answer at all: two attempts
    EXPECT_EQ(communicator.kinds().front(), connect);
    EXPECT_EQ(communicator.kinds().back(), disconnect);
    EXPECT_EQ(std::ranges::count(communicator.kinds(), connect), 1);
    EXPECT_EQ(std::ranges::count(communicator.kinds(), disconnect), 1);
}

TEST_F(CaptureRequests, AreNotSentWhereTheConnectionFails) {
    communicator.throwOnConnect(std::make_exception_ptr(std::runtime_error("unreachable")));
    EXPECT_THROW(capture(), std::runtime_error);
    EXPECT_THAT(communicator.kinds(), ElementsAre(ScriptedCommunicator::Kind::connect));
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
