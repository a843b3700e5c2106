#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMessageReader.h"

#include "Support/Beginning.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/WireMessages.h"

#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

using namespace Korva::Binary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::appendBig32;
using TestSupport::beginningOf;
using TestSupport::Bytes;
using TestSupport::LogCapture;
using TestSupport::LogText;
using TestSupport::ScriptedCommunicator;
using TestSupport::wireMessage;
using TestSupport::withChecksum;

constexpr char loggerName[] = "Plenar.KorvaCamera.KorvaInternalsComm";

constexpr std::uint8_t done = 0;
constexpr std::uint8_t error = 1;
constexpr std::uint8_t image = 6;

ScriptedCommunicator::Call readOf(unsigned int count, unsigned int timeoutMs = 10000) {
    return ScriptedCommunicator::readCall(count, timeoutMs);
}

Bytes bytesOf(const FullArg& arg) {
    return {arg.data.get(), arg.data.get() + bigEndian32(arg.header.length)};
}

/// A header and the beginning of its arguments, without a checksum.
Bytes messageHead(std::uint32_t length, std::uint8_t argCount) {
    Bytes bytes{1};
    appendBig32(bytes, length);
    bytes.push_back(argCount);
    return bytes;
}

void appendArgHeader(Bytes& bytes, std::uint8_t type, std::uint32_t valueBytes) {
    bytes.push_back(type);
    appendBig32(bytes, valueBytes);
}

struct MessageReader : ::testing::Test {
    ScriptedCommunicator communicator;
    LogCapture log{loggerName};
    Header header;
    std::vector<FullArg> args;

    ~MessageReader() override { TestSupport::expectFrom(log, "KorvaBinaryCommunication"); }

    bool parse() { return parseIncomingMessage(&communicator, header, args); }
    bool parseWithin(std::uint32_t imageByteLimit) {
        return readMessage(communicator, header, args, imageByteLimit);
    }
    std::vector<LogText> warnings() const { return log.textsFrom(log4cxx::Level::getWarn()); }

    void expectRefusal(const std::string& errorText) {
        EXPECT_FALSE(parse());
        EXPECT_THAT(warnings(), ElementsAre(LogText{"ERROR", errorText}));
    }
};

TEST_F(MessageReader, ReadsADoneResponse) {
    communicator.deliver({0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0F});
    EXPECT_TRUE(parse());
    EXPECT_EQ(header.command, 1);
    EXPECT_EQ(bigEndian32(header.length), 13u);
    EXPECT_EQ(header.argCount, 1);
    ASSERT_EQ(args.size(), 1u);
    EXPECT_EQ(args[0].header.type, done);
    EXPECT_EQ(bigEndian32(args[0].header.length), 0u);
    EXPECT_EQ(args[0].data, nullptr);
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(5), readOf(2, 4000)));
    EXPECT_TRUE(communicator.isExhausted());
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"DEBUG", "Expected arg size of 0 and read in arg of size 0"}));
}

TEST_F(MessageReader, ReadsTheHeaderIntoTheCallersHeader) {
    communicator.deliver(wireMessage({}));
    EXPECT_TRUE(parse());
    EXPECT_EQ(communicator.calls().at(0).destination, &header);
}

TEST_F(MessageReader, ReadsAMessageWithoutArguments) {
    communicator.deliver({0x01, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x09});
    EXPECT_TRUE(parse());
    EXPECT_THAT(args, IsEmpty());
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(2, 4000)));
}

TEST_F(MessageReader, PutsSmallValuesIntoTheInlineStoreInWireOrder) {
    communicator.deliver(wireMessage({{error, {0x00, 0x00, 0x01, 0x02}}}));
    EXPECT_TRUE(parse());
    EXPECT_EQ(args.at(0).value, (std::array<std::uint8_t, 4>{0x00, 0x00, 0x01, 0x02}));
    EXPECT_EQ(args.at(0).data, nullptr);
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(5), readOf(4), readOf(2, 4000)));
}

TEST_F(MessageReader, PutsAShortValueIntoTheFrontOfTheStore) {
    communicator.deliver(wireMessage({{4, {0x99}}}));
    EXPECT_TRUE(parse());
    EXPECT_EQ(args.at(0).value, (std::array<std::uint8_t, 4>{0x99, 0, 0, 0}));
}

TEST_F(MessageReader, PutsAnImageIntoData) {
    const Bytes file{1, 2, 3, 4, 5, 6, 7};
    communicator.deliver(wireMessage({{image, file}}));
    EXPECT_TRUE(parse());
    EXPECT_EQ(bytesOf(args.at(0)), file);
    EXPECT_EQ(args.at(0).value, (std::array<std::uint8_t, 4>{}));
}

