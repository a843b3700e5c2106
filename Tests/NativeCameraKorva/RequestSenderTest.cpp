#include "NativeCameraKorva/KorvaBinaryCommunication.h"

#include "Support/DigitsApart.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/ScriptedCommunicator.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using namespace Korva::Binary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::Bytes;
using TestSupport::LogCapture;
using TestSupport::LogText;
using TestSupport::ScriptedCommunicator;

constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaInternalsComm";

FullArg makeArg(ArgCode code, std::vector<std::uint8_t> value) {
    FullArg arg;
    arg.header.type = static_cast<std::uint8_t>(code);
    arg.header.length = bigEndian32(static_cast<std::uint32_t>(value.size()));
    std::copy(value.begin(), value.end(), arg.value.begin());
    return arg;
}

FullArg makeArgOfLength(std::uint32_t announced) {
    FullArg arg;
    arg.header.type = 4;
    arg.header.length = bigEndian32(announced);
    return arg;
}

template <typename... Args>
std::vector<FullArg> listOf(Args... args) {
    std::vector<FullArg> list;
    (list.push_back(std::move(args)), ...);
    return list;
}

std::vector<FullArg> emptyArgs(std::size_t count) {
    std::vector<FullArg> args(count);
    for (FullArg& arg : args)
        arg.header.type = static_cast<std::uint8_t>(ArgCode::TakeImage);
    return args;
}

struct RequestSender : ::testing::Test {
    ScriptedCommunicator communicator;
    LogCapture log{loggerName};

    ~RequestSender() override { TestSupport::expectFrom(log, "KorvaBinaryCommunication"); }

    bool send(std::vector<FullArg>& args) {
        return createAndSendMessage(Command::Camera, args, &communicator);
    }

    void expectSent(std::vector<FullArg> args, const Bytes& wire) {
        EXPECT_TRUE(send(args));
        EXPECT_THAT(communicator.calls(), ElementsAre(ScriptedCommunicator::writeCall(wire)));
    }
};

TEST_F(RequestSender, WritesTheConnectionProbeInOneCall) {
    expectSent(listOf(makeArg(ArgCode::Format, {0})),
               {0x01, 0x00, 0x00, 0x00, 0x0E, 0x01, 0x04, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x15});
}

TEST_F(RequestSender, WritesTheTakeImageRequest) {
    expectSent(listOf(makeArg(ArgCode::TakeImage, {})),
               {0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x14});
}

TEST_F(RequestSender, WritesTheGetImageRequest) {
    expectSent(listOf(makeArg(ArgCode::GetImage, {})),
               {0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00, 0x15});
}

TEST_F(RequestSender, WritesTheConfigurationInVectorOrder) {
    expectSent(listOf(makeArg(ArgCode::Exposure, {0, 100}), makeArg(ArgCode::Mode, {2}),
                      makeArg(ArgCode::Format, {1}), makeArg(ArgCode::Depth, {16}),
                      makeArg(ArgCode::Shift, {4})),
               {0x01, 0x00, 0x00, 0x00, 0x27, 0x05, 0x02, 0x00, 0x00, 0x00, 0x02, 0x00, 0x64,
                0x03, 0x00, 0x00, 0x00, 0x01, 0x02, 0x04, 0x00, 0x00, 0x00, 0x01, 0x01, 0x07,
                0x00, 0x00, 0x00, 0x01, 0x10, 0x08, 0x00, 0x00, 0x00, 0x01, 0x04, 0x00, 0xC6});
}

TEST_F(RequestSender, WritesAMessageWithoutArguments) {
    expectSent({}, {0x01, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x09});
}

TEST_F(RequestSender, WritesTheLowByteOfAnyCommand) {
    std::vector<FullArg> args;
    EXPECT_TRUE(createAndSendMessage(static_cast<Command>(0xAB), args, &communicator));
    EXPECT_EQ(communicator.calls().at(0).written, (Bytes{0xAB, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0xB3}));
}

TEST_F(RequestSender, WritesValuesOfFourBytes) {
    expectSent(listOf(makeArg(ArgCode::Error, {0xFF, 0xFE, 0xFD, 0xFC})),
               {0x01, 0x00, 0x00, 0x00, 0x11, 0x01, 0x01, 0x00, 0x00, 0x00, 0x04, 0xFF, 0xFE, 0xFD, 0xFC,
                0x04, 0x0E});
}

TEST_F(RequestSender, LeavesTheCallersVectorAlone) {
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Exposure, {0x12, 0x34}));
    EXPECT_TRUE(send(args));
    ASSERT_EQ(args.size(), 1u);
    EXPECT_EQ(args[0].header.type, 2);
    EXPECT_EQ(bigEndian32(args[0].header.length), 2u);
    EXPECT_EQ(args[0].value, (std::array<std::uint8_t, 4>{0x12, 0x34, 0, 0}));
}

