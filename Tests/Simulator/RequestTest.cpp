#include "Camera/Request.h"

#include "Conversation.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

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
    const Request sgi = requestOf(configureRequest);
    EXPECT_EQ(sgi.kind, RequestKind::configure);
    EXPECT_EQ(sgi.configuration, (Configuration{100, 2, PictureFormat::sgi}));
    EXPECT_EQ(sgi.describe(), "configure: exposure 10.0 s, mode 2, SGI, depth 16, shift 4");
    const Request png = requestOf(configureWith(1, 3, 2));
    EXPECT_EQ(png.configuration, (Configuration{1, 3, PictureFormat::png}));
    EXPECT_EQ(png.describe(), "configure: exposure 0.1 s, mode 3, PNG, depth 16, shift 4");
}

TEST(Request, TakesModes1And2InColourAndMode3InGrey) {
    for (const auto& [mode, channels] : {std::pair(1, 3U), std::pair(2, 3U), std::pair(3, 1U)})
        EXPECT_EQ(requestOf(configureWith(15, mode, 1)).configuration.channels(), channels) << mode;
}

TEST(Request, ReadsTakeGetAndProbeOfAnyFormat) {
    const Bytes oddProbe = sealed(bytesOf({1, 0, 0, 0, 14, 1, 4, 0, 0, 0, 1, 200}));
    for (const auto& [bytes, kind, words] :
         {std::tuple(takeRequest, RequestKind::take, "take"), std::tuple(getRequest, RequestKind::get, "get"),
          std::tuple(probeRequest, RequestKind::probe, "probe: format 0"),
          std::tuple(oddProbe, RequestKind::probe, "probe: format 200")}) {
        EXPECT_EQ(requestOf(bytes).kind, kind);
        EXPECT_EQ(requestOf(bytes).describe(), words);
    }
}

TEST(Request, RefusesCommandsAndArgumentsThatNoRequestHas) {
    for (const int command : {0, 2})
        EXPECT_EQ(errorOf(sealed(bytesOf({command, 0, 0, 0, 13, 1, 5, 0, 0, 0, 0}))),
                  ErrorCode::unknownCommand);
    for (const int code : {0, 1, 9, 255})
        EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 13, 1, code, 0, 0, 0, 0}))), ErrorCode::unknownArgument)
            << code;
}

TEST(Request, RefusesArgumentsThatDoNotGoTogether) {
    const Bytes none = bytesOf({1, 0, 0, 0, 8, 0});
    const Bytes twoRequests = bytesOf({1, 0, 0, 0, 18, 2, 5, 0, 0, 0, 0, 6, 0, 0, 0, 0});
    const Bytes anotherOrder = bytesOf({1, 0, 0, 0, 0x27, 5, 3, 0, 0, 0, 1, 2,  2, 0, 0, 0, 2, 0, 15,
                                        4, 0, 0, 0, 1,    1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4});
    const Bytes oneTooMany = bytesOf({1, 0, 0, 0, 0x2D, 6, 2, 0, 0,  0, 2, 0, 15, 3, 0, 0, 0, 1, 2, 4, 0, 0,
                                      0, 1, 1, 7, 0,    0, 0, 1, 16, 8, 0, 0, 0,  1, 4, 8, 0, 0, 0, 1, 4});
    for (const Bytes& request : {none, twoRequests, anotherOrder, oneTooMany})
        EXPECT_EQ(errorOf(sealed(request)), ErrorCode::wrongArguments) << hex(request);
    for (const int alone : {2, 3, 7, 8}) // of a configuration's all but the format, which is a probe
        EXPECT_EQ(errorOf(sealed(bytesOf({1, 0, 0, 0, 14, 1, alone, 0, 0, 0, 1, 1}))),
                  ErrorCode::wrongArguments)
            << alone;
}

TEST(Request, RefusesArgumentsOfAnotherLength) {
    const Bytes takeWithValue = bytesOf({1, 0, 0, 0, 14, 1, 5, 0, 0, 0, 1, 0});
    const Bytes getWithValue = bytesOf({1, 0, 0, 0, 14, 1, 6, 0, 0, 0, 1, 0});
    const Bytes probeWithout = bytesOf({1, 0, 0, 0, 13, 1, 4, 0, 0, 0, 0});
    const Bytes probeWithTwo = bytesOf({1, 0, 0, 0, 15, 1, 4, 0, 0, 0, 2, 0, 0});
    const Bytes exposureOfOneByte = bytesOf({1, 0, 0, 0, 0x26, 5, 2, 0, 0, 0, 1, 15, 3, 0, 0, 0, 1, 2,
                                             4, 0, 0, 0, 1,    1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4});
    for (const Bytes& request : {takeWithValue, getWithValue, probeWithout, probeWithTwo, exposureOfOneByte})
        EXPECT_EQ(errorOf(sealed(request)), ErrorCode::badArgumentLength) << hex(request);
}

TEST(Request, RefusesValuesOutOfRange) {
    for (const Bytes& last : {configureWith(1, 2, 1), configureWith(3600, 2, 1)})
        EXPECT_EQ(errorOf(last), ErrorCode::none);
    for (const Bytes& beyond : {configureWith(0, 2, 1), configureWith(3601, 2, 1), configureWith(15, 0, 1),
                                configureWith(15, 4, 1), configureWith(15, 2, 0), configureWith(15, 2, 3),
                                configureWith(15, 2, 1, 8), configureWith(15, 2, 1, 16, 3)})
        EXPECT_EQ(errorOf(beyond), ErrorCode::valueOutOfRange) << hex(beyond);
}

} // namespace Simulator
