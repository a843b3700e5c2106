#include "MessageFixture.h"

#include "Support/DigitsApart.h"
#include "World/Answers.h"

#include <cstring>
#include <string>
#include <utility>

namespace MessageTests {
namespace {

struct RequestSender : Exchange {
    RequestSender& with(ArgCode code, const Bytes& value) {
        FullArg& arg = args.emplace_back();
        arg.header.type = static_cast<std::uint8_t>(code);
        arg.header.length = bigEndian32(static_cast<std::uint32_t>(value.size()));
        std::copy(value.begin(), value.end(), arg.value.begin());
        return *this;
    }
    RequestSender& withLength(std::uint32_t announced) {
        with(ArgCode::Format, {});
        args.back().header.length = bigEndian32(announced);
        return *this;
    }
    bool send(Command command = Command::Camera) {
        return createAndSendMessage(command, args, &communicator);
    }
    /// The request goes out in one call.
    void expectSent(const Bytes& wire, Command command = Command::Camera) {
        const auto former = communicator.calls().size();
        EXPECT_TRUE(send(command));
        EXPECT_EQ(communicator.calls().back(), ScriptedCommunicator::writeCall(wire));
        EXPECT_EQ(communicator.calls().size(), former + 1);
        args.clear();
    }
};

TEST_F(RequestSender, WritesEachRequestInOneCallWithItsArgumentsInVectorOrder) {
    with(ArgCode::Exposure, {0, 100}).with(ArgCode::Mode, {2}).with(ArgCode::Format, {1});
    with(ArgCode::Depth, {16}).with(ArgCode::Shift, {4});
    expectSent("01 00000027 05 02 00000002 0064 03 00000001 02 04 00000001 01 07 00000001 10"
               "08 00000001 04 00C6"_hex);
    with(ArgCode::TakeImage, {}).expectSent("01 0000000D 01 05 00000000 0014"_hex);
    with(ArgCode::Error, {0xFF, 0xFE, 0xFD, 0xFC}).expectSent("01 00000011 01 01 00000004 FFFEFDFC 040E"_hex);
    expectSent("01 00000008 00 0009"_hex);
    expectSent("AB 00000008 00 00B3"_hex, static_cast<Command>(0xAB));
}

TEST_F(RequestSender, SendsTheLargestRequestWhole) {
    for (int i = 0; i < 255; ++i)
        with(ArgCode::Error, {1, 2, 3, 4});
    EXPECT_TRUE(send());
    const Bytes& wire = communicator.calls().at(0).written;
    ASSERT_EQ(wire.size(), 8u + 255 * 9);
    EXPECT_EQ(Bytes(wire.begin(), wire.begin() + 6), "01 000008FF FF"_hex);
    EXPECT_EQ(Bytes(wire.end() - 6, wire.end()), "01020304 10F8"_hex);
}

TEST_F(RequestSender, RefusesWithTheLimitAsOneByte) {
    const LogText tooMany = error("Arglist exceeds allowed size: 256 > \xFF");
    const LogText tooLong = error("Client is not expected to send message larger than \x04 bytes");
    const auto refuse = [this] {
        EXPECT_FALSE(send());
        args.clear();
    };
    for (const bool isLogged : {true, false}) {
        if (!isLogged)
            log.turnOff();
        for (int i = 0; i < 256; ++i)
            with(ArgCode::TakeImage, {});
        refuse();
        with(ArgCode::Mode, {1}).withLength(5);
        refuse();
        // 8 + 2 x 5 + 0xFFFFFFF0 + 2 is 4 modulo 2^32: far too small a buffer, if the total were believed.
        with(ArgCode::Exposure, {1, 2}).withLength(0xFFFFFFF0u);
        refuse();
    }
    EXPECT_THAT(communicator.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre(tooMany, tooLong, tooLong));
    EXPECT_EQ(log.lines().front().scope, "Korva::Binary");
    EXPECT_EQ(log.lines().front().method, "createAndSendMessage");
    expectSent("01 00000008 00 0009"_hex); // without logging
}

TEST_F(RequestSender, LogsTheMessageInLowerCaseHexadecimalBeforeItIsWrittenAndLeavesTheArgumentsAlone) {
    std::size_t linesAtWrite = 0;
    communicator.onWrite([&](std::size_t) { linesAtWrite = log.lines().size(); });
    with(ArgCode::Error, {0xFF, 0xAB, 0x10, 0x00});
    {
        const TestSupport::DigitsApart locale; // which the text does not follow
        EXPECT_TRUE(send());
    }
    EXPECT_EQ(linesAtWrite, 1u);
    EXPECT_THAT(log.texts(), ElementsAre(debug("Message to Korva:  1 0 0 0 11 1 1 0 0 0 4 ff ab 10 0 1 d2")));
    ASSERT_EQ(args.size(), 1u);
    EXPECT_EQ(args[0].header.type, 1);
    EXPECT_EQ(bigEndian32(args[0].header.length), 4u);
    EXPECT_EQ(args[0].value, (std::array<std::uint8_t, 4>{0xFF, 0xAB, 0x10, 0x00}));
}

TEST_F(RequestSender, LeavesTheArgumentsAloneIfTheWriteThrows) {
    communicator.onWrite([](std::size_t) { throw 42; });
    with(ArgCode::Mode, {2});
    EXPECT_THROW(send(), int);
    EXPECT_EQ(args.size(), 1u);
}

// Sums of many bytes, and modulo 65536, are those of the kernel.
TEST(Checksum, SumsAllBytesButTheLastTwo) {
    const Bytes probe = "01 0000000E 01 04 00000001 00 FFFF"_hex;
    EXPECT_EQ(calculateChkSum(probe.data(), probe.size()), 0x15);
    EXPECT_EQ(calculateChkSum(probe.data(), 2), 0);
}

TEST(ChecksumField, LiesTwoBytesBeforeTheEndOfTheMessageAtWhateverAddress) {
    for (Bytes message : {"01 0000000E 01 04 00000001 00 1234"_hex, "01 0000000D 01 05 00000000 1234"_hex}) {
        unsigned char field[2];
        std::memcpy(field, static_cast<const void*>(getChkSum(reinterpret_cast<Header*>(message.data()))),
                    sizeof field);
        EXPECT_EQ(field[0], 0x12);
        EXPECT_EQ(field[1], 0x34);
    }
}

// The response.

enum class Wanted { done, image };

/// A response of those arguments is judged so, with these lines, logged or not.
void expectJudged(const char* what, Header header, const std::vector<World::Arg>& told, Wanted wanted,
                  bool isAccepted, const Texts& lines) {
    for (const bool isLogged : {true, false}) {
        SCOPED_TRACE(what);
        const PluginLog log(loggerName, "KorvaBinaryCommunication", isLogged);
        std::vector<FullArg> args;
        for (const World::Arg& arg : told) {
            args.emplace_back().header.type = arg.code;
            std::copy(arg.value.begin(), arg.value.end(), args.back().value.begin());
        }
        EXPECT_EQ(validateCommandResponse(header, args, wanted == Wanted::image), isAccepted);
        log.expect(lines);
    }
}

// What is not as it should be is held by the fault matrix as well.
TEST(ResponseValidation, JudgesAResponseByItsFirstArgumentAndRefusesEveryOtherCode) {
    const Header one{1, bigEndian32(13), 1};
    const Header two{1, bigEndian32(18), 2};
    const Header large{0xAB, bigEndian32(0x0C00FF10), 0x0E};
    const LogText headerLine = debug("Korva Response Header:  1 0 0 0 d 1");
    const LogText done = debug("Korva Response: DONE");
    const LogText failed = debug("Korva Response: ERROR");
    const LogText picture = debug("Korva Response: GETIMAGE");
    expectJudged("done", one, {{0, {}}}, Wanted::done, true, {headerLine, done});
    expectJudged("an image", one, {{6, {}}}, Wanted::image, true, {headerLine, picture});
    expectJudged("done for an image", one, {{0, {}}}, Wanted::image, false,
                 {headerLine, done, error("Expected GetImage response, got Done")});
    expectJudged("an image for done", one, {{6, {}}}, Wanted::done, false,
                 {headerLine, picture, warn("Korva returned an unexpected GetImage code: \x06")});
    expectJudged("no argument", one, {}, Wanted::done, false,
                 {headerLine, error("Korva returned no argument")});
    expectJudged("the largest error", one, {{1, {255, 255, 255, 255}}}, Wanted::done, false,
                 {headerLine, failed, warn("Korva returned an error code: 4294967295")});
    expectJudged("more arguments than one", two, {{0, {}}, {1, {}}}, Wanted::done, true,
                 {debug("Korva Response Header:  1 0 0 0 12 2"),
                  warn("Korva returned more arguments than expected: \x02"), done});
    expectJudged("another command, whatever its arguments", large, {{0, {}}, {0, {}}}, Wanted::done, false,
                 {debug("Korva Response Header: ab c 0 ff 10 e"),
                  error("Korva didn't receive our Camera command: returned \xAB")});
    // Every other code, which is written as one byte.
    const std::string unexpected = "Korva returned an unexpected response code code: ";
    for (int code = 0; code < 256; ++code) {
        if (code == doneCode || code == errorCode || code == imageCode)
            continue;
        const Texts lines{headerLine, warn(unexpected + static_cast<char>(code))};
        for (const Wanted wanted : {Wanted::done, Wanted::image})
            expectJudged("another code", one, {{static_cast<std::uint8_t>(code), {}}}, wanted, false, lines);
    }
}

} // namespace
} // namespace MessageTests
