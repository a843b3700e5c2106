#include "Console/ProgressBar.h"
#include "Console/SearchProgress.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using Console::ProgressBar;
using Console::progressText;
using Console::SearchProgress;

TEST(ProgressText, ShowsShareBytesAndRateInTheirUnitsAndNeverRunsPastItsEnd) {
    EXPECT_EQ(progressText(15'000'000, 30'000'000, 2.0, 80),
              "[####################....................] 15.0 MB of 30.0 MB, 7.5 MB/s");
    EXPECT_EQ(progressText(999, 1000, 0, 22), "999 B of 1.0 kB");
    EXPECT_EQ(progressText(999'900, 1'000'000'000, 1.0, 36), "999.9 kB of 1.0 GB, 999.9 kB/s");
    EXPECT_EQ(progressText(0, 100, 0.0, 28), "[............] 0 B of 100 B");
    EXPECT_EQ(progressText(2'000'000, 100, 0, 31), "[############] 2.0 MB of 100 B");
    EXPECT_EQ(progressText(0, 0, 0, 26), "[............] 0 B of 0 B");
}

TEST(ProgressText, NeverFillsTheLine) {
    for (int columns = 0; columns < 120; ++columns)
        EXPECT_LE(static_cast<int>(progressText(123'456, 7'890'123, 1.5, columns).size()),
                  columns > 0 ? columns - 1 : 0);
}

TEST(ExposingText, CountsWholeSecondsUpToTheExposure) {
    EXPECT_EQ(Console::exposingText(12.9, 300), "exposing 12/30 s");
    EXPECT_EQ(Console::exposingText(0.9, 15), "exposing 0/1.5 s");
    EXPECT_EQ(Console::exposingText(99.0, 300), "exposing 30/30 s");
}

TEST(ProgressBar, AddsUpTheReadsOfOnePictureAndCountsNoHeadersAndChecksums) {
    using Count = std::pair<std::size_t, std::size_t>; // received and expected
    for (const auto& [reads, sum] :
         {std::pair<std::vector<Count>, Count>{{{300, 1000}, {400, 1000}, {100, 600}}, {500, 1000}},
          {{{300, 1000}, {400, 1000}, {590, 600}, {10, 10}}, {1000, 1000}},
          {{{1000, 1000}, {6, 6}, {200, 1000}}, {200, 1000}}, // the next picture
          {{{6, 6}, {16, 16}}, {0, 0}},
          {{{6, 6}, {16, 16}, {17, 17}}, {17, 17}}}) {
        ProgressBar bar(nullptr);
        for (const auto& [received, expected] : reads)
            bar.observe(received, expected);
        EXPECT_EQ(Count(bar.received(), bar.expected()), sum) << testing::PrintToString(reads);
    }
}

TEST(ProgressBar, DrawsNothingIntoAFile) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    ASSERT_NE(file, nullptr);
    {
        ProgressBar bar(file.get());
        bar.observe(500, 1000);
        bar.observe(1000, 1000);
        bar.show("searching...");
        bar.erase();
    }
    EXPECT_EQ(std::ftell(file.get()), 0);
}

namespace {

using Addresses = std::vector<std::string>;

SearchProgress after(const std::vector<std::string>& lines) {
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

TEST(SearchProgress, KnowsWhoAnsweredEachOnceAndWhomTheSearchHasTurnedTo) {
    SearchProgress progress = after(
        {begins, fifth, sixth, fifth,
         "Got message that wasn't parsed as a Korva response: Message from Korva device: Lab 10.0.0.7"});
    EXPECT_EQ(progress.addresses(), (Addresses{"10.0.0.5", "10.0.0.6"}));
    EXPECT_EQ(progress.unasked(), 3u);
    for (const char* line : {ends.c_str(), "Found Korva with MAC 00-00-00-00-00-05",
                             "Found Korva with MAC 00-00-00-00-00-05 more than once, ignoring.."})
        progress.take(line);
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
    EXPECT_EQ(progress.addresses(), Addresses{});
    EXPECT_EQ(progress.unasked(), 0u);
    EXPECT_TRUE(progress.isListening());
}