TEST_F(RequestSender, Sends255Arguments) {
    std::vector<FullArg> args = emptyArgs(255);
    EXPECT_TRUE(send(args));
    ASSERT_EQ(communicator.calls().size(), 1u);
    const Bytes& wire = communicator.calls()[0].written;
    ASSERT_EQ(wire.size(), 8u + 255 * 5);
    EXPECT_EQ(wire[5], 255);
    EXPECT_EQ(wire[3], 0x05); // 1283 bytes
    EXPECT_EQ(wire[4], 0x03);
}

TEST_F(RequestSender, SendsTheLargestRequestWhole) {
    std::vector<FullArg> args;
    for (int i = 0; i < 255; ++i)
        args.push_back(makeArg(ArgCode::Error, {1, 2, 3, 4}));
    EXPECT_TRUE(send(args));
    const Bytes& wire = communicator.calls().at(0).written;
    ASSERT_EQ(wire.size(), 8u + 255 * 9);
    EXPECT_EQ(Bytes(wire.end() - 6, wire.end()), (Bytes{1, 2, 3, 4, 0x10, 0xF8}));
}

TEST_F(RequestSender, Refuses256ArgumentsWithTheLimitAsOneByte) {
    std::vector<FullArg> args = emptyArgs(256);
    EXPECT_FALSE(send(args));
    EXPECT_THAT(communicator.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "Arglist exceeds allowed size: 256 > \xFF"}));
}

TEST_F(RequestSender, RefusesAnArgumentOfFiveValueBytesWithTheLimitAsOneByte) {
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Mode, {1}), makeArgOfLength(5));
    EXPECT_FALSE(send(args));
    EXPECT_THAT(communicator.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre(LogText{
                                 "ERROR", "Client is not expected to send message larger than \x04 bytes"}));
}

TEST_F(RequestSender, RefusesLengthsWhoseTotalWraps) {
    // 8 + 2 x 5 + 0xFFFFFFF0 + 2 is 4 modulo 2^32: far too small a buffer, if the total were believed.
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Exposure, {1, 2}), makeArgOfLength(0xFFFFFFF0u));
    EXPECT_FALSE(send(args));
    EXPECT_THAT(communicator.calls(), IsEmpty());
    EXPECT_THAT(log.texts(), ElementsAre(LogText{
                                 "ERROR", "Client is not expected to send message larger than \x04 bytes"}));
}

TEST_F(RequestSender, LogsTheMessageInHexadecimalBeforeItIsWritten) {
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Format, {0}));
    std::size_t linesAtWrite = 0;
    communicator.onWrite([&](std::size_t) { linesAtWrite = log.lines().size(); });
    EXPECT_TRUE(send(args));
    EXPECT_EQ(linesAtWrite, 1u);
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"DEBUG", "Message to Korva:  1 0 0 0 e 1 4 0 0 0 1 0 0 15"}));
}

TEST_F(RequestSender, LogsBytesInLowerCase) {
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Error, {0xFF, 0xAB, 0x10, 0x00}));
    {
        const TestSupport::DigitsApart locale; // which the text does not follow
        EXPECT_TRUE(send(args));
    }
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"DEBUG", "Message to Korva:  1 0 0 0 11 1 1 0 0 0 4 ff ab 10 0 1 d2"}));
}

TEST_F(RequestSender, GivesTheSameResultWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    std::vector<FullArg> good = listOf(makeArg(ArgCode::Format, {0}));
    std::vector<FullArg> tooMany = emptyArgs(256);
    std::vector<FullArg> tooLong = listOf(makeArgOfLength(5));
    EXPECT_TRUE(send(good));
    EXPECT_FALSE(send(tooMany));
    EXPECT_FALSE(send(tooLong));
    EXPECT_EQ(communicator.calls().size(), 1u);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestSender, SaysNothingAtDebugWhereOnlyInfoIsEnabled) {
    log.setLevel(log4cxx::Level::getInfo());
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Format, {0}));
    EXPECT_TRUE(send(args));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestSender, PassesTheTransportsExceptionOn) {
    communicator.throwOnWrite(0, std::make_exception_ptr(std::runtime_error("broken")));
    std::vector<FullArg> args = listOf(makeArg(ArgCode::Format, {0}));
    EXPECT_THROW(send(args), std::runtime_error);
    EXPECT_EQ(args.size(), 1u);
}

TEST_F(RequestSender, LogsUnderItsLoggerWithItsLocation) {
    std::vector<FullArg> args = emptyArgs(256);
    EXPECT_FALSE(send(args));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].logger, loggerName);
    EXPECT_EQ(log.lines()[0].file, "BackEnd/NativeCameraKorva/KorvaBinaryCommunication");
    EXPECT_EQ(log.lines()[0].scope, "Korva::Binary");
    EXPECT_EQ(log.lines()[0].method, "createAndSendMessage");
    EXPECT_GT(log.lines()[0].line, 0);
}

} // namespace
