#include "MessageFixture.h"

#include "Support/ArrayAllocations.h"
#include "Support/PictureFiles.h"
#include "World/Answers.h"

#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace MessageTests {
namespace {

using TestSupport::beginningOf;
using World::message;

ScriptedCommunicator::Call readOf(unsigned int count, unsigned int timeoutMs = 10000) {
    return ScriptedCommunicator::readCall(count, timeoutMs);
}

/// Code and value of an argument; an image's value lies in its data, every other's in the inline store.
using Told = std::pair<int, Bytes>;

Told toldBy(const FullArg& arg) {
    const std::size_t length = bigEndian32(arg.header.length);
    EXPECT_EQ(arg.data != nullptr, arg.header.type == imageCode);
    if (arg.data != nullptr) {
        EXPECT_EQ(arg.value, (std::array<std::uint8_t, 4>{}));
        return {arg.header.type, {arg.data.get(), arg.data.get() + length}};
    }
    EXPECT_EQ(Bytes(arg.value.begin() + length, arg.value.end()), Bytes(arg.value.size() - length));
    return {arg.header.type, {arg.value.begin(), arg.value.begin() + length}};
}

struct MessageReader : Exchange {
    /// Checks each row with a communicator that delivers its message, logged and not.
    template <typename Row, typename Check>
    void onEach(const std::vector<Row>& rows, const Check& check) {
        for (const Row& row : rows) {
            for (const bool isLogged : {true, false}) {
                SCOPED_TRACE(row.what);
                const PluginLog own(loggerName, "KorvaBinaryCommunication", isLogged,
                                    log4cxx::Level::getInfo());
                ScriptedCommunicator fresh;
                fresh.deliver(row.message);
                args.clear();
                check(row, fresh, own);
            }
        }
    }
};

// Codes and byte order are held by the bytes of the requests and responses.

TEST(MessageRecords, LieInWireOrderAndAFullArgHoldsHeaderThenValueThenDataAndBeginsEmpty) {
    static_assert(sizeof(Header) == 6 && offsetof(Header, length) == 1 && offsetof(Header, argCount) == 5);
    static_assert(sizeof(ArgHeader) == 5 && offsetof(ArgHeader, length) == 1);
    static_assert(sizeof(Command) == 1 && sizeof(ArgCode) == 1);
    static_assert(!std::is_copy_constructible_v<FullArg> && !std::is_copy_assignable_v<FullArg>);
    static_assert(std::is_nothrow_move_constructible_v<FullArg>);
    const FullArg arg;
    const auto* const base = reinterpret_cast<const unsigned char*>(&arg);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&arg.header), base);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(&arg.value), base + 5);
    EXPECT_GT(reinterpret_cast<const unsigned char*>(&arg.data), base + 8);
    EXPECT_EQ(arg.header.type, 0);
    EXPECT_EQ(bigEndian32(arg.header.length), 0u);
    EXPECT_EQ(arg.value, (std::array<std::uint8_t, 4>{}));
    EXPECT_EQ(arg.data, nullptr);
}

struct Accepted {
    const char* what;
    Bytes message;
    std::vector<Told> args;
    Texts warnings = {};
};

