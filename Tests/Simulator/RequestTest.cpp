#include "Camera/Request.h"

#include "Conversation.h"

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

namespace Simulator {

using namespace Testing;

namespace {

/// A whole request of so many arguments, whose bytes these are.
Bytes requestOf(int count, std::initializer_list<int> arguments, int command = 1) {
    return sealed(joined(
        {bytesOf({command, 0, 0, 0, static_cast<int>(8 + arguments.size()), count}), bytesOf(arguments)}));
}

std::variant<Request, ErrorCode> parsed(const Bytes& bytes) {
    const auto message = decodeRequest(bytes);
    if (const auto* const error = std::get_if<ErrorCode>(&message))
        return *error;
    return parseRequest(std::get<Message>(message));
}

} // namespace

TEST(MessageCodec, WritesAnswersWhoseBytesItSums) {
    EXPECT_EQ(hex(encodeAnswer(ArgumentCode::done)), "01 00 00 00 0d 01 00 00 00 00 00 00 0f");
    EXPECT_EQ(hex(encodeErrorAnswer(0x01020304)), "01 00 00 00 11 01 01 00 00 00 04 01 02 03 04 00 22");
    EXPECT_EQ(hex(encodeAnswer(ArgumentCode::getImage, bytesOf({0xFF, 0x10}))),
              "01 00 00 00 0f 01 06 00 00 00 02 ff 10 01 28");
    EXPECT_EQ(hex(encodeMessage(1, {})), "01 00 00 00 08 00 00 09") << "no arguments";
    EXPECT_EQ(checksumOf(Bytes(300, 255)), 10964) << "modulo 65536";
}

TEST(MessageCodec, RefusesToWriteMoreThan255Arguments) {
    EXPECT_EQ(encodeMessage(1, std::vector<Argument>(255)).size(), 8U + 255 * 5);
    EXPECT_THROW(encodeMessage(1, std::vector<Argument>(256)), std::length_error);
}

TEST(MessageCodec, KnowsARequestsLengthOnceItsHeaderIsThereAndBelievesNoneThatNoRequestHas) {
    EXPECT_EQ(announcedRequestLength(bytesOf({1, 0, 0, 0, 0x0E})), std::nullopt);
    for (const auto& [header, length] :
         {std::pair(bytesOf({1, 0, 0, 0, 0x0E, 1}), 14U), std::pair(bytesOf({1, 0, 0, 0, 7, 0}), 0U),
          std::pair(bytesOf({1, 0, 0, 0, 8, 0}), 8U), std::pair(bytesOf({1, 0, 0, 0x10, 0, 0}), 4096U),
          std::pair(bytesOf({1, 0, 0, 0x10, 1, 0}), 0U),
          std::pair(bytesOf({1, 0xFF, 0xFF, 0xFF, 0xFF, 0}), 0U)})
        EXPECT_EQ(announcedRequestLength(header), length) << hex(header);
}

TEST(Request, IsReadAndSaidInWords) {
    for (const auto& [bytes, kind, words] : {
             std::tuple(configureRequest, RequestKind::configure,
                        "configure: exposure 10.0 s, mode 2, SGI, depth 16, shift 4"),
             std::tuple(configureWith(1, 3, 2), RequestKind::configure,
                        "configure: exposure 0.1 s, mode 3, PNG, depth 16, shift 4"),
             std::tuple(configureWith(3600, 1, 1), RequestKind::configure,
                        "configure: exposure 360.0 s, mode 1, SGI, depth 16, shift 4"),
             std::tuple(takeRequest, RequestKind::take, "take"),
             std::tuple(getRequest, RequestKind::get, "get"),
             std::tuple(probeRequest, RequestKind::probe, "probe: format 0"),
             std::tuple(requestOf(1, {4, 0, 0, 0, 1, 200}), RequestKind::probe, "probe: format 200"),
         }) {
        const Request request = std::get<Request>(parsed(bytes));
        EXPECT_EQ(request.kind, kind) << words;
        EXPECT_EQ(request.describe(), words);
    }
}

TEST(Request, TakesModes1And2InColourAndMode3InGrey) {
    for (const auto& [mode, channels] : {std::pair(1, 3U), std::pair(2, 3U), std::pair(3, 1U)})
        EXPECT_EQ(std::get<Request>(parsed(configureWith(15, mode, 1))).configuration.channels(), channels);
}

TEST(Request, IsRefusedByTheFirstThingThatIsWrongWithIt) {
    using enum ErrorCode;
    Bytes unsummed = probeRequest;
    ++unsummed.back();
    const Bytes anotherOrder = requestOf(
        5, {3, 0, 0, 0, 1, 2, 2, 0, 0, 0, 2, 0, 15, 4, 0, 0, 0, 1, 1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4});
    const Bytes oneTooMany = requestOf(6, {2, 0, 0, 0, 2, 0,  15, 3, 0, 0, 0, 1, 2, 4, 0, 0, 0, 1, 1,
                                           7, 0, 0, 0, 1, 16, 8,  0, 0, 0, 1, 4, 8, 0, 0, 0, 1, 4});
    const Bytes shortExposure = requestOf(
        5, {2, 0, 0, 0, 1, 15, 3, 0, 0, 0, 1, 2, 4, 0, 0, 0, 1, 1, 7, 0, 0, 0, 1, 16, 8, 0, 0, 0, 1, 4});
    for (const auto& [what, request, error] : {
             std::tuple("a wrong checksum", unsummed, badChecksum),
             std::tuple("a header runs into the checksum", requestOf(1, {5, 0, 0, 0}), badLength),
             std::tuple("a value runs into the checksum", requestOf(1, {4, 0, 0, 0, 2, 0}), badLength),
             std::tuple("a value swallows the checksum", requestOf(2, {4, 0, 0, 0, 3, 0}), badLength),
             std::tuple("a length would wrap a sum", requestOf(1, {5, 255, 255, 255, 0xF5}), badLength),
             std::tuple("a byte belongs to no argument", requestOf(1, {5, 0, 0, 0, 0, 0}), badLength),
             std::tuple("fewer than announced", requestOf(2, {5, 0, 0, 0, 0}), badLength),
             std::tuple("command 0", requestOf(1, {5, 0, 0, 0, 0}, 0), unknownCommand),
             std::tuple("command 2", requestOf(1, {5, 0, 0, 0, 0}, 2), unknownCommand),
             std::tuple("a done", requestOf(1, {0, 0, 0, 0, 0}), unknownArgument),
             std::tuple("an error", requestOf(1, {1, 0, 0, 0, 0}), unknownArgument),
             std::tuple("code 9", requestOf(1, {9, 0, 0, 0, 0}), unknownArgument),
             std::tuple("code 255", requestOf(1, {255, 0, 0, 0, 0}), unknownArgument),
             std::tuple("no argument", requestOf(0, {}), wrongArguments),
             std::tuple("two requests", requestOf(2, {5, 0, 0, 0, 0, 6, 0, 0, 0, 0}), wrongArguments),
             std::tuple("another order", anotherOrder, wrongArguments),
             std::tuple("one too many", oneTooMany, wrongArguments),
             std::tuple("an exposure alone", requestOf(1, {2, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a mode alone", requestOf(1, {3, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a depth alone", requestOf(1, {7, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a shift alone", requestOf(1, {8, 0, 0, 0, 1, 1}), wrongArguments),
             std::tuple("a take with a value", requestOf(1, {5, 0, 0, 0, 1, 0}), badArgumentLength),
             std::tuple("a get with a value", requestOf(1, {6, 0, 0, 0, 1, 0}), badArgumentLength),
             std::tuple("a probe without", requestOf(1, {4, 0, 0, 0, 0}), badArgumentLength),
             std::tuple("a probe with two", requestOf(1, {4, 0, 0, 0, 2, 0, 0}), badArgumentLength),
             std::tuple("an exposure of one byte", shortExposure, badArgumentLength),
             std::tuple("no exposure", configureWith(0, 2, 1), valueOutOfRange),
             std::tuple("too long an exposure", configureWith(3601, 2, 1), valueOutOfRange),
             std::tuple("mode 0", configureWith(15, 0, 1), valueOutOfRange),
             std::tuple("mode 4", configureWith(15, 4, 1), valueOutOfRange),
             std::tuple("format 0", configureWith(15, 2, 0), valueOutOfRange),
             std::tuple("format 3", configureWith(15, 2, 3), valueOutOfRange),
             std::tuple("another depth", configureWith(15, 2, 1, 8), valueOutOfRange),
             std::tuple("another shift", configureWith(15, 2, 1, 16, 3), valueOutOfRange),
         }) {
        const auto result = parsed(request);
        ASSERT_TRUE(std::holds_alternative<ErrorCode>(result)) << what;
        EXPECT_EQ(std::get<ErrorCode>(result), error) << what;
    }
}

} // namespace Simulator
