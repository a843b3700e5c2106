#include "Camera/FaultedAnswer.h"

#include "Conversation.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace Simulator {

using namespace Testing;

namespace {

/// The answer to a take request of a configured camera with one fault.
std::vector<Action> takeWith(std::string_view fault) {
    CameraSettings settings = smallCamera();
    settings.faults = {parseFault(fault)};
    Camera camera(settings);
    BinarySession session(camera);
    reactionTo(session, configureRequest);
    return reactionTo(session, takeRequest).actions;
}

/// The answer to a get request after a capture in `format`.
std::vector<Action> getWith(std::string_view fault, PictureFormat format = PictureFormat::sgi) {
    CameraSettings settings = smallCamera();
    if (!fault.empty())
        settings.faults = {parseFault(fault)};
    Camera camera(settings);
    BinarySession session(camera);
    reactionTo(session, configureWith(15, 2, static_cast<int>(format)));
    reactionTo(session, takeRequest);
    return reactionTo(session, getRequest).actions;
}

Bytes rightPicture() {
    return sentBytes(getWith(""));
}

constexpr std::size_t sgiFileBytes = 512 + 8 * 3 * 3 * 2;

} // namespace

TEST(FaultedAnswer, NothingChangesWithoutAFault) {
    const Bytes answer = rightPicture();
    EXPECT_EQ(answer.size(), 13 + sgiFileBytes);
    EXPECT_EQ(answer[6], 6);
    EXPECT_EQ(read32(answer, 1), answer.size());
    EXPECT_EQ(read32(answer, 7), sgiFileBytes);
}

TEST(FaultedAnswer, ChecksumIsWrongAndTheRestRight) {
    Bytes done = doneAnswer;
    done[12] = 0x10;
    EXPECT_EQ(sentBytes(takeWith("take:checksum")), done);
    Bytes picture = rightPicture();
    ++picture.back();
    EXPECT_EQ(sentBytes(getWith("get:checksum")), picture);
}

TEST(FaultedAnswer, ErrorCarriesItsCode) {
    EXPECT_EQ(sentBytes(takeWith("take:error=258")),
              bytesOf({1, 0, 0, 0, 0x11, 1, 1, 0, 0, 0, 4, 0, 0, 1, 2, 0, 0x1B}));
}

TEST(FaultedAnswer, WrongResponseSwapsDoneAndGetImage) {
    EXPECT_EQ(sentBytes(takeWith("take:wrong-response")),
              bytesOf({1, 0, 0, 0, 0x0D, 1, 6, 0, 0, 0, 0, 0, 0x15}));
    EXPECT_EQ(sentBytes(getWith("get:wrong-response")), doneAnswer);
}

TEST(FaultedAnswer, NoArgumentLeavesHeaderAndChecksum) {
    EXPECT_EQ(sentBytes(takeWith("take:no-argument")), bytesOf({1, 0, 0, 0, 8, 0, 0, 9}));
}

TEST(FaultedAnswer, TwoArgumentsAddADone) {
    EXPECT_EQ(sentBytes(takeWith("take:two-arguments")),
              bytesOf({1, 0, 0, 0, 0x12, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x15}));
    const Bytes picture = sentBytes(getWith("get:two-arguments"));
    EXPECT_EQ(picture.size(), rightPicture().size() + 5);
    EXPECT_EQ(picture[5], 2);
    EXPECT_EQ(read32(picture, 1), picture.size());
    EXPECT_EQ(read16(picture, picture.size() - 2), checksumOf(ByteView(picture).first(picture.size() - 2)));
}

TEST(FaultedAnswer, WrongCommandEchoes2) {
    EXPECT_EQ(sentBytes(takeWith("take:wrong-command")),
              bytesOf({2, 0, 0, 0, 0x0D, 1, 0, 0, 0, 0, 0, 0, 0x10}));
}

TEST(FaultedAnswer, UnknownCodeIs99) {
    EXPECT_EQ(sentBytes(getWith("get:unknown-code")),
              bytesOf({1, 0, 0, 0, 0x0D, 1, 99, 0, 0, 0, 0, 0, 0x72}));
}

TEST(FaultedAnswer, LengthLargeAnnouncesTwiceWithARightChecksum) {
    EXPECT_EQ(sentBytes(takeWith("take:length-large")), bytesOf({1, 0, 0, 0, 26, 1, 0, 0, 0, 0, 0, 0, 28}));
}

