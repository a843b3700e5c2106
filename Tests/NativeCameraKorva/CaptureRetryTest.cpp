// Which failures end an attempt, what they log, and what the second attempt makes of them.

#include "CaptureFixture.h"
#include "Support/Beginning.h"
#include "Support/ScriptedFailures.h"

#include <algorithm>
#include <functional>
#include <ostream>
#include <stdexcept>

namespace CaptureTests {
namespace {

using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using TestSupport::beginningOf;
using TestSupport::ScriptedCommunicator;
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
     [](Capture& test) { test.answerNothing(); },
     {{"ERROR", "parseIncomingMessage failed for image configuration"}},
     1},
    {"configuration refused", [](Capture& test) { test.answer(errorMessage()); }, {}, 1},
    {"configuration answered with an image", [](Capture& test) { test.answer(imageMessage({1})); }, {}, 1},
    {"configuration answered without argument",
     [](Capture& test) { test.answer(TestSupport::wireMessage({})); },
     {},
     1},
    {"take not answered",
     [](Capture& test) {
         test.answer(doneMessage());
         test.answerNothing();
     },
     {{"ERROR", "parseIncomingMessage failed for take image request"}},
     2},
    {"take refused",
     [](Capture& test) {
         test.answer(doneMessage());
         test.answer(errorMessage());
     },
     {},
     2},
    {"get not answered",
     [](Capture& test) {
         test.answer(doneMessage());
         test.answer(doneMessage());
         test.answerNothing();
     },
     {{"ERROR", "parseIncomingMessage failed for GetImage"}},
     3},
    {"get answered with done",
     [](Capture& test) {
         for (int i = 0; i < 3; ++i)
             test.answer(doneMessage());
     },
     {},
     3},
    {"get answered with an error",
     [](Capture& test) {
         test.answer(doneMessage());
         test.answer(doneMessage());
         test.answer(errorMessage());
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
    Image* const image = capture();
    EXPECT_TRUE(isAlive(image));
    EXPECT_EQ(communicator.writes().size(), GetParam().writes + 3);
    EXPECT_THAT(log.texts(), ElementsAreArray(joined({GetParam().lines, {retryLine, twoByOne}})));
}

TEST_P(AFailedAttempt, IsTheEndIfItIsTheSecond) {
    GetParam().script(*this);
    GetParam().script(*this);
    answerGoodAttempt(); // a third attempt would succeed
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(communicator.writes().size(), GetParam().writes * 2);
    EXPECT_THAT(log.texts(), ElementsAreArray(joined({GetParam().lines, {retryLine}, GetParam().lines})));
    EXPECT_THAT(imaging().calls, IsEmpty());
}

TEST_P(AFailedAttempt, FailsWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    GetParam().script(*this);
    GetParam().script(*this);
    EXPECT_EQ(capture(), nullptr);
    EXPECT_EQ(communicator.writes().size(), GetParam().writes * 2);
}

INSTANTIATE_TEST_SUITE_P(CaptureRetry, AFailedAttempt, ::testing::ValuesIn(failures),
                         [](const auto& failure) {
                             std::string name = failure.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

struct CaptureExceptions : Capture {
    const std::exception_ptr broken = std::make_exception_ptr(std::runtime_error("broken"));
};

TEST_F(CaptureExceptions, PassFromEveryWriteAndTheConnectionIsReleased) {
    for (std::size_t index = 0; index < 3; ++index) {
        ScriptedCommunicator camera;
        camera.throwOnWrite(index, broken);
        for (std::size_t i = 0; i < index; ++i)
            camera.afterNextWrite().deliver(doneMessage());
        EXPECT_THROW(Korva::capture(&camera, false, false, false, 1, false), std::runtime_error);
        EXPECT_EQ(camera.writes().size(), index + 1);
        EXPECT_EQ(camera.kinds().back(), ScriptedCommunicator::Kind::disconnect);
    }
}

TEST_F(CaptureExceptions, PassFromTheReadsOfEveryAnswerAndTheConnectionIsReleased) {
    const Bytes file = sgiFile(colours);
    const Bytes answers[] = {doneMessage(), doneMessage(), imageMessage(file)};
    for (std::size_t failing = 0; failing < 3; ++failing) {
        for (const std::size_t before : {std::size_t{0}, std::size_t{6}, answers[failing].size() - 2}) {
            ScriptedCommunicator camera;
            for (std::size_t i = 0; i < failing; ++i)
                camera.afterNextWrite().deliver(answers[i]);
            camera.afterNextWrite();
            if (before != 0)
                camera.deliver(beginningOf(answers[failing], before));
            camera.throwOnRead(broken);
            EXPECT_THROW(Korva::capture(&camera, false, false, false, 1, false), std::runtime_error);
            EXPECT_EQ(camera.writes().size(), failing + 1);
            EXPECT_EQ(camera.kinds().back(), ScriptedCommunicator::Kind::disconnect);
        }
    }
    EXPECT_THAT(imaging().calls, IsEmpty());
}

TEST_F(CaptureExceptions, PassFromTheImagingLibraryAndLeaveNoImage) {
    const Bytes grey = pngFile(uniformSamples(2, 2, 1, 640));
    for (const bool monochrome : {false, true}) {
        for (const bool atCreate : {false, true}) {
            ScriptedCommunicator camera;
            const Bytes file = monochrome ? grey : sgiFile(colours);
            camera.afterNextWrite().deliver(doneMessage()).afterNextWrite().deliver(doneMessage());
            camera.afterNextWrite().deliver(imageMessage(file));
            host.imaging.createException = atCreate ? broken : nullptr;
            host.imaging.convertException = atCreate ? nullptr : broken;
            EXPECT_THROW(Korva::capture(&camera, false, monochrome, monochrome, 1, false),
                         std::runtime_error);
            EXPECT_THAT(imaging().alive, IsEmpty());
            EXPECT_EQ(camera.writes().size(), 3u); // the host's failure is no reason to try again
            EXPECT_EQ(camera.kinds().back(), ScriptedCommunicator::Kind::disconnect);
        }
    }
}

TEST_F(CaptureExceptions, PassFromTheReleaseAndLeaveNoImage) {
    TestSupport::onScriptedHostCall() = [this](const std::string& call) {
        if (call == "release" && host.imaging.calls.size() == 3)
            std::rethrow_exception(broken);
    };
    answerGoodAttempt();
    EXPECT_THROW(capture(), std::runtime_error);
    EXPECT_THAT(imaging().calls, ::testing::ElementsAre("create", "convert", "release", "release"));
    EXPECT_THAT(imaging().alive, IsEmpty());
}

TEST_F(CaptureExceptions, AreTheFirstOneWhereTheReleaseThrowsToo) {
    host.imaging.convertException = broken;
    TestSupport::onScriptedHostCall() = [](const std::string& call) {
        if (call == "release")
            throw 42;
    };
    answerGoodAttempt();
    EXPECT_THROW(capture(), std::runtime_error);
    EXPECT_THAT(imaging().alive, IsEmpty());
}

} // namespace
} // namespace CaptureTests
