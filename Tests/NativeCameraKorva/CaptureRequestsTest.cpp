// What a capture sends, in which order, and how it holds the connection. What becomes of answers that are not
// as they should be is the fault matrix'.

#include "CaptureFixture.h"

namespace CaptureTests {
namespace {

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

TEST_F(CaptureRequests, ConfigureModeFormatAndTheExposuresLowSixteenBits) {
    const struct {
        const char* what;
        Settings settings;
        std::size_t at; ///< in the request
        Bytes bytes;
    } rows[] = {
        {"mode 2 in colour", {}, 18, {2}},
        {"mode 3 in grey", {.monochrome = true}, 18, {3}},
        {"mode 1 if forced", {.forceMode1 = true}, 18, {1}},
        {"mode 1 if forced in grey", {.forceMode1 = true, .monochrome = true}, 18, {1}},
        {"SGI", {}, 24, {1}},
        {"PNG", {.png = true}, 24, {2}},
        {"exposure of more bits", {.exposure = 0x12345678}, 11, {0x56, 0x78}},
        {"negative exposure", {.exposure = -2}, 11, {0xFF, 0xFE}},
    };
    for (const auto& row : rows) {
        capture(row.settings);
        const auto begin = camera.requests().back().begin() + static_cast<std::ptrdiff_t>(row.at);
        EXPECT_EQ(Bytes(begin, begin + static_cast<std::ptrdiff_t>(row.bytes.size())), row.bytes) << row.what;
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

} // namespace
} // namespace CaptureTests