TEST(FaultedAnswer, LengthSmallAnnouncesHalfWithARightChecksum) {
    EXPECT_EQ(sentBytes(takeWith("take:length-small")), bytesOf({1, 0, 0, 0, 6, 1, 0, 0, 0, 0, 0, 0, 8}));
}

TEST(FaultedAnswer, LengthWrapMakesTheSumZero) {
    const Bytes answer = sentBytes(takeWith("take:length-wrap"));
    EXPECT_EQ(answer, bytesOf({1, 0, 0, 0, 0x0D, 1, 0, 0xFF, 0xFF, 0xFF, 0xF5, 4, 1}));
    EXPECT_EQ(static_cast<std::uint32_t>(11 + read32(answer, 7)), 0U);
}

TEST(FaultedAnswer, LongValueIsDoneWith8Bytes) {
    EXPECT_EQ(sentBytes(getWith("get:long-value")),
              bytesOf({1, 0, 0, 0, 0x15, 1, 0, 0, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x1F}));
}

TEST(FaultedAnswer, ManyArgumentsAdd254Dones) {
    const Bytes answer = sentBytes(takeWith("take:many-arguments"));
    ASSERT_EQ(answer.size(), 8U + 255 * 5);
    EXPECT_EQ(answer[5], 255);
    EXPECT_EQ(read32(answer, 1), answer.size());
    EXPECT_EQ(Bytes(answer.begin() + 6, answer.end() - 2), Bytes(255 * 5));
    EXPECT_EQ(read16(answer, answer.size() - 2), checksumOf(ByteView(answer).first(answer.size() - 2)));
}

TEST(FaultedAnswer, HugeImageAnnouncesTwoGibibytesAndEnds) {
    EXPECT_EQ(sentBytes(getWith("get:huge-image")),
              bytesOf({1, 0xFF, 0xFF, 0xFF, 0xFF, 1, 6, 0x7F, 0xFF, 0xFF, 0xFF}));
}

TEST(FaultedAnswer, FlipTurnsOneBitAndNoneBehindTheEnd) {
    EXPECT_EQ(sentBytes(takeWith("take:flip=0")), bytesOf({0, 0, 0, 0, 0x0D, 1, 0, 0, 0, 0, 0, 0, 0x0F}));
    EXPECT_EQ(sentBytes(takeWith("take:flip=103")), bytesOf({1, 0, 0, 0, 0x0D, 1, 0, 0, 0, 0, 0, 0, 0x8F}));
    EXPECT_EQ(sentBytes(takeWith("take:flip=104")), doneAnswer);
}

TEST(FaultedAnswer, GarbageIs64BytesThatNoAnswerBeginsWith) {
    const Bytes garbage = sentBytes(takeWith("take:garbage"));
    ASSERT_EQ(garbage.size(), 64U);
    EXPECT_EQ(garbage[0], 0xAA);
    EXPECT_EQ(garbage, sentBytes(getWith("get:garbage")));
}

TEST(FaultedAnswer, TwiceIsTheSameAnswerAgain) {
    EXPECT_EQ(sentBytes(takeWith("take:twice")), joined({doneAnswer, doneAnswer}));
}

TEST(FaultedAnswer, StaleIsTheAnswerToTheMessageBefore) {
    EXPECT_EQ(sentBytes(getWith("get:stale")), doneAnswer);
    CameraSettings settings = smallCamera();
    settings.faults = {parseFault("configure:stale")};
    Camera camera(settings);
    BinarySession session(camera);
    EXPECT_TRUE(reactionTo(session, configureRequest).actions.empty());
    reactionTo(session, takeRequest);
    const Bytes picture = answerTo(session, getRequest);
    EXPECT_EQ(answerTo(session, configureRequest), picture);
}

TEST(FaultedAnswer, ScatterSendsTheRightAnswerInPiecesOfManySizes) {
    const auto actions = getWith("get:scatter=15");
    EXPECT_EQ(sentBytes(actions), rightPicture());
    std::set<std::size_t> sizes;
    std::set<std::int64_t> pauses;
    for (const Action& action : actions) {
        if (const auto* const piece = std::get_if<SendBytes>(&action))
            sizes.insert(piece->length);
        else
            pauses.insert(std::get<Pause>(action).length.count());
    }
    EXPECT_GT(sizes.size(), 5U);
    EXPECT_GT(pauses.size(), 3U);
    EXPECT_LE(*pauses.rbegin(), 15);
}

