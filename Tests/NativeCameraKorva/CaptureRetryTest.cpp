// Which failures end an attempt, what they log, and what the second attempt makes of them.

#include "CaptureFixture.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <stdexcept>

namespace CaptureTests {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using TestSupport::uniformSamples;

const LogText retryLine{"INFO", "First image grab attempt failed, re-trying image grab"};
const LogText twoByOne{"INFO", "Pulled Korva image with resolution: 2 1"};
const LogText blackLine{"ERROR", "All black image from Korva detected"};

/// One way in which an attempt fails.
struct Failure {
    const char* name;
    std::function<void(Capture&)> script;
    std::vector<LogText> lines; ///< of the capture logger, info and above
    std::size_t writes;
};

void PrintTo(const Failure& failure, std::ostream* stream) {
    *stream << failure.name;
}

const Failure failures[] = {
    {"configuration not answered",
     [](Capture& test) { test.camera.stayUnanswered(); },
     {{"ERROR", "parseIncomingMessage failed for image configuration"}},
     1},
    {"configuration refused", [](Capture& test) { test.camera.answer(refusal()); }, {}, 1},
    {"configuration answered with an image", [](Capture& test) { test.camera.answer(image({1})); }, {}, 1},
    {"configuration answered without argument",
     [](Capture& test) { test.camera.answer(World::message({})); },
     {},
     1},
    {"take not answered",
     [](Capture& test) {
         test.camera.answer(done());
         test.camera.stayUnanswered();
     },
     {{"ERROR", "parseIncomingMessage failed for take image request"}},
     2},
    {"take refused",
     [](Capture& test) {
         test.camera.answer(done());
         test.camera.answer(refusal());
     },
     {},
     2},
    {"get not answered",
     [](Capture& test) {
         test.camera.answer(done());
         test.camera.answer(done());
         test.camera.stayUnanswered();
     },
     {{"ERROR", "parseIncomingMessage failed for GetImage"}},
     3},
    {"get answered with done",
     [](Capture& test) {
         for (int i = 0; i < 3; ++i)
             test.camera.answer(done());
     },
     {},
     3},
    {"get answered with an error",
     [](Capture& test) {
         test.camera.answer(done());
         test.camera.answer(done());
         test.camera.answer(refusal());
     },
     {},
     3},
    {"all black",
     [](Capture& test) { test.answerAttempt(sgiFile(uniformSamples(2, 1, 3, 0))); },
     {twoByOne, blackLine},
     3},
    {"too few channels",
     [](Capture& test) { test.answerAttempt(sgiFile(uniformSamples(2, 1, 1, 9))); },
     {twoByOne,
      {"ERROR", "Korva image does not hold the expected samples: got 1 of 16 bits, expected 3 of 16 bits per "
                "pixel"}},
     3},
};

std::vector<LogText> joined(std::initializer_list<std::vector<LogText>> parts) {
    std::vector<LogText> all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

struct AFailedAttempt : Capture, ::testing::WithParamInterface<Failure> {};

TEST_P(AFailedAttempt, IsFollowedByASecondOneThatMaySucceed) {
    GetParam().script(*this);
    answerGoodAttempt();
    EXPECT_TRUE(isAlive(capture()));
    EXPECT_EQ(camera.requests().size(), GetParam().writes + 3);
    EXPECT_THAT(log.texts(), ElementsAreArray(joined({GetParam().lines, {retryLine, twoByOne}})));
}

TEST_P(AFailedAttempt, IsTheEndIfItIsTheSecond) {
    GetParam().script(*this);
    GetParam().script(*this);
    answerGoodAttempt(); // a third attempt would succeed
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(camera.requests().size(), GetParam().writes * 2);
    EXPECT_THAT(log.texts(), ElementsAreArray(joined({GetParam().lines, {retryLine}, GetParam().lines})));
    EXPECT_THAT(imagingCalls(), IsEmpty());
}

TEST_P(AFailedAttempt, FailsWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    GetParam().script(*this);
    GetParam().script(*this);
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(camera.requests().size(), GetParam().writes * 2);
}

INSTANTIATE_TEST_SUITE_P(CaptureRetry, AFailedAttempt, ::testing::ValuesIn(failures),
                         [](const auto& failure) {
                             std::string name = failure.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

/// What the host throws goes out, as the transport's does; the connection is given back.
struct CaptureExceptions : Capture {
    const std::runtime_error broken{"broken"};

    /// The capture of a camera that does all it is asked is sent so many requests and then throws.
    void expectThrown(std::size_t requests, const Settings& settings = {}) {
        camera.forget();
        answerAttempt(settings.png ? pngFile(uniformSamples(2, 2, 1, 640)) : sgiFile(colours));
        world.calls.clear();
        EXPECT_THROW(capture(settings), std::runtime_error);
        EXPECT_EQ(world.calls.of("send").size(), requests);
        EXPECT_EQ(world.calls.of("close").size(), 1u);
        EXPECT_THAT(world.imaging.alive, IsEmpty());
        world.calls.failNoMore();
    }
};

TEST_F(CaptureExceptions, PassFromEveryWriteAndTheConnectionIsReleased) {
    for (const int request : {1, 2, 3}) {
        world.calls.throwFrom("send", broken, request);
        expectThrown(static_cast<std::size_t>(request));
    }
}

TEST_F(CaptureExceptions, PassFromTheReadsOfEveryAnswerAndTheConnectionIsReleased) {
    for (const int answer : {1, 2, 3}) {
        for (const char* const part : {"6", "5", "2"}) { // header, argument, checksum
            world.calls.throwFrom("receive 10.0.0.5:32769 " + std::string(part), broken, answer);
            expectThrown(static_cast<std::size_t>(answer));
        }
    }
    EXPECT_THAT(imagingCalls(), IsEmpty());
}

TEST_F(CaptureExceptions, PassFromTheImagingLibraryAndLeaveNoImage) {
    for (const Settings& settings : {Settings{}, greyPng}) {
        for (const char* const call : {"createImage", "convertToGreyscale"}) {
            world.calls.throwFrom(call, broken);
            expectThrown(3, settings); // the host's failure is no reason to try again
        }
    }
}

TEST_F(CaptureExceptions, PassFromTheReleaseAndLeaveNoImage) {
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
