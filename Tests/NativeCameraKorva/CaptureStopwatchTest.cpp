#include "NativeCameraKorva/CaptureStopwatch.h"

#include "World/Calls.h"
#include "World/Clock.h"
#include "World/System.h"

#include <gtest/gtest.h>

namespace {

using Korva::CaptureStopwatch;
using World::System;

struct Stopwatch : ::testing::Test {
    Stopwatch() {
        World::reset();
        System::current().frequency = 1000;
        System::current().counter = 500;
    }

    static void pass(std::int64_t counts) { System::current().counter += counts; }

    CaptureStopwatch watch;
};

TEST_F(Stopwatch, BeginsStoppedAtZero) {
    EXPECT_FALSE(watch.running());
    EXPECT_EQ(watch.totalCounts(), 0);
    EXPECT_EQ(watch.lastCounts(), 0);
    EXPECT_EQ(watch.intervals(), 0u);
    EXPECT_EQ(watch.elapsedMs(), 0.0);
}

TEST_F(Stopwatch, MeasuresFromStartToStop) {
    watch.start();
    EXPECT_TRUE(watch.running());
    pass(42);
    watch.stop();
    EXPECT_FALSE(watch.running());
    EXPECT_EQ(watch.lastCounts(), 42);
    EXPECT_EQ(watch.elapsedMs(), 42.0);
}

TEST_F(Stopwatch, AddsIntervalsUp) {
    for (const int counts : {10, 30}) {
        watch.start();
        pass(counts);
        watch.stop();
        pass(1000);
    }
    EXPECT_EQ(watch.lastCounts(), 30);
    EXPECT_EQ(watch.totalCounts(), 40);
    EXPECT_EQ(watch.intervals(), 2u);
}

TEST_F(Stopwatch, StoppingAStoppedWatchChangesNothing) {
    watch.start();
    pass(10);
    watch.stop();
    pass(10);
    watch.stop();
    EXPECT_FALSE(watch.running());
    EXPECT_EQ(watch.lastCounts(), 10);
    EXPECT_EQ(watch.totalCounts(), 10);
    EXPECT_EQ(watch.intervals(), 1u);
}

TEST_F(Stopwatch, StartingARunningWatchStartsAnew) {
    watch.start();
    pass(10);
    watch.start();
    pass(3);
    watch.stop();
    EXPECT_EQ(watch.lastCounts(), 3);
    EXPECT_EQ(watch.intervals(), 1u);
}

TEST_F(Stopwatch, AnswersWithTheLastIntervalWhileRunning) {
    watch.start();
    pass(10);
    watch.stop();
    watch.start();
    pass(5);
    EXPECT_EQ(watch.elapsedMs(), 10.0);
}

TEST_F(Stopwatch, DividesByTheCountersFrequency) {
    System::current().frequency = 3;
    watch.start();
    pass(7);
    watch.stop();
    EXPECT_EQ(watch.elapsedMs(), (2.0 + 1.0 / 3.0) * 1000.0);
}

TEST_F(Stopwatch, KeepsTheFractionOfLongIntervals) {
    // As a single quotient of doubles the last count would be lost.
    System::current().frequency = std::int64_t{1} << 53;
    watch.start();
    pass((std::int64_t{1} << 53) * 2 + 1);
    watch.stop();
    EXPECT_EQ(watch.elapsedMs(), 2000.0);
    EXPECT_EQ(watch.lastCounts(), (std::int64_t{1} << 53) * 2 + 1);
}

TEST_F(Stopwatch, TellsNoTimeWhereTheFrequencyCannotBeHad) {
    watch.start();
    pass(5);
    watch.stop();
    World::Calls::current().fail("QueryPerformanceFrequency", 0);
    EXPECT_EQ(watch.elapsedMs(), 0.0);
    System::current().frequency = 0;
    EXPECT_EQ(watch.elapsedMs(), 0.0);
}

} // namespace