TEST_F(MessageReader, AcceptsAMessageInSoManyReads) {
    Bytes wrongSum = message({{imageCode, {1, 2, 3}}});
    wrongSum.back() ^= 1;
    const std::vector<Accepted> rows = {
        {"done", "01 0000000D 01 00 00000000 000F"_hex, {{doneCode, {}}}},
        {"no argument", "01 00000008 00 0009"_hex, {}},
        {"four bytes in wire order", message({{errorCode, {0, 0, 1, 2}}}), {{errorCode, {0, 0, 1, 2}}}},
        {"one byte", message({{4, {0x99}}}), {{4, {0x99}}}},
        {"an image", message({{imageCode, {1, 2, 3, 4, 5, 6, 7}}}), {{imageCode, {1, 2, 3, 4, 5, 6, 7}}}},
        {"an image that would fit inline", message({{imageCode, {9, 8}}}), {{imageCode, {9, 8}}}},
        {"an image of no bytes", message({{imageCode, {}}}), {{imageCode, {}}}},
        {"several", message({{0, {}}, {1, {0, 7}}, {6, {1, 2}}}), {{0, {}}, {1, {0, 7}}, {6, {1, 2}}}},
        {"any length that holds them", "01 00001388 01 00 00000000 009D"_hex, {{doneCode, {}}}},
        {"a length without the checksum", "01 0000000C 01 04 00000001 00 0013"_hex, {{4, {0}}}},
        {"an image with a wrong sum", // 1 + 16 + 1 + 6 + 3 + 1 + 2 + 3 = 33; sent 0x0020
         wrongSum,
         {{imageCode, {1, 2, 3}}},
         {warn("Korva Response failed chksum: sent 8192 : calculated 33")}},
        {"half of the sum 0x0100", "01 0000000E 01 04 00000001 EB 01"_hex, {{4, {0xEB}}}},
    };
    onEach(rows, [this](const Accepted& row, ScriptedCommunicator& fresh, const PluginLog& own) {
        ASSERT_TRUE(parseIncomingMessage(&fresh, header, args));
        std::vector<ScriptedCommunicator::Call> reads{readOf(6)};
        std::vector<Told> told;
        for (const FullArg& arg : args) {
            told.push_back(toldBy(arg));
            reads.push_back(readOf(5));
            if (!told.back().second.empty())
                reads.push_back(readOf(static_cast<unsigned int>(told.back().second.size())));
        }
        reads.push_back(readOf(2, 4000));
        EXPECT_EQ(told, row.args);
        EXPECT_EQ(fresh.reads(), reads);
        EXPECT_TRUE(fresh.isExhausted());
        own.expect(row.warnings);
    });
}

TEST_F(MessageReader, AssemblesAndSumsAValueFromPiecesAndTracesEachWithTheTotalBeforeIt) {
    const Bytes file(300, 255); // their sum is above 65535
    const Bytes whole = message({{imageCode, file}});
    communicator.deliver(beginningOf(whole, 161)).deliver(Bytes(100, 255));
    communicator.deliver(Bytes(whole.begin() + 261, whole.end()));
    EXPECT_TRUE(parse());
    EXPECT_EQ(toldBy(args.at(0)), Told(imageCode, file));
    EXPECT_THAT(communicator.reads(),
                ElementsAre(readOf(6), readOf(5), readOf(300), readOf(150), readOf(50), readOf(2, 4000)));
    for (const auto& [call, offset] : {std::pair{2, 0}, {3, 150}, {4, 250}})
        EXPECT_EQ(communicator.calls().at(static_cast<std::size_t>(call)).destination,
                  args[0].data.get() + offset);
    EXPECT_THAT(log.texts(), ElementsAre(trace("Reading arg, requesting 300 bytes"),
                                         trace("Reading arg, got 150 bytes, total 0 bytes"),
                                         trace("Reading arg, requesting 150 bytes"),
                                         trace("Reading arg, got 100 bytes, total 150 bytes"),
                                         trace("Reading arg, requesting 50 bytes"),
                                         trace("Reading arg, got 50 bytes, total 250 bytes"),
                                         debug("Expected arg size of 300 and read in arg of size 300")));
}

TEST_F(MessageReader, ReadsTheHeaderIntoTheCallersHeaderAndAppends255Arguments) {
    args.emplace_back().header.type = 42;
    communicator.deliver(message(std::vector<World::Arg>(255)));
    EXPECT_TRUE(parse());
    EXPECT_EQ(communicator.calls().at(0).destination, &header);
    EXPECT_EQ(header.command, 1);
    EXPECT_EQ(bigEndian32(header.length), 8u + 255 * 5);
    EXPECT_EQ(header.argCount, 255);
    ASSERT_EQ(args.size(), 256u);
    EXPECT_EQ(args[0].header.type, 42);
    EXPECT_EQ(args[255].header.type, doneCode);
    EXPECT_EQ(log.texts(), Texts(255, debug("Expected arg size of 0 and read in arg of size 0")));
}

struct Refused {
    const char* what;
    Bytes message;
    std::size_t reads;
    std::size_t keptArgs;
    LogText line;
    std::optional<std::uint32_t> imageByteLimit = {};
};

