#include "Console/SearchProgress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Console::SearchProgress;
using Lines = std::vector<std::string>;

namespace {

SearchProgress after(const Lines& lines) {
    SearchProgress progress;
    for (const std::string& line : lines)
        progress.take(line);
    return progress;
}

const std::string begins = "broadcastObserverSearch..";
const std::string ends = "Last recv returned: -1 WSAError: 10060";
const std::string fifth = "Message from Korva device: Lab 10.0.0.5";
const std::string sixth = "Message from Korva device: Big room 10.0.0.6";

} // namespace

TEST(SearchProgress, ListensFromTheSearchsBeginToItsLastDatagram) {
    EXPECT_FALSE(after({}).isListening());
    EXPECT_TRUE(after({begins, fifth}).isListening());
    EXPECT_FALSE(after({begins, ends}).isListening());
}

TEST(SearchProgress, KnowsWhoAnsweredEachOnce) {
    const SearchProgress progress = after(
        {begins, fifth, sixth, fifth,
         "Got message that wasn't parsed as a Korva response: Message from Korva device: Lab 10.0.0.7"});
    EXPECT_EQ(progress.addresses(), (Lines{"10.0.0.5", "10.0.0.6"}));
    EXPECT_EQ(progress.unasked(), 3u);
}

TEST(SearchProgress, CountsWhomTheSearchHasTurnedTo) {
    const SearchProgress progress =
        after({begins, fifth, sixth, fifth, ends, "Found Korva with MAC 00-00-00-00-00-05",
               "Found Korva with MAC 00-00-00-00-00-05 more than once, ignoring.."});
    EXPECT_EQ(progress.unasked(), 1u);
}

TEST(SearchProgress, KeepsNoMoreAnswersThanTheSearchDoes) {
    SearchProgress progress = after({begins});
    for (int answer = 0; answer <= 16'384; ++answer)
        progress.take("Message from Korva device: Lab " + std::to_string(answer));
    EXPECT_EQ(progress.unasked(), 16'384u);
    EXPECT_EQ(progress.addresses().size(), 16'384u);
}

TEST(SearchProgress, BeginsAnewWithTheNextSearch) {
    const SearchProgress progress = after({begins, fifth, ends, begins});
    EXPECT_EQ(progress.addresses(), Lines{});
    EXPECT_EQ(progress.unasked(), 0u);
    EXPECT_TRUE(progress.isListening());
}
