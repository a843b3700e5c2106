#include "Camera/FaultedAnswer.h"

#include "Conversation.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <utility>

namespace Simulator {

using namespace Testing;

namespace {

/// The answer to the last request of a whole capture in `format`, or of its beginning if a take is to fail.
std::vector<Action> answerWith(std::string_view fault, PictureFormat format = PictureFormat::sgi) {
    Camera camera(fault.empty() ? smallCamera() : smallCameraWith({fault}));
    BinarySession session(camera);
    reactionTo(session, configureWith(15, 2, static_cast<int>(format)));
    std::vector<Action> taken = reactionTo(session, takeRequest).actions;
    return fault.starts_with("take:") ? taken : reactionTo(session, getRequest).actions;
}

Bytes sentWith(std::string_view fault, PictureFormat format = PictureFormat::sgi) {
    return sentBytes(answerWith(fault, format));
}

const std::string done = "01 00 00 00 0d 01 00 00 00 00 00 00 0f";
constexpr std::size_t sgiFileBytes = 512 + 8 * 3 * 3 * 2;

Bytes rightPicture() {
    return sentWith("");
}

/// The picture file of an answer.
Bytes fileIn(const Bytes& answer) {
    return {answer.begin() + 11, answer.end() - 2};
}

} // namespace

TEST(FaultedAnswer, NothingChangesWithoutAFault) {
    const Bytes answer = rightPicture();
    EXPECT_EQ(answer.size(), 13 + sgiFileBytes);
    EXPECT_EQ(answer[6], 6);
    EXPECT_EQ(read32(answer, 1), answer.size());
    EXPECT_EQ(read32(answer, 7), sgiFileBytes);
}

TEST(FaultedAnswer, IsToTheByteAndTheStepWhatTheFaultSays) {
    for (const auto& [fault, answer] : {
             std::pair<const char*, std::string>("take:checksum", "01 00 00 00 0d 01 00 00 00 00 00 00 10"),
             {"take:error=258", "01 00 00 00 11 01 01 00 00 00 04 00 00 01 02 00 1b"},
             {"take:wrong-response", "01 00 00 00 0d 01 06 00 00 00 00 00 15"},
             {"get:wrong-response", done},
             {"take:no-argument", "01 00 00 00 08 00 00 09"},
             {"take:two-arguments", "01 00 00 00 12 02 00 00 00 00 00 00 00 00 00 00 00 15"},
             {"take:wrong-command", "02 00 00 00 0d 01 00 00 00 00 00 00 10"},
             {"get:unknown-code", "01 00 00 00 0d 01 63 00 00 00 00 00 72"},
             {"take:length-large", "01 00 00 00 1a 01 00 00 00 00 00 00 1c"},
             {"take:length-small", "01 00 00 00 06 01 00 00 00 00 00 00 08"},
             {"take:length-wrap", "01 00 00 00 0d 01 00 ff ff ff f5 04 01"}, // 11 and that are 2^32
             {"get:long-value", "01 00 00 00 15 01 00 00 00 00 08 00 00 00 00 00 00 00 00 00 1f"},
             {"get:huge-image", "01 ff ff ff ff 01 06 7f ff ff ff"},
             {"take:flip=0", "00 00 00 00 0d 01 00 00 00 00 00 00 0f"},
             {"take:flip=103", "01 00 00 00 0d 01 00 00 00 00 00 00 8f"},
             {"take:flip=104", done}, // behind the end
             {"take:twice", done + " " + done},
             {"get:stale", done},
             {"take:truncate-close=4", "01 00 00 00, close"},
             {"take:truncate-silent", "01 00 00 00 0d 01"},
             {"take:truncate-silent=1000", done},
             {"take:reset", "reset"},
             {"take:close", "close"},
             {"take:silent", ""},
             {"take:delay=250", "pause 250, " + done},
         })
        EXPECT_EQ(told(answerWith(fault), hex), answer) << fault;
}

TEST(FaultedAnswer, ChecksumOfAPictureIsWrongAndTheRestRight) {
    Bytes picture = rightPicture();
    ++picture.back();
    EXPECT_EQ(sentWith("get:checksum"), picture);
}

TEST(FaultedAnswer, FurtherArgumentsStandBehindThePictureWithARightLengthAndChecksum) {
    for (const auto& [fault, count] :
         {std::pair("get:two-arguments", 2), std::pair("get:many-arguments", 255)}) {
        const Bytes answer = sentWith(fault);
        const std::size_t added = 5U * static_cast<std::size_t>(count - 1);
        ASSERT_EQ(answer.size(), rightPicture().size() + added);
        EXPECT_EQ(answer[5], count);
        EXPECT_EQ(read32(answer, 1), answer.size());
        EXPECT_EQ(Bytes(answer.end() - 2 - static_cast<std::ptrdiff_t>(added), answer.end() - 2),
                  Bytes(added));
        EXPECT_TRUE(hasRightChecksum(answer));
    }
}

TEST(FaultedAnswer, GarbageIs64BytesThatNoAnswerBeginsWith) {
    const Bytes garbage = sentWith("take:garbage");
    ASSERT_EQ(garbage.size(), 64U);
    EXPECT_EQ(garbage[0], 0xAA);
    EXPECT_EQ(garbage, sentWith("get:garbage"));
}

TEST(FaultedAnswer, StaleOfTheFirstMessageIsNoneAndThenTheOneBefore) {
    Camera camera(smallCameraWith({"configure:stale"}));
    BinarySession session(camera);
    EXPECT_TRUE(reactionTo(session, configureRequest).actions.empty());
    reactionTo(session, takeRequest);
    const Bytes picture = answerTo(session, getRequest);
    EXPECT_EQ(answerTo(session, configureRequest), picture);
}

TEST(FaultedAnswer, ScatterSendsTheRightAnswerInPiecesOfManySizes) {
    const auto actions = answerWith("get:scatter=15");
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
    const auto actions = answerWith("take:endless");
    ASSERT_EQ(actions.size(), 1U);
    const auto& sending = std::get<SendBytes>(actions[0]);
    EXPECT_TRUE(sending.endless);
    EXPECT_EQ(*sending.bytes, Bytes(sending.length, 'U'));
}

TEST(FaultedAnswer, TrailSendsZerosWithoutEndBehindTheAnswer) {
    const auto actions = answerWith("take:trail");
    ASSERT_EQ(actions.size(), 2U);
    EXPECT_EQ(*std::get<SendBytes>(actions[0]).bytes, doneAnswer);
    const auto& zeros = std::get<SendBytes>(actions[1]);
    EXPECT_TRUE(zeros.endless);
    EXPECT_EQ(*zeros.bytes, Bytes(zeros.length));
}

TEST(FaultedAnswer, DripSendsTheRightAnswerInPieces) {
    const auto actions = answerWith("get:drip=100/5");
    ASSERT_EQ(actions.size(), 1U);
    EXPECT_EQ(std::get<SendBytes>(actions[0]).pieceBytes, 100U);
    EXPECT_EQ(std::get<SendBytes>(actions[0]).pause.count(), 5);
    EXPECT_EQ(sentBytes(actions), rightPicture());
}

TEST(FaultedAnswer, GarbagePictureIsNoPictureFile) {
    const Bytes answer = sentWith("get:garbage-picture");
    ASSERT_EQ(answer.size(), 13U + 4096);
    EXPECT_EQ(answer[6], 6);
    EXPECT_EQ(answer[11], 0xAA);
    EXPECT_TRUE(hasRightChecksum(answer));
}

TEST(FaultedAnswer, EmptyPictureHasNoPixels) {
    const Bytes sgi = fileIn(sentWith("get:empty-picture"));
    ASSERT_EQ(sgi.size(), 512U);
    EXPECT_EQ(hex({sgi.begin(), sgi.begin() + 12}), "01 da 00 02 00 03 00 00 00 00 00 03");
    EXPECT_EQ(
        hex(fileIn(sentWith("get:empty-picture", PictureFormat::png))),
        "89 50 4e 47 0d 0a 1a 0a 00 00 00 0d 49 48 44 52 00 00 00 00 00 00 00 00 10 00 00 00 00 4e 70 ff "
        "8d 00 00 00 00 49 45 4e 44 ae 42 60 82");
}

TEST(FaultedAnswer, BlackPictureHasTheDuePictureSize) {
    Bytes black = rightPicture();
    std::fill(black.begin() + 11 + 512, black.end() - 2, std::uint8_t{0});
    const Bytes answer = sentWith("get:black-picture");
    ASSERT_EQ(answer.size(), black.size());
    EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 23), Bytes(black.begin(), black.begin() + 23));
    EXPECT_EQ(Bytes(answer.begin() + 523, answer.end() - 2), Bytes(black.begin() + 523, black.end() - 2));
}

} // namespace Simulator
