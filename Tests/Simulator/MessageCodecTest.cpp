#include "Camera/MessageCodec.h"

#include "Conversation.h"

#include <gtest/gtest.h>

namespace Simulator {

using namespace Testing;

namespace {

ErrorCode errorOf(const Bytes& request) {
    const auto result = decodeRequest(request);
    return std::holds_alternative<ErrorCode>(result) ? std::get<ErrorCode>(result) : ErrorCode::none;
}

} // namespace

TEST(MessageCodec, SumsBytesModulo65536) {
    EXPECT_EQ(checksumOf(Bytes(300, 255)), 10964);
    EXPECT_EQ(checksumOf(Bytes()), 0);
}

TEST(MessageCodec, WritesDoneWithoutValue) {
    EXPECT_EQ(encodeAnswer(ArgumentCode::done), doneAnswer);
}

TEST(MessageCodec, WritesErrorCodeBigEndian) {
    EXPECT_EQ(encodeErrorAnswer(0x01020304),
              bytesOf({1, 0, 0, 0, 0x11, 1, 1, 0, 0, 0, 4, 1, 2, 3, 4, 0, 0x22}));
}

TEST(MessageCodec, WritesPictureAnswerAroundItsFile) {
    EXPECT_EQ(encodeAnswer(ArgumentCode::getImage, bytesOf({0xFF, 0x10})),
              bytesOf({1, 0, 0, 0, 0x0F, 1, 6, 0, 0, 0, 2, 0xFF, 0x10, 1, 0x28}));
}

TEST(MessageCodec, WritesMessageWithoutArguments) {
    EXPECT_EQ(encodeMessage(1, {}), bytesOf({1, 0, 0, 0, 8, 0, 0, 9}));
}

TEST(MessageCodec, RefusesToWriteMoreThan255Arguments) {
    EXPECT_EQ(encodeMessage(1, std::vector<Argument>(255)).size(), 8U + 255 * 5);
    EXPECT_THROW(encodeMessage(1, std::vector<Argument>(256)), std::length_error);
}

TEST(MessageCodec, TakesConfigurationApart) {
    const auto result = decodeRequest(configureRequest);
    ASSERT_TRUE(std::holds_alternative<Message>(result));
    const auto& message = std::get<Message>(result);
    EXPECT_EQ(message.command, 1);
    ASSERT_EQ(message.arguments.size(), 5U);
    EXPECT_EQ(message.arguments[0].code, 2);
    EXPECT_EQ(Bytes(message.arguments[0].value.begin(), message.arguments[0].value.end()),
              bytesOf({0, 0x64}));
    EXPECT_EQ(message.arguments[4].code, 8);
    EXPECT_EQ(Bytes(message.arguments[4].value.begin(), message.arguments[4].value.end()), bytesOf({4}));
}

TEST(MessageCodec, KnowsARequestsLengthOnceItsHeaderIsThere) {
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0, 0x0E})), std::nullopt);
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0, 0x0E, 1})), 14U);
}

TEST(MessageCodec, BelievesNoLengthThatNoRequestHas) {
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0, 7, 0})), 0U);
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0, 8, 0})), 8U);
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0x10, 0, 0})), 4096U);
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0x10, 1, 0})), 0U);
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0xFF, 0xFF, 0xFF, 0xFF, 0})), 0U);
}

TEST(MessageCodec, RefusesWrongChecksum) {
    Bytes request = probeRequest;
    ++request.back();
    EXPECT_EQ(errorOf(request), ErrorCode::badChecksum);
}

TEST(MessageCodec, RefusesArgumentHeaderThatRunsIntoTheChecksum) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 12, 1, 5, 0, 0, 0}))), ErrorCode::badLength);
}

TEST(MessageCodec, RefusesArgumentValueThatRunsIntoTheChecksum) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, 4, 0, 0, 0, 2, 0}))), ErrorCode::badLength);
}

TEST(MessageCodec, RefusesArgumentBehindAValueThatSwallowsTheChecksum) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 2, 4, 0, 0, 0, 3, 0}))), ErrorCode::badLength);
}

TEST(MessageCodec, RefusesArgumentLengthThatWouldWrapASum) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 13, 1, 5, 0xFF, 0xFF, 0xFF, 0xF5}))), ErrorCode::badLength);
}

TEST(MessageCodec, RefusesBytesThatBelongToNoArgument) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, 5, 0, 0, 0, 0, 0}))), ErrorCode::badLength);
}

TEST(MessageCodec, RefusesFewerArgumentsThanAnnounced) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 13, 2, 5, 0, 0, 0, 0}))), ErrorCode::badLength);
}

} // namespace Simulator