TEST_F(MessageReader, PutsEvenAShortImageIntoData) {
    communicator.deliver(wireMessage({{image, {9, 8}}}));
    EXPECT_TRUE(parse());
    EXPECT_EQ(bytesOf(args.at(0)), (Bytes{9, 8}));
}

TEST_F(MessageReader, GivesAnImageOfNoBytesABufferAndReadsNothingForIt) {
    communicator.deliver(wireMessage({{image, {}}}));
    EXPECT_TRUE(parse());
    EXPECT_NE(args.at(0).data, nullptr);
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(5), readOf(2, 4000)));
}

TEST_F(MessageReader, AssemblesAValueFromPieces) {
    const Bytes file{10, 20, 30, 40, 50, 60};
    const Bytes message = wireMessage({{image, file}});
    communicator.deliver(Bytes(message.begin(), message.begin() + 11))
        .deliver({10, 20, 30})
        .deliver({40})
        .deliver({50, 60})
        .deliver(Bytes(message.end() - 2, message.end()));
    EXPECT_TRUE(parse());
    EXPECT_EQ(bytesOf(args.at(0)), file);
    EXPECT_THAT(communicator.reads(),
                ElementsAre(readOf(6), readOf(5), readOf(6), readOf(3), readOf(2), readOf(2, 4000)));
    const auto* const data = args.at(0).data.get();
    EXPECT_EQ(communicator.calls().at(2).destination, data);
    EXPECT_EQ(communicator.calls().at(3).destination, data + 3);
    EXPECT_EQ(communicator.calls().at(4).destination, data + 4);
}

TEST_F(MessageReader, TracesEachReadWithTheTotalBeforeIt) {
    const Bytes message = wireMessage({{image, {10, 20, 30, 40, 50, 60}}});
    communicator.deliver(Bytes(message.begin(), message.begin() + 15))
        .deliver(Bytes(message.begin() + 15, message.end()));
    EXPECT_TRUE(parse());
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"TRACE", "Reading arg, requesting 6 bytes"},
                            LogText{"TRACE", "Reading arg, got 4 bytes, total 0 bytes"},
                            LogText{"TRACE", "Reading arg, requesting 2 bytes"},
                            LogText{"TRACE", "Reading arg, got 2 bytes, total 4 bytes"},
                            LogText{"DEBUG", "Expected arg size of 6 and read in arg of size 6"}));
}

TEST_F(MessageReader, ReadsSeveralArgumentsInOrder) {
    communicator.deliver(wireMessage({{done, {}}, {error, {0, 0, 0, 7}}, {image, {1, 2, 3, 4, 5}}}));
    EXPECT_TRUE(parse());
    ASSERT_EQ(args.size(), 3u);
    EXPECT_EQ(args[0].header.type, done);
    EXPECT_EQ(args[1].header.type, error);
    EXPECT_EQ(bytesOf(args[2]), (Bytes{1, 2, 3, 4, 5}));
}

TEST_F(MessageReader, Reads255Arguments) {
    communicator.deliver(wireMessage(std::vector<TestSupport::WireArg>(255)));
    EXPECT_TRUE(parse());
    EXPECT_EQ(args.size(), 255u);
}

TEST_F(MessageReader, AppendsToTheVector) {
    args.emplace_back().header.type = 42;
    communicator.deliver(wireMessage({{done, {}}}));
    EXPECT_TRUE(parse());
    ASSERT_EQ(args.size(), 2u);
    EXPECT_EQ(args[0].header.type, 42);
    EXPECT_EQ(args[1].header.type, done);
}

TEST_F(MessageReader, AcceptsAnyAnnouncedLengthThatHoldsTheArguments) {
    Bytes bytes = messageHead(5000, 1);
    appendArgHeader(bytes, done, 0);
    communicator.deliver(withChecksum(bytes));
    EXPECT_TRUE(parse());
}

TEST_F(MessageReader, DoesNotReserveTheChecksumInTheAnnouncedLength) {
    Bytes bytes = messageHead(6 + 5 + 1, 1); // as long as header and argument, two short of the message
    appendArgHeader(bytes, 4, 1);
    bytes.push_back(0);
    communicator.deliver(withChecksum(bytes));
    EXPECT_TRUE(parse());
}

