#include "MessageFixture.h"

#include "Support/ArrayAllocations.h"

#include <new>

namespace MessageTests {
namespace {

struct MessageMemory : Exchange {
    const Bytes sevenBytes = "01 00000014 01 06 00000007 01020304050607 003F"_hex;

    MessageMemory() {
        log.setLevel(log4cxx::Level::getInfo());
        delete[] new (std::nothrow) unsigned char[4711]; // no image here has that length
    }
};

TEST_F(MessageMemory, OfAnImageIsOneArrayOfItsLengthAndFreedOnceWithTheArguments) {
    communicator.deliver(sevenBytes);
    EXPECT_TRUE(parse());
    EXPECT_EQ(Support::lastArrayLength(), 7u);
    const Support::FreeCounter counter(args.front().data.get());
    args.clear();
    EXPECT_EQ(counter.count(), 1);
}

TEST_F(MessageMemory, OfAnImageIsNotClearedBeforeItsBytesArrive) {
    communicator.deliver("01 00000012 01 06 00000005"_hex);
    communicator.answerReadWith(5); // which stores nothing
    EXPECT_TRUE(parse());
    const std::uint8_t* const bytes = args.at(0).data.get();
    EXPECT_EQ(Bytes(bytes, bytes + 5), Bytes(5, Support::freshByte));
}

TEST_F(MessageMemory, ThatCannotBeHadRefusesTheMessageLoggedOrNot) {
    for (const std::size_t reads : {2, 4}) {
        communicator.deliver(sevenBytes).afterNextWrite();
        {
            const Support::ArrayShortage shortage;
            EXPECT_FALSE(parse());
        }
        EXPECT_THAT(args, IsEmpty());
        EXPECT_EQ(communicator.reads().size(), reads);
        communicator.writeBytes("", 0, true, 1);
        log.turnOff();
    }
    EXPECT_THAT(log.texts(), ElementsAre(error("No memory for an image from Korva: argSize 7")));
}

TEST_F(MessageMemory, IsNotAskedForWhereTheImageIsAboveTheLimit) {
    communicator.deliver(sevenBytes);
    EXPECT_FALSE(readMessage(communicator, header, args, 6));
    EXPECT_EQ(Support::lastArrayLength(), 4711u);
}

} // namespace
} // namespace MessageTests
