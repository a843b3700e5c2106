#include "Console/ProgressBar.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>

using Console::ProgressBar;
using Console::progressText;

TEST(ProgressText, ShowsShareBytesAndRate) {
    EXPECT_EQ(progressText(15'000'000, 30'000'000, 2.0, 80),
              "[####################....................] 15.0 MB of 30.0 MB, 7.5 MB/s");
}

TEST(ProgressText, ChoosesTheUnit) {
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

TEST(ProgressBar, AddsUpTheReadsOfOnePicture) {
    ProgressBar bar(stderr);
    bar.observe(300, 1000);
    bar.observe(400, 1000);
    bar.observe(100, 600);
    EXPECT_EQ(bar.received(), 500u);
    EXPECT_EQ(bar.expected(), 1000u);
    bar.observe(590, 600);
    bar.observe(10, 10);
    EXPECT_EQ(bar.received(), 1000u);
    EXPECT_EQ(bar.expected(), 1000u);
}

TEST(ProgressBar, StartsAnewWithTheNextPicture) {
    ProgressBar bar(stderr);
    bar.observe(1000, 1000);
    bar.observe(6, 6);
    bar.observe(200, 1000);
    EXPECT_EQ(bar.received(), 200u);
    EXPECT_EQ(bar.expected(), 1000u);
}

TEST(ProgressBar, IgnoresHeadersAndChecksums) {
    ProgressBar bar(stderr);
    bar.observe(6, 6);
    bar.observe(16, 16);
    EXPECT_EQ(bar.expected(), 0u);
    bar.observe(17, 17);
    EXPECT_EQ(bar.expected(), 17u);
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