TEST_F(MessageReader, RefusesArgumentThatRunsPastTheMessage) {
    Bytes bytes = messageHead(6 + 5 + 1, 1);
    appendArgHeader(bytes, 4, 2);
    bytes.insert(bytes.end(), {7, 7}); // the bytes are there all the same
    communicator.deliver(withChecksum(bytes));
    expectRefusal("Korva has formulated an inconsistent message: args will exceed expected message length: "
                  "argSize 2 totalBytesRead 11expected message size 12");
    EXPECT_THAT(args, IsEmpty());
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(5)));
}

TEST_F(MessageReader, CountsEarlierArgumentsWhenItJudgesALength) {
    Bytes bytes = messageHead(6 + 5 + 4 + 5, 2);
    appendArgHeader(bytes, 4, 4);
    bytes.insert(bytes.end(), {1, 2, 3, 4});
    appendArgHeader(bytes, 3, 1);
    communicator.deliver(bytes);
    expectRefusal("Korva has formulated an inconsistent message: args will exceed expected message length: "
                  "argSize 1 totalBytesRead 20expected message size 20");
    EXPECT_EQ(args.size(), 1u);
}

TEST_F(MessageReader, RefusesAnArgumentHeaderBeyondTheAnnouncedLength) {
    Bytes bytes = messageHead(8, 1);
    appendArgHeader(bytes, done, 0);
    communicator.deliver(withChecksum(bytes));
    expectRefusal("Korva has formulated an inconsistent message: args will exceed expected message length: "
                  "argSize 0 totalBytesRead 11expected message size 8");
}

TEST_F(MessageReader, RefusesALengthThatWrapsTheSum) {
    // 0xFFFFFFFF + 11 is 10 modulo 2^32, which a message of 13 bytes would seem to hold.
    for (const std::uint8_t type : {done, image}) {
        ScriptedCommunicator fresh;
        Bytes bytes = messageHead(13, 1);
        appendArgHeader(bytes, type, 0xFFFFFFFFu);
        fresh.deliver(bytes).deliver(Bytes(64, 0));
        EXPECT_FALSE(parseIncomingMessage(&fresh, header, args));
        EXPECT_EQ(fresh.reads().size(), 2u);
    }
    const LogText refusal{"ERROR", "Korva has formulated an inconsistent message: args will exceed expected "
                                   "message length: argSize 4294967295 totalBytesRead 11expected message "
                                   "size 13"};
    EXPECT_THAT(log.texts(), ElementsAre(refusal, refusal));
}

TEST_F(MessageReader, RefusesAValueOfMoreThanFourBytesThatIsNoImage) {
    Bytes bytes = messageHead(100, 1);
    appendArgHeader(bytes, error, 5);
    communicator.deliver(bytes).deliver(Bytes(64, 0xEE));
    expectRefusal("Korva has sent an argument that is too large: code 1 argSize 5 limit 4");
    EXPECT_THAT(args, IsEmpty());
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(5)));
}

TEST_F(MessageReader, RefusesAnImageAbove256MebibytesBeforeReadingIt) {
    Bytes bytes = messageHead(0xFFFFFFFFu, 1);
    appendArgHeader(bytes, image, (256u << 20) + 1);
    communicator.deliver(bytes).deliver(Bytes(64, 0));
    expectRefusal("Korva has sent an image that is too large: argSize 268435457 limit 268435456");
    EXPECT_THAT(communicator.reads(), ElementsAre(readOf(6), readOf(5)));
}

TEST_F(MessageReader, RefusesImagesThatAreTogetherAboveTheLimit) {
    communicator.deliver(wireMessage({{6, {1, 2, 3}}, {6, {1, 2, 3}}, {6, {1}}}));
    EXPECT_FALSE(parseWithin(6));
    EXPECT_EQ(args.size(), 2u);
    EXPECT_THAT(
        log.textsFrom(log4cxx::Level::getWarn()),
        ElementsAre(LogText{"ERROR", "Korva has sent an image that is too large: argSize 1 limit 6"}));
}

TEST_F(MessageReader, TakesTheLimitOnImagesFromItsCaller) {
    communicator.deliver(wireMessage({{image, {1, 2, 3}}}));
    EXPECT_TRUE(parseWithin(3));
    communicator.deliver(wireMessage({{image, {1, 2, 3, 4}}}));
    EXPECT_FALSE(parseWithin(3));
    EXPECT_THAT(warnings(), ElementsAre(LogText{
                                "ERROR", "Korva has sent an image that is too large: argSize 4 limit 3"}));
}

