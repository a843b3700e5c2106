// The recorder keeps what is called, and fails what it is told to.

#include "World/Calls.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace World {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(Calls, AreKeptInOrderAndFoundByTheirFirstWords) {
    Calls calls;
    for (const char* const line : {"send 10.0.0.5:1 3 bytes", "sendto 1", "send 10.0.0.6:1 3 bytes", "close"})
        EXPECT_EQ(calls.enter(line), std::nullopt);
    calls.note("close");
    EXPECT_THAT(calls.of("send"), ElementsAre("send 10.0.0.5:1 3 bytes", "send 10.0.0.6:1 3 bytes"));
    EXPECT_THAT(calls.of({"send 10.0.0.6", "close"}),
                ElementsAre("send 10.0.0.6:1 3 bytes", "close", "close"));
    EXPECT_THAT(calls.of("sen"), IsEmpty());
    EXPECT_THAT(calls.counts(), ElementsAre(Pair("close", 2), Pair("send", 2), Pair("sendto", 1)));
    calls.clear();
    EXPECT_THAT(calls.lines(), IsEmpty());
    EXPECT_EQ(calls.counts().at("send"), 2);
}

TEST(Calls, FailOnceAtTheirNumberFromNowOn) {
    Calls calls;
    calls.enter("send");
    calls.fail("send", 104, 2);
    EXPECT_EQ(calls.enter("send"), std::nullopt);
    EXPECT_EQ(calls.enter("sendto"), std::nullopt);
    EXPECT_EQ(calls.enter("send 1"), 104);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(calls.enter("send 1"), std::nullopt);
    EXPECT_EQ(calls.lines().size(), 7u) << "a call that fails was made";
}

TEST(Calls, FailEachTimeUntilNoMore) {
    Calls calls;
    calls.failAlways("conversion", 7);
    EXPECT_EQ(calls.planned("conversion"), 7);
    EXPECT_EQ(calls.planned("conversion"), 7);
    calls.failNoMore();
    EXPECT_EQ(calls.planned("conversion"), std::nullopt);
    EXPECT_THAT(calls.lines(), IsEmpty());
}

TEST(Calls, ThrowWhatWasPlannedOfAnyClass) {
    Calls calls;
    calls.throwFrom("connect 10.0.0.5", std::runtime_error("planned"));
    calls.throwFrom("send", 42, 2);
    EXPECT_NO_THROW(calls.enter("connect 10.0.0.50:1"));
    EXPECT_THROW(calls.enter("connect 10.0.0.5:1 5000"), std::runtime_error);
    calls.enter("send");
    EXPECT_THROW(calls.enter("send"), int);
}

TEST(Calls, AreToldOfWhenTheyAreNotedAndBeforeTheyFail) {
    Calls calls;
    std::string told;
    calls.onCall = [&](const std::string& line) {
        told = line + " of " + std::to_string(calls.lines().size());
        calls.fail("send", 5);
    };
    EXPECT_EQ(calls.enter("send 1"), 5);
    EXPECT_EQ(told, "send 1 of 1");
}

TEST(Calls, ShowTextAsItIsAndOtherBytesByTheirNumber) {
    EXPECT_EQ(shown("[a b]"), "\"[a b]\"");
    EXPECT_EQ(shown({"\x01z", 2}), "2 bytes");
}

} // namespace
} // namespace World
