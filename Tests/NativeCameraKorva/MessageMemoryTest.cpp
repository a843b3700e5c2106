#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaMessageReader.h"

#include "Support/ArrayAllocations.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/WireMessages.h"

#include <gmock/gmock.h>

#include <new>

namespace {

using namespace Korva::Binary;
using ::testing::ElementsAre;
using TestSupport::LogText;
using TestSupport::wireMessage;

struct MessageMemory : ::testing::Test {
    TestSupport::LogCapture log{"Plenar.KorvaCamera.KorvaInternalsComm", log4cxx::Level::getInfo()};
    TestSupport::ScriptedCommunicator communicator;
    Header header;
    std::vector<FullArg> args;

    ~MessageMemory() override { TestSupport::expectFrom(log, "KorvaBinaryCommunication"); }

    /// Gives lastArrayLength() a value that no picture here has.
    static void forgetLastArray() { delete[] new (std::nothrow) unsigned char[4711]; }

    bool parse() { return parseIncomingMessage(&communicator, header, args); }
    bool parseWithin(std::uint32_t imageByteLimit) {
        return readMessage(communicator, header, args, imageByteLimit);
    }
};

TEST_F(MessageMemory, OfAnImageIsOneArrayOfItsLength) {
    forgetLastArray();
    communicator.deliver(wireMessage({{6, {1, 2, 3, 4, 5, 6, 7}}}));
    EXPECT_TRUE(parse());
    EXPECT_EQ(Support::lastArrayLength(), 7u);
}

TEST_F(MessageMemory, OfAnImageIsFreedOnceWithTheArguments) {
    communicator.deliver(wireMessage({{6, {1, 2, 3}}}));
    EXPECT_TRUE(parse());
    const Support::FreeCounter counter(args.front().data.get());
    args.clear();
    EXPECT_EQ(counter.count(), 1);
}

TEST_F(MessageMemory, OfAnImageIsNotClearedBeforeItsBytesArrive) {
    communicator.deliver({0x01, 0x00, 0x00, 0x00, 0x12, 0x01, 0x06, 0x00, 0x00, 0x00, 0x05});
    communicator.answerReadWith(5); // which stores nothing
    EXPECT_TRUE(parse());
    const std::uint8_t* const bytes = args.at(0).data.get();
    EXPECT_THAT(std::vector<std::uint8_t>(bytes, bytes + 5), ::testing::Each(Support::freshByte));
}

TEST_F(MessageMemory, ThatCannotBeHadRefusesTheMessage) {
    communicator.deliver(wireMessage({{6, {1, 2, 3, 4, 5, 6, 7}}}));
    const Support::ArrayShortage shortage;
    EXPECT_FALSE(parse());
    EXPECT_TRUE(args.empty());
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "No memory for an image from Korva: argSize 7"}));
    EXPECT_EQ(communicator.reads().size(), 2u);
}

TEST_F(MessageMemory, ThatCannotBeHadRefusesTheMessageWithoutLoggingToo) {
    log.setLevel(log4cxx::Level::getOff());
    communicator.deliver(wireMessage({{6, {1, 2, 3, 4, 5, 6, 7}}}));
    const Support::ArrayShortage shortage;
    EXPECT_FALSE(parse());
    EXPECT_TRUE(args.empty());
    EXPECT_THAT(log.lines(), ::testing::IsEmpty());
    EXPECT_EQ(communicator.reads().size(), 2u);
}

TEST_F(MessageMemory, IsNotAskedForWhereTheImageIsAboveTheLimit) {
    forgetLastArray();
    communicator.deliver(wireMessage({{6, {1, 2, 3, 4, 5, 6, 7}}}));
    EXPECT_FALSE(parseWithin(6));
    EXPECT_EQ(Support::lastArrayLength(), 4711u);
}

} // namespace