TEST(FaultedAnswer, EndlessSendsTheSameByteAgainAndAgain) {
    const auto actions = takeWith("take:endless");
    ASSERT_EQ(actions.size(), 1U);
    const auto& sending = std::get<SendBytes>(actions[0]);
    EXPECT_TRUE(sending.endless);
    EXPECT_EQ(*sending.bytes, Bytes(sending.length, 'U'));
}

TEST(FaultedAnswer, TruncateCloseSendsSoManyBytesAndCloses) {
    const auto actions = takeWith("take:truncate-close=4");
    ASSERT_EQ(actions.size(), 2U);
    EXPECT_EQ(sentBytes(actions), bytesOf({1, 0, 0, 0}));
    EXPECT_TRUE(std::holds_alternative<CloseConnection>(actions[1]));
}

TEST(FaultedAnswer, TruncateSilentSendsHalfUnlessTold) {
    const auto actions = takeWith("take:truncate-silent");
    ASSERT_EQ(actions.size(), 1U);
    EXPECT_EQ(sentBytes(actions), bytesOf({1, 0, 0, 0, 0x0D, 1}));
    EXPECT_EQ(sentBytes(takeWith("take:truncate-silent=1000")), doneAnswer);
}

TEST(FaultedAnswer, ResetAndCloseSendNothing) {
    const auto reset = takeWith("take:reset");
    ASSERT_EQ(reset.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<ResetConnection>(reset[0]));
    const auto close = takeWith("take:close");
    ASSERT_EQ(close.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<CloseConnection>(close[0]));
}

TEST(FaultedAnswer, SilentDoesNothing) {
    EXPECT_TRUE(takeWith("take:silent").empty());
}

TEST(FaultedAnswer, DelayPausesBeforeTheRightAnswer) {
    const auto actions = takeWith("take:delay=250");
    ASSERT_EQ(actions.size(), 2U);
    EXPECT_EQ(std::get<Pause>(actions[0]).length.count(), 250);
    EXPECT_EQ(sentBytes(actions), doneAnswer);
}

TEST(FaultedAnswer, DripSendsTheRightAnswerInPieces) {
    const auto actions = getWith("get:drip=100/5");
    ASSERT_EQ(actions.size(), 1U);
    EXPECT_EQ(std::get<SendBytes>(actions[0]).pieceBytes, 100U);
    EXPECT_EQ(std::get<SendBytes>(actions[0]).pause.count(), 5);
    EXPECT_EQ(sentBytes(actions), rightPicture());
}

TEST(FaultedAnswer, GarbagePictureIsNoPictureFile) {
    const Bytes answer = sentBytes(getWith("get:garbage-picture"));
    ASSERT_EQ(answer.size(), 13U + 4096);
    EXPECT_EQ(answer[6], 6);
    EXPECT_EQ(answer[11], 0xAA);
    EXPECT_EQ(read16(answer, answer.size() - 2), checksumOf(ByteView(answer).first(answer.size() - 2)));
}

TEST(FaultedAnswer, EmptySgiPictureHasNoPixels) {
    const Bytes answer = sentBytes(getWith("get:empty-picture"));
    ASSERT_EQ(answer.size(), 13U + 512);
    EXPECT_EQ(Bytes(answer.begin() + 11, answer.begin() + 23),
              bytesOf({1, 0xDA, 0, 2, 0, 3, 0, 0, 0, 0, 0, 3}));
}

TEST(FaultedAnswer, EmptyPngPictureHasNoPixels) {
    const Bytes answer = sentBytes(getWith("get:empty-picture", PictureFormat::png));
    EXPECT_EQ(Bytes(answer.begin() + 11, answer.end() - 2),
              bytesOf({0x89, 'P',  'N',  'G', 13, 10, 26, 10,  0,   0,   0,   13,   'I',  'H',  'D',
                       'R',  0,    0,    0,   0,  0,  0,  0,   0,   16,  0,   0,    0,    0,    0x4E,
                       0x70, 0xFF, 0x8D, 0,   0,  0,  0,  'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82}));
}

TEST(FaultedAnswer, BlackPictureHasTheDuePictureSize) {
    const Bytes answer = sentBytes(getWith("get:black-picture"));
    ASSERT_EQ(answer.size(), rightPicture().size());
    EXPECT_EQ(Bytes(answer.begin() + 11 + 512, answer.end() - 2), Bytes(sgiFileBytes - 512));
    EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 23), [] {
        const Bytes right = rightPicture();
        return Bytes(right.begin(), right.begin() + 23);
    }());
}

} // namespace Simulator