TEST_F(MessageReader, RefusesAHeaderThatIsNotSixBytes) {
    for (const int result : {0, 3, 5, 7, -1}) {
        LogCapture own(loggerName);
        ScriptedCommunicator fresh;
        fresh.answerReadWith(result);
        EXPECT_FALSE(parseIncomingMessage(&fresh, header, args));
        EXPECT_THAT(own.texts(), ElementsAre(LogText{"ERROR", "Failed to read Header: bytesRead = " +
                                                                  std::to_string(result)}));
        EXPECT_EQ(fresh.reads().size(), 1u);
    }
}

TEST_F(MessageReader, RefusesAHeaderThatArrivesInPart) {
    communicator.deliver({0x01, 0x00, 0x00});
    expectRefusal("Failed to read Header: bytesRead = 3");
}

TEST_F(MessageReader, RefusesAnArgHeaderThatIsNotFiveBytes) {
    for (const int result : {0, 4, 6, -1}) {
        LogCapture own(loggerName);
        ScriptedCommunicator fresh;
        fresh.deliver(messageHead(13, 1)).answerReadWith(result);
        EXPECT_FALSE(parseIncomingMessage(&fresh, header, args));
        EXPECT_THAT(own.texts(), ElementsAre(LogText{"ERROR", "Failed to read ArgHeader: bytesRead = " +
                                                                  std::to_string(result)}));
        EXPECT_THAT(args, IsEmpty());
    }
}

TEST_F(MessageReader, RefusesAValueWhoseReadReturnsNothing) {
    Bytes bytes = messageHead(100, 1);
    appendArgHeader(bytes, image, 10);
    bytes.insert(bytes.end(), {1, 2, 3});
    communicator.deliver(bytes);
    expectRefusal("Error reading ARG value: bytesRead = 0, expected 7");
    EXPECT_THAT(args, IsEmpty());
}

TEST_F(MessageReader, TakesANegativeOrExcessiveCountForAFailedRead) {
    for (const int result : {-1, -2147483647, 11, 2147483647}) {
        LogCapture own(loggerName);
        ScriptedCommunicator fresh;
        Bytes bytes = messageHead(100, 1);
        appendArgHeader(bytes, image, 10);
        fresh.deliver(bytes).answerReadWith(result);
        EXPECT_FALSE(parseIncomingMessage(&fresh, header, args));
        EXPECT_THAT(own.textsFrom(log4cxx::Level::getWarn()),
                    ElementsAre(LogText{"ERROR", "Error reading ARG value: bytesRead = " +
                                                     std::to_string(result) + ", expected 10"}));
    }
}

TEST_F(MessageReader, KeepsTheArgumentsReadBeforeAFailure) {
    Bytes bytes = messageHead(100, 2);
    appendArgHeader(bytes, image, 2);
    bytes.insert(bytes.end(), {5, 6});
    appendArgHeader(bytes, image, 8);
    communicator.deliver(bytes);
    EXPECT_FALSE(parse());
    ASSERT_EQ(args.size(), 1u);
    EXPECT_EQ(bytesOf(args[0]), (Bytes{5, 6}));
}

TEST_F(MessageReader, RefusesAWrongChecksumAndLogsTheSentOneByteSwapped) {
    communicator.deliver({0x01, 0x00, 0x00, 0x00, 0x0D, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x12, 0x34});
    EXPECT_FALSE(parse());
    EXPECT_EQ(args.size(), 1u);
    EXPECT_THAT(warnings(), // 0x3412 and 0x000F
                ElementsAre(LogText{"WARN", "Korva Response failed chksum: sent 13330 : calculated 15"}));
}

TEST_F(MessageReader, AcceptsAnImageWithAWrongChecksumWithAWarning) {
    Bytes bytes = wireMessage({{image, {1, 2, 3}}});
    bytes.back() ^= 1;
    communicator.deliver(bytes);
    EXPECT_TRUE(parse());
    EXPECT_EQ(bytesOf(args.at(0)), (Bytes{1, 2, 3}));
    EXPECT_THAT(warnings(), // the sum is 1 + 16 + 1 + 6 + 3 + 1 + 2 + 3 = 33; sent 0x0020
                ElementsAre(LogText{"WARN", "Korva Response failed chksum: sent 8192 : calculated 33"}));
}

TEST_F(MessageReader, JudgesAWrongChecksumByTheFirstArgument) {
    Bytes bytes = wireMessage({{done, {}}, {image, {1}}});
    bytes.back() ^= 1;
    communicator.deliver(bytes);
    EXPECT_FALSE(parse());
}

TEST_F(MessageReader, RefusesAWrongChecksumWithoutArguments) {
    communicator.deliver({0x01, 0x00, 0x00, 0x00, 0x08, 0x00, 0x01, 0x02});
    EXPECT_FALSE(parse());
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"WARN", "Korva Response failed chksum: sent 513 : calculated 9"}));
}

