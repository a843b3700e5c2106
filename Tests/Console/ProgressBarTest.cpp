#include "Console/ProgressBar.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

using Console::ProgressBar;
using Console::progressText;

TEST(ProgressText, ShowsShareBytesAndRateInTheirUnits) {
    EXPECT_EQ(progressText(15'000'000, 30'000'000, 2.0, 80),
              "[####################....................] 15.0 MB of 30.0 MB, 7.5 MB/s");
    EXPECT_EQ(progressText(999, 1000, 0, 22), "999 B of 1.0 kB");
    EXPECT_EQ(progressText(999'900, 1'000'000'000, 1.0, 36), "999.9 kB of 1.0 GB, 999.9 kB/s");
}

TEST(ProgressText, LeavesOutTheRateBeforeTimeHasPassed) {
    EXPECT_EQ(progressText(0, 100, 0.0, 28), "[............] 0 B of 100 B");
}

TEST(ProgressText, NeverFillsTheLine) {
    for (int columns = 0; columns < 120; ++columns)
        EXPECT_LE(static_cast<int>(progressText(123'456, 7'890'123, 1.5, columns).size()),
                  columns > 0 ? columns - 1 : 0);
}

TEST(ProgressText, NeverRunsPastItsEnd) {
    EXPECT_EQ(progressText(200, 100, 0, 30), "[############] 200 B of 100 B");
    EXPECT_EQ(progressText(0, 0, 0, 26), "[............] 0 B of 0 B");
}

namespace {

using Bytes = std::pair<std::size_t, std::size_t>;

/// What a bar counts, received and expected, that observes these reads.
Bytes countOf(const std::vector<Bytes>& reads) {
    ProgressBar bar(stderr);
    for (const auto& [received, expected] : reads)
        bar.observe(received, expected);
    return {bar.received(), bar.expected()};
}

} // namespace

TEST(ProgressBar, AddsUpTheReadsOfOnePicture) {
    EXPECT_EQ(countOf({{300, 1000}, {400, 1000}, {100, 600}}), Bytes(500, 1000));
    EXPECT_EQ(countOf({{300, 1000}, {400, 1000}, {590, 600}, {10, 10}}), Bytes(1000, 1000));
}

TEST(ProgressBar, StartsAnewWithTheNextPicture) {
    EXPECT_EQ(countOf({{1000, 1000}, {6, 6}, {200, 1000}}), Bytes(200, 1000));
}

TEST(ProgressBar, IgnoresHeadersAndChecksums) {
    EXPECT_EQ(countOf({{6, 6}, {16, 16}}), Bytes(0, 0));
    EXPECT_EQ(countOf({{6, 6}, {16, 16}, {17, 17}}), Bytes(17, 17));
}

TEST(ProgressBar, DrawsNothingIntoAFile) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    ASSERT_NE(file, nullptr);
    {
        ProgressBar bar(file.get());
        bar.observe(500, 1000);
        bar.observe(1000, 1000);
        bar.erase();
    }
    EXPECT_EQ(std::ftell(file.get()), 0);
}
