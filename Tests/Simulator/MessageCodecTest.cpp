#include "Camera/MessageCodec.h"

#include "Conversation.h"

#include <gtest/gtest.h>

#include <utility>

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

TEST(MessageCodec, WritesAnswers) {
    EXPECT_EQ(hex(encodeAnswer(ArgumentCode::done)), "01 00 00 00 0d 01 00 00 00 00 00 00 0f");
    EXPECT_EQ(hex(encodeErrorAnswer(0x01020304)), "01 00 00 00 11 01 01 00 00 00 04 01 02 03 04 00 22");
    EXPECT_EQ(hex(encodeAnswer(ArgumentCode::getImage, bytesOf({0xFF, 0x10}))),
              "01 00 00 00 0f 01 06 00 00 00 02 ff 10 01 28");
    EXPECT_EQ(hex(encodeMessage(1, {})), "01 00 00 00 08 00 00 09") << "no arguments";
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

TEST(MessageCodec, RefusesArgumentsThatDoNotFillTheMessage) {
    for (const auto& [what, request] : {
             std::pair("a header runs into the checksum", bytesOf({1, 0, 0, 0, 12, 1, 5, 0, 0, 0})),
             std::pair("a value runs into the checksum", bytesOf({1, 0, 0, 0, 14, 1, 4, 0, 0, 0, 2, 0})),
             std::pair("an argument is behind a value that swallows the checksum",
                       bytesOf({1, 0, 0, 0, 14, 2, 4, 0, 0, 0, 3, 0})),
             std::pair("a length would wrap a sum", bytesOf({1, 0, 0, 0, 13, 1, 5, 0xFF, 0xFF, 0xFF, 0xF5})),
             std::pair("a byte belongs to no argument", bytesOf({1, 0, 0, 0, 14, 1, 5, 0, 0, 0, 0, 0})),
             std::pair("fewer than announced", bytesOf({1, 0, 0, 0, 13, 2, 5, 0, 0, 0, 0})),
         })
        EXPECT_EQ(errorOf(sealed(request)), ErrorCode::badLength) << what;
}

} // namespace Simulator