TEST_F(MessageReader, TakesAMissingChecksumForZero) {
    communicator.deliver({0x01, 0x00, 0x00, 0x00, 0x08, 0x00});
    EXPECT_FALSE(parse());
    EXPECT_THAT(log.texts(),
                ElementsAre(LogText{"WARN", "Korva Response failed chksum: sent 0 : calculated 9"}));
}

TEST_F(MessageReader, DoesNotLookAtTheCountOfTheChecksumRead) {
    // The sum 0x0100 ends in a zero byte, so its first byte alone is the whole checksum.
    Bytes bytes = messageHead(14, 1);
    appendArgHeader(bytes, 4, 1);
    bytes.push_back(static_cast<std::uint8_t>(0x100 - (1 + 14 + 1 + 4 + 1)));
    bytes.push_back(0x01);
    communicator.deliver(bytes);
    EXPECT_TRUE(parse());
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(MessageReader, SumsModulo65536OverAllPieces) {
    const Bytes message = wireMessage({{image, Bytes(300, 255)}});
    communicator.deliver(Bytes(message.begin(), message.begin() + 11))
        .deliverInPieces(Bytes(message.begin() + 11, message.end() - 2), 7)
        .deliver(Bytes(message.end() - 2, message.end()));
    EXPECT_TRUE(parse());
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(MessageReader, PassesTheTransportsExceptionOnFromEveryRead) {
    const Bytes message = wireMessage({{done, {}}, {image, {1, 2, 3, 4}}});
    const auto broken = std::make_exception_ptr(std::runtime_error("broken"));
    for (const std::size_t before : {0u, 6u, 11u, 16u, 18u, 20u}) {
        ScriptedCommunicator fresh;
        if (before != 0)
            fresh.deliver(beginningOf(message, before));
        fresh.throwOnRead(broken);
        std::vector<FullArg> received;
        EXPECT_THROW(parseIncomingMessage(&fresh, header, received), std::runtime_error) << before;
        EXPECT_EQ(received.size(), before < 11 ? 0u : before < 20 ? 1u : 2u);
    }
}

TEST_F(MessageReader, GivesTheSameResultsWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    Bytes wrongSum = wireMessage({{image, {1, 2, 3}}});
    wrongSum.back() ^= 1;
    communicator.deliver(wireMessage({{done, {}}})).deliver(wrongSum).deliver({1, 2, 3});
    EXPECT_TRUE(parse());
    EXPECT_TRUE((args.clear(), parse()));
    EXPECT_FALSE((args.clear(), parse()));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MessageReader, RefusesTheSameWithoutLogging) {
    log.setLevel(log4cxx::Level::getOff());
    const auto messageWith = [](std::uint32_t length, std::uint8_t type, std::uint32_t valueBytes) {
        Bytes bytes = messageHead(length, 1);
        appendArgHeader(bytes, type, valueBytes);
        return bytes;
    };
    const struct {
        const char* what;
        Bytes bytes;
        std::size_t reads;
    } cases[] = {
        {"the argument's header is missing", messageHead(100, 1), 2},
        {"the value runs past the message", messageWith(12, 4, 2), 2},
        {"the value is too large", messageWith(100, error, 5), 2},
        {"the image is too large", messageWith(1000, image, 101), 2},
        {"the value is missing", messageWith(100, image, 10), 3},
    };
    for (const auto& refused : cases) {
        ScriptedCommunicator fresh;
        fresh.deliver(refused.bytes);
        EXPECT_FALSE(readMessage(fresh, header, args, 100)) << refused.what;
        EXPECT_EQ(fresh.reads().size(), refused.reads) << refused.what;
    }
    EXPECT_THAT(args, IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(MessageReader, LogsUnderItsLoggerWithItsLocation) {
    Bytes bytes = messageHead(14, 1);
    appendArgHeader(bytes, 4, 1);
    bytes.insert(bytes.end(), {0, 0xAA, 0xBB});
    communicator.deliver(bytes);
    EXPECT_FALSE(parse());
    ASSERT_EQ(log.lines().size(), 4u);
    for (const TestSupport::LogLine& line : log.lines()) {
        EXPECT_EQ(line.logger, loggerName);
        EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaBinaryCommunication");
        EXPECT_GT(line.line, 0);
        EXPECT_TRUE(line.scope.starts_with("Korva::Binary")) << line.scope;
        EXPECT_FALSE(line.method.empty());
    }
    EXPECT_LT(log.lines()[0].line, log.lines()[1].line);
}

} // namespace