LogText inconsistent(const std::string& argSize, int totalBytesRead, int expected) {
    return error("Korva has formulated an inconsistent message: args will exceed expected message length: "
                 "argSize " +
                 argSize + " totalBytesRead " + std::to_string(totalBytesRead) + "expected message size " +
                 std::to_string(expected));
}

// Those that end too early or have a bit the other way round are held by the fault matrix.
TEST_F(MessageReader, RefusesAMessageWithOneLine) {
    const Bytes wrongSum = "01 00000013 02 00 00000000 06 00000001 01 001F"_hex;
    const std::vector<Refused> rows = {
        {"an argument beyond the message", "01 0000000C 01 04 00000002 0707 0000"_hex, 2, 0,
         inconsistent("2", 11, 12)},
        {"one that does so behind another", "01 00000014 02 04 00000004 01020304 03 00000001"_hex, 4, 1,
         inconsistent("1", 20, 20)},
        {"five bytes that are no image", "01 00000064 01 01 00000005 EEEEEEEEEE"_hex, 2, 0,
         error("Korva has sent an argument that is too large: code 1 argSize 5 limit 4")},
        {"an image above 256 MiB", "01 FFFFFFFF 01 06 10000001 00000000"_hex, 2, 0,
         error("Korva has sent an image that is too large: argSize 268435457 limit 268435456")},
        {"an image above the caller's limit", message({{imageCode, {1, 2, 3, 4}}}), 2, 0,
         error("Korva has sent an image that is too large: argSize 4 limit 3"), 3},
        {"images that are so together", message({{6, {1, 2, 3}}, {6, {1, 2, 3}}, {6, {1}}}), 6, 2,
         error("Korva has sent an image that is too large: argSize 1 limit 6"), 6},
        {"a second value that is missing", "01 00000064 02 06 00000002 0506 06 00000008"_hex, 5, 1,
         error("Error reading ARG value: bytesRead = 0, expected 8")},
        {"a wrong sum where an image comes second", wrongSum, 5, 2,
         warn("Korva Response failed chksum: sent 7936 : calculated 30")},
        {"a wrong sum without arguments", "01 00000008 00 0102"_hex, 2, 0,
         warn("Korva Response failed chksum: sent 513 : calculated 9")},
    };
    onEach(rows, [this](const Refused& row, ScriptedCommunicator& fresh, const PluginLog& own) {
        EXPECT_FALSE(row.imageByteLimit ? readMessage(fresh, header, args, *row.imageByteLimit)
                                        : parseIncomingMessage(&fresh, header, args));
        EXPECT_EQ(fresh.reads().size(), row.reads);
        EXPECT_EQ(args.size(), row.keptArgs);
        own.expect({row.line});
    });
}

TEST_F(MessageReader, TakesAnyOtherCountForAFailedRead) {
    const struct {
        Bytes before;
        std::vector<int> counts;
        std::string text;
        std::string end;
    } rows[] = {
        {{}, {5, 7, -1}, "Failed to read Header: bytesRead = ", ""},
        {"01 0000000D 01"_hex, {4, 6, -1}, "Failed to read ArgHeader: bytesRead = ", ""},
        {"01 00000064 01 06 0000000A"_hex,
         {-1, -2147483647, 11, 2147483647},
         "Error reading ARG value: bytesRead = ",
         ", expected 10"},
    };
    for (const auto& row : rows) {
        for (const int count : row.counts) {
            ScriptedCommunicator fresh;
            fresh.deliverInPieces(row.before, 64).answerReadWith(count);
            EXPECT_FALSE(parseIncomingMessage(&fresh, header, args));
            EXPECT_EQ(log.texts().back(), error(row.text + std::to_string(count) + row.end));
            EXPECT_THAT(args, IsEmpty());
        }
    }
}

TEST_F(Exchange, KeepsTheArgumentsThatCameBeforeTheTransportThrew) {
    communicator.deliver("01 00000012 02"_hex).deliver("00 00000000"_hex).throwOnRead();
    EXPECT_THROW(parse(), int);
    EXPECT_THAT(args, SizeIs(1));
}

// The memory of an image.

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
    for (const std::size_t reads : {2u, 4u}) {
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
