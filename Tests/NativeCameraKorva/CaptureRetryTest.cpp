// Which failures end an attempt, what they log, and what the second attempt makes of them.

#include "CaptureFixture.h"

#include <stdexcept>

namespace CaptureTests {
namespace {

const LogText retryLine = info("First image grab attempt failed, re-trying image grab");
const LogText pulledLine = info("Pulled Korva image with resolution: 2 1");

/// One way in which an attempt fails: what is answered, and what the capture logger says, info and above.
struct Failure {
    std::string name;
    std::vector<Bytes> answers; ///< the last one may be missing: no bytes
    Texts lines;
};

void PrintTo(const Failure& failure, std::ostream* stream) {
    *stream << failure.name;
}

const Bytes none;
const Bytes black = image(sgiFile(uniformSamples(2, 1, 3, 0)));
const Bytes grey = image(sgiFile(uniformSamples(2, 1, 1, 9)));

const Failure failures[] = {
    {"ConfigurationNotAnswered", {none}, {error("parseIncomingMessage failed for image configuration")}},
    {"ConfigurationRefused", {refusal()}, {}},
    {"ConfigurationAnsweredWithAnImage", {image({1})}, {}},
    {"ConfigurationAnsweredWithoutArgument", {World::message({})}, {}},
    {"TakeNotAnswered", {done(), none}, {error("parseIncomingMessage failed for take image request")}},
    {"TakeRefused", {done(), refusal()}, {}},
    {"GetNotAnswered", {done(), done(), none}, {error("parseIncomingMessage failed for GetImage")}},
    {"GetAnsweredWithDone", {done(), done(), done()}, {}},
    {"GetAnsweredWithAnError", {done(), done(), refusal()}, {}},
    {"AllBlack", {done(), done(), black}, {pulledLine, error("All black image from Korva detected")}},
    {"TooFewChannels",
     {done(), done(), grey},
     {pulledLine, error("Korva image does not hold the expected samples: got 1 of 16 bits, expected 3 of 16 "
                        "bits per pixel")}},
};

Texts joined(std::initializer_list<Texts> parts) {
    Texts all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

struct AFailedAttempt : Capture, ::testing::WithParamInterface<Failure> {
    const Texts& lines = GetParam().lines;

    void failOnce() {
        for (const Bytes& answer : GetParam().answers)
            camera.act(answer.empty() ? World::Actions{} : World::Actions{World::sending(answer)});
    }
};

TEST_P(AFailedAttempt, IsFollowedByASecondOneThatMaySucceed) {
    failOnce();
    answerGoodAttempt();
    EXPECT_TRUE(world.imaging.alive.contains(capture()));
    EXPECT_EQ(camera.requests().size(), GetParam().answers.size() + 3);
    EXPECT_EQ(log.texts(), joined({lines, {retryLine, pulledLine}}));
}

TEST_P(AFailedAttempt, IsTheEndIfItIsTheSecond) {
    for (const bool isLogged : {true, false}) {
        if (!isLogged)
            log.turnOff();
        failOnce();
        failOnce();
        answerGoodAttempt(); // a third attempt would succeed
        EXPECT_EQ(capture(), nullptr);
        EXPECT_EQ(camera.answersLeft(), 3u);
        camera.forget();
        EXPECT_EQ(log.texts(), joined({lines, {retryLine}, lines}));
        EXPECT_THAT(imagingCalls(), IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(CaptureRetry, AFailedAttempt, ::testing::ValuesIn(failures),
                         [](const auto& failure) { return failure.param.name; });

/// What the host throws goes out, as the transport's does; the connection is given back.
struct CaptureExceptions : Capture {
    const std::runtime_error broken{"broken"};

    /// The capture of a camera that does all it is asked is sent so many requests and then throws.
    void expectThrown(int requests, const Settings& settings = {}) {
        camera.forget();
        answerAttempt(settings.png ? pngFile(uniformSamples(2, 2, 1, 640)) : sgiFile(colours));
        world.calls.clear();
        EXPECT_THROW(capture(settings), std::runtime_error);
        EXPECT_EQ(world.calls.of("send").size(), static_cast<std::size_t>(requests));
        EXPECT_EQ(world.calls.of("close").size(), 1u);
        EXPECT_THAT(world.imaging.alive, IsEmpty());
        world.calls.failNoMore();
    }
};

TEST_F(CaptureExceptions, PassFromEveryCallAndLeaveNothingBehind) {
    const std::string read = "receive 10.0.0.5:32769 ";
    for (const int request : {1, 2, 3}) { // and the header, argument and checksum of its answer
        for (const std::string& call : {std::string("send"), read + "6", read + "5", read + "2"}) {
            world.calls.throwFrom(call, broken, request);
            expectThrown(request);
        }
    }
    for (const Settings& settings : {Settings{}, greyPng}) {
        for (const char* const call : {"createImage", "convertToGreyscale"}) {
            world.calls.throwFrom(call, broken);
            expectThrown(3, settings); // the host's failure is no reason to try again
        }
    }
    world.calls.throwFrom("releaseImage", broken);
    expectThrown(3);
    EXPECT_THAT(imagingCalls(),
                ElementsAre("createImage", "convertToGreyscale", "releaseImage", "releaseImage"));
}

TEST_F(CaptureExceptions, AreTheFirstOneWhereTheReleaseThrowsToo) {
    world.calls.throwFrom("convertToGreyscale", broken);
    world.calls.throwAlways("releaseImage", 42);
    expectThrown(3);
}

} // namespace
} // namespace CaptureTests
