#include "Camera/Request.h"

#include "Conversation.h"

#include <gtest/gtest.h>

namespace Simulator {

using namespace Testing;

namespace {

std::variant<Request, ErrorCode> parsed(const Bytes& bytes) {
    const auto message = decodeRequest(bytes);
    if (const auto* const error = std::get_if<ErrorCode>(&message))
        return *error;
    return parseRequest(std::get<Message>(message));
}

ErrorCode errorOf(const Bytes& bytes) {
    const auto result = parsed(bytes);
    return std::holds_alternative<ErrorCode>(result) ? std::get<ErrorCode>(result) : ErrorCode::none;
}

Request requestOf(const Bytes& bytes) {
    return std::get<Request>(parsed(bytes));
}

} // namespace

TEST(Request, ReadsConfiguration) {
    const Request request = requestOf(configureRequest);
    EXPECT_EQ(request.kind, RequestKind::configure);
    EXPECT_EQ(request.configuration, (Configuration{100, 2, PictureFormat::sgi}));
    EXPECT_EQ(request.describe(), "configure: exposure 10.0 s, mode 2, SGI, depth 16, shift 4");
}

TEST(Request, ReadsPngConfigurationWithATenthOfASecond) {
    const Request request = requestOf(configureWith(1, 3, 2));
    EXPECT_EQ(request.configuration, (Configuration{1, 3, PictureFormat::png}));
    EXPECT_EQ(request.describe(), "configure: exposure 0.1 s, mode 3, PNG, depth 16, shift 4");
}

TEST(Request, TakesModes1And2InColourAndMode3InGrey) {
    EXPECT_EQ(requestOf(configureWith(15, 1, 1)).configuration.channels(), 3U);
    EXPECT_EQ(requestOf(configureWith(15, 2, 1)).configuration.channels(), 3U);
    EXPECT_EQ(requestOf(configureWith(15, 3, 1)).configuration.channels(), 1U);
}

TEST(Request, ReadsTakeAndGet) {
    EXPECT_EQ(requestOf(takeRequest).kind, RequestKind::take);
    EXPECT_EQ(requestOf(takeRequest).describe(), "take");
    EXPECT_EQ(requestOf(getRequest).kind, RequestKind::get);
    EXPECT_EQ(requestOf(getRequest).describe(), "get");
}

TEST(Request, ReadsProbeOfAnyFormat) {
    EXPECT_EQ(requestOf(probeRequest).kind, RequestKind::probe);
    const Request odd = requestOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, 4, 0, 0, 0, 1, 200})));
    EXPECT_EQ(odd.kind, RequestKind::probe);
    EXPECT_EQ(odd.describe(), "probe: format 200");
}

TEST(Request, RefusesOtherCommands) {
    EXPECT_EQ(errorOf(sealed(bytesOf({2, 0, 0, 0, 13, 1, 5, 0, 0, 0, 0}))), ErrorCode::unknownCommand);
    EXPECT_EQ(errorOf(sealed(bytesOf({0, 0, 0, 0, 13, 1, 5, 0, 0, 0, 0}))), ErrorCode::unknownCommand);
}

TEST(Request, RefusesArgumentsThatNoRequestCarries) {
    for (const int code : {0, 1, 9, 255})
        EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 13, 1, code, 0, 0, 0, 0}))), ErrorCode::unknownArgument)
            << code;
}

TEST(Request, RefusesMessageWithoutArguments) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 8, 0}))), ErrorCode::wrongArguments);
}

TEST(Request, RefusesLoneConfigurationArgumentsExceptFormat) {
    for (const int code : {2, 3, 7, 8})
        EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, code, 0, 0, 0, 1, 1}))),
                  ErrorCode::wrongArguments)
            << code;
}

TEST(Request, RefusesTwoRequestsInOneMessage) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 18, 2, 5, 0, 0, 0, 0, 6, 0, 0, 0, 0}))),
              ErrorCode::wrongArguments);
}

TEST(Request, RefusesConfigurationInAnotherOrder) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 0x27, 5, 3, 0, 0, 0, 1, 2,  2, 0, 0, 0, 2, 0, 15,
                                      4, 0, 0, 0, 1,    1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4}))),
              ErrorCode::wrongArguments);
}

TEST(Request, RefusesConfigurationWithAnArgumentTooMany) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 0x2D, 6, 2, 0, 0,  0, 2, 0, 15, 3, 0, 0, 0, 1, 2, 4, 0, 0,
                                      0, 1, 1, 7, 0,    0, 0, 1, 16, 8, 0, 0, 0,  1, 4, 8, 0, 0, 0, 1, 4}))),
              ErrorCode::wrongArguments);
}

TEST(Request, RefusesTakeAndGetWithAValue) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, 5, 0, 0, 0, 1, 0}))), ErrorCode::badArgumentLength);
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, 6, 0, 0, 0, 1, 0}))), ErrorCode::badArgumentLength);
}

TEST(Request, RefusesProbeWithoutOrWithTwoBytes) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 13, 1, 4, 0, 0, 0, 0}))), ErrorCode::badArgumentLength);
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 15, 1, 4, 0, 0, 0, 2, 0, 0}))),
              ErrorCode::badArgumentLength);
}

TEST(Request, RefusesExposureOfOneByte) {
    EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 0x26, 5, 2, 0, 0, 0, 1, 15, 3, 0, 0, 0, 1, 2,
                                      4, 0, 0, 0, 1,    1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4}))),
              ErrorCode::badArgumentLength);
}

TEST(Request, RefusesValuesOutOfRange) {
    EXPECT_EQ(errorOf(configureWith(0, 2, 1)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(1, 2, 1)), ErrorCode::none);
    EXPECT_EQ(errorOf(configureWith(3600, 2, 1)), ErrorCode::none);
    EXPECT_EQ(errorOf(configureWith(3601, 2, 1)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(15, 0, 1)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(15, 4, 1)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(15, 2, 0)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(15, 2, 3)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(15, 2, 1, 8)), ErrorCode::valueOutOfRange);
    EXPECT_EQ(errorOf(configureWith(15, 2, 1, 16, 3)), ErrorCode::valueOutOfRange);
}

} // namespace Simulator
